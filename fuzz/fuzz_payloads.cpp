// Feeds arbitrary bytes to every decoder of tagging payloads. The first byte picks the decoder, the rest is the
// payload.
#include "fileio/LCAcidChunk.h"
#include "fileio/LCBasicTaggingChunk.h"
#include "fileio/LCCategoryChunk.h"
#include "fileio/LCCollectionChunk.h"
#include "fileio/LCCommentsChunk.h"
#include "fileio/LCSearchInfo.h"
#include "fileio/TempoFromFileName.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <cstdint>
#include <cstdlib>

namespace {

// A parser without a file, whose payload decoders can be reached.
class PayloadParser : public LCFileParser {
 public:
  PayloadParser() : LCFileParser(vesk::URL::fileURLWithPath("/q.aif", false), nullptr, true) {}
  void decodeGenInst(std::span<const std::byte> payload) {
    m_fileData->enhancedFileDataAvailable = true;
    extractGenInstInfoFromData(payload);
    calcHash();
  }
  void decodeAdditionalLoopData(std::span<const std::byte> payload) {
    extractAdditionalLoopDataFromData(payload);
    calcHash();
  }
};

void decodeSearchInfo(std::span<const std::byte> payload) {
  const auto decoded = LCSearchInfo::decode(payload);
  for (const auto& [key, items] : decoded.entries) {
    if (items.empty()) std::abort();  // every value has at least one item
    (void)rootNoteFromKeySignature(items.front());
    (void)LCTimeSignature::fromText(items.front());
  }
}

// A tempo is a part of the name and is found again in that part alone.
void findTempo(std::string_view name) {
  const auto found = lc::findTempoText(name);
  if (found && lc::findTempoText(*found) != found) std::abort();
  (void)lc::findTempoInFileName(name);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const auto payload = std::as_bytes(std::span(data, size)).subspan(1);
  const std::string_view text(reinterpret_cast<const char*>(payload.data()), payload.size());
  switch (data[0] % 10) {
    case 0:
      (void)LCBasicTaggingChunk::decode(payload);
      break;
    case 1:
      (void)LCCategoryChunk::decode(payload);
      break;
    case 2:
      (void)LCCollectionChunk::decode(payload);
      break;
    case 3:
      (void)LCAcidChunk::decode(payload);
      break;
    case 4:
      (void)LCCommentsChunk::decode(payload);
      break;
    case 5:
      decodeSearchInfo(payload);
      break;
    case 6:
      findTempo(text);
      break;
    case 7:
      PayloadParser().decodeGenInst(payload);
      break;
    case 8:
      PayloadParser().decodeAdditionalLoopData(payload);
      break;
    case 9:
      (void)LCFileData::unarchived(payload);
      break;
  }
  return 0;
}
