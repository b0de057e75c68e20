// LCFileWriter writes the metadata of one loop record back into its audio file: file info, search info, additional data
// and, for enhanced records, the bulky payloads, whole chunks made anew from the record. It never asks what the file
// held before; to change single tags and leave all else as it is, see LCTagRun.
//
// The factory picks the writer by the file's extension; the file is opened once, all steps are edits in memory, and one
// commit replaces it whole or leaves it as it was. What a step could not do is logged with the chunk and the reason and
// does not keep the others from being done. A writer serves one file, on one thread, and is thrown away after use.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/platform/URL.h"

namespace vesk {
class AudioFileEdit;
}

class LC_EXPORT LCFileWriter {
 public:
  virtual ~LCFileWriter();
  LCFileWriter(const LCFileWriter&) = delete;
  LCFileWriter& operator=(const LCFileWriter&) = delete;

  // The writer for `url`; null when the file is none of AIFF, WAV and CAF by its extension, does not open for writing,
  // or is too irregular to be rewritten; `reason` (may be null) then says why.
  [[nodiscard]] static std::unique_ptr<LCFileWriter> fileWriterForURL(const vesk::URL& url,
                                                                      std::string* reason = nullptr);

  // Writes the record. Whether the file was committed, whatever became of the single steps; a file in which nothing
  // would change is not touched.
  [[nodiscard]] bool writeFileData(const LCFileData& fileData);

 protected:
  LCFileWriter(std::unique_ptr<vesk::AudioFileEdit> audioFile, bool isBigEndian);

  // The steps, in the order in which they run. Whether all of a step could be done.
  virtual bool writeFileInfo() { return true; }
  virtual bool writeSearchInfo() { return true; }
  virtual bool writeAdditionalData() { return true; }
  virtual bool writeEnhancedData() { return true; }

  // The payloads of the record's archives; nullopt when it has nothing for them.
  std::optional<vesk::Bytes> additionalLoopData() const;
  std::optional<vesk::Bytes> genInstData() const;

  const LCFileData& fileData() const { return *m_fileData; }  // there whenever a step runs
  vesk::AudioFileEdit& audioFile() { return *m_audioFile; }

 private:
  const LCFileData* m_fileData = nullptr;  // borrowed, while writeFileData() runs
  std::unique_ptr<vesk::AudioFileEdit> m_audioFile;
  bool m_isBigEndian;
};
