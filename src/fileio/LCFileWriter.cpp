#include "VeskLoopManagement/fileio/LCFileWriter.h"

#include "fileio/LCAdditionalDataChunk.h"
#include "fileio/LCAIFWriter.h"
#include "fileio/LCCAFWriter.h"
#include "fileio/LCGenInstChunk.h"
#include "fileio/LCWAVWriter.h"
#include "platform/audiofile/AudioFileEdit.h"
#include "VeskLoopManagement/model/LCNodeTypesHelper.h"
#include "VeskLoopManagement/platform/Environment.h"

// --- Factory ---------------------------------------------------------------------------------------------------------

namespace {

using AudioFile = std::unique_ptr<vesk::AudioFileEdit>;

template <typename Writer, bool isBigEndian>
std::unique_ptr<LCFileWriter> makeWriter(AudioFile audioFile) {
  return std::make_unique<Writer>(std::move(audioFile), isBigEndian);
}

struct WriterChoice {
  int32_t nodeType;
  std::unique_ptr<LCFileWriter> (*make)(AudioFile audioFile);
};

constexpr WriterChoice kWriterChoices[] = {
    {kNodeAIFF, makeWriter<LCAIFWriter, true>},
    {kNodeWAV, makeWriter<LCWAVWriter, false>},
    {kNodeCAF, makeWriter<LCCAFWriter, true>},
};

}  // namespace

std::unique_ptr<LCFileWriter> LCFileWriter::fileWriterForURL(const vesk::URL& url, std::string* reason) {
  const std::string path = url.path();
  const int32_t nodeType = LCNodeTypesHelper::nodeTypeFromPath(path);
  for (const WriterChoice& choice : kWriterChoices) {
    if (choice.nodeType != nodeType) continue;
    vesk::WriteFailure failure;
    auto audioFile = vesk::AudioFileEdit::open(path, failure);
    if (audioFile) return choice.make(std::move(audioFile));
    if (reason) *reason = failure.message;
    return nullptr;
  }
  if (reason) *reason = path + ": no file into which tags can be written, judged by its extension";
  return nullptr;
}

LCFileWriter::LCFileWriter(AudioFile audioFile, bool isBigEndian)
    : m_audioFile(std::move(audioFile)), m_isBigEndian(isBigEndian) {}

LCFileWriter::~LCFileWriter() = default;

// --- Writing ---------------------------------------------------------------------------------------------------------

// What the steps answer is not asked: the commit decides.
bool LCFileWriter::writeFileData(const LCFileData& fileData) {
  m_fileData = &fileData;
  writeFileInfo();
  writeSearchInfo();
  writeAdditionalData();
  if (fileData.enhancedFileDataAvailable) writeEnhancedData();
  vesk::WriteFailure failure;
  const auto outcome = m_audioFile->commit(failure);
  m_fileData = nullptr;
  if (failure) vesk::log(failure.message);
  return outcome != vesk::AudioFileEdit::Outcome::failed;
}

std::optional<vesk::Bytes> LCFileWriter::additionalLoopData() const {
  return LCAdditionalDataChunk::ofRecord(fileData()).encode();
}

std::optional<vesk::Bytes> LCFileWriter::genInstData() const {
  if (!fileData().genInstDictionary) return std::nullopt;
  return LCGenInstChunk{.dictionary = *fileData().genInstDictionary}.encode();
}
