// LCCAFParser reads CAF loops, whose tags stand in "uuid" chunks: 16 bytes of identifier, then the payload.
#pragma once

#include "fileio/LCSearchInfo.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <cstddef>
#include <memory>
#include <optional>

class LCCAFParser : public LCFileParser {
 public:
  LCCAFParser(const vesk::URL& url, std::unique_ptr<vesk::AudioFile> audioFile, bool isBigEndian);

  // Fills every search-info field of the record, absent keys too; without entries nothing.
  void setSearchInfoFromDictionary(const LCSearchInfo& searchInfo);

 protected:
  void findSearchInfo() override;

 private:
  // What one "uuid" chunk tells of the file.
  enum class Finding { nothing, authored, authoredLoop, webLoop };
  Finding readUUIDChunk(size_t index);
  Finding readSearchInfo(size_t index);
  Finding readGenInstInfo(size_t index);
  Finding readAdditionalLoopData(size_t index);
  Finding readStepSequencerData(size_t index);
  Finding readEventSequenceData(size_t index);
  Finding notePatch();

  std::optional<LCChunkIdentifier> identifierOfChunk(size_t index) const;
  // The bytes behind the identifier; nullopt when there are none or they cannot be read.
  std::optional<vesk::Bytes> payloadOfChunk(size_t index) const;
};
