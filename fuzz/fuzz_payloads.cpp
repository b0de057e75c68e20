// Any bytes as the payload of a tagging chunk, and as a file name. The first byte picks the decoder, the rest is the
// payload. What comes out is written and read again: what has gone through our own writing once stays the same.
#include "fileio/LCAcidChunk.h"
#include "fileio/LCAdditionalDataChunk.h"
#include "fileio/LCBasicTaggingChunk.h"
#include "fileio/LCCategoryChunk.h"
#include "fileio/LCCollectionChunk.h"
#include "fileio/LCCommentsChunk.h"
#include "fileio/LCGenInstChunk.h"
#include "fileio/LCSearchInfo.h"
#include "fileio/TempoFromFileName.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/model/LCTimeSignature.h"

#include "Require.h"

#include <cstdint>

namespace {

using Payload = std::span<const std::byte>;

// The payload read and written; nullopt when it does not decode, or holds nothing to write.
template <typename Codec>
std::optional<vesk::Bytes> rewritten(Payload payload) {
  const std::optional<Codec> decoded = Codec::decode(payload);
  if (!decoded) return std::nullopt;
  return decoded->encode();
}

// The first time, something may be dropped or cut.
template <typename Codec>
void roundTrip(Payload payload) {
  const auto first = rewritten<Codec>(payload);
  const auto second = first ? rewritten<Codec>(*first) : std::nullopt;
  if (second) require(rewritten<Codec>(*second) == second);
}

void readSearchInfo(Payload payload) {
  for (const auto& [key, items] : LCSearchInfo::decode(payload).entries) {
    require(!items.empty());  // every value has at least one item
    (void)lc::rootNoteFromKeySignature(items.front());
    (void)LCTimeSignature::fromText(items.front());
  }
  roundTrip<LCSearchInfo>(payload);
}

void readGeneratedInstrument(Payload payload) {
  if (const auto instrument = LCGenInstChunk::decode(payload)) {
    (void)instrument->loopType();
    (void)instrument->contentIdentifier();
  }
  roundTrip<LCGenInstChunk>(payload);
}

void readCategory(Payload payload) {
  (void)LCCategoryChunk::decodeInstrument(payload);
  roundTrip<LCCategoryChunk>(payload);
}

// A tempo is a part of the name and is found again in that part alone.
void findTempo(Payload payload) {
  const std::string_view name(reinterpret_cast<const char*>(payload.data()), payload.size());
  const auto found = lc::findTempoText(name);
  if (found) require(lc::findTempoText(*found) == found);
  (void)lc::findTempoInFileName(name);
}

// What was read from an archive is all in ours.
void readRecord(Payload payload) {
  const auto record = LCFileData::unarchived(payload);
  if (!record) return;
  const auto first = record->archived();
  const auto again = LCFileData::unarchived(first);
  require(again && again->archived() == first);
}

// The place of a decoder is part of every kept input.
constexpr void (*kDecoders[])(Payload) = {
    roundTrip<LCBasicTaggingChunk>,
    readCategory,
    roundTrip<LCCollectionChunk>,
    roundTrip<LCAcidChunk>,
    roundTrip<LCCommentsChunk>,
    readSearchInfo,
    findTempo,
    readGeneratedInstrument,
    roundTrip<LCAdditionalDataChunk>,
    readRecord,
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  kDecoders[data[0] % std::size(kDecoders)](std::as_bytes(std::span(data, size)).subspan(1));
  return 0;
}
