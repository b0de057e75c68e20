// The payloads of tagging chunks, read and written: what comes back, and what writing drops.
#include "fileio/ChunkText.h"
#include "fileio/LCAcidChunk.h"
#include "fileio/LCAdditionalDataChunk.h"
#include "fileio/LCBasicTaggingChunk.h"
#include "fileio/LCCategoryChunk.h"
#include "fileio/LCCollectionChunk.h"
#include "fileio/LCCommentsChunk.h"
#include "fileio/LCGenInstChunk.h"
#include "fileio/LCSearchInfo.h"
#include "platform/KeyedArchive.h"

#include "ParserFixture.h"

#include <tuple>

using namespace fixture;
using namespace std::string_view_literals;

namespace {

// The payload that `value` writes, which is read back as `value`.
template <typename Codec>
Bytes writtenBothWays(const Codec& value) {
  const Bytes written = std::optional<Bytes>(value.encode()).value_or(Bytes{});
  EXPECT_EQ(std::optional<Codec>(Codec::decode(written)), value);
  return written;
}

const auto withoutIdentifier = [](const Bytes& payload) { return Bytes(payload.begin() + 16, payload.end()); };

const std::string kWide(48, 'x');

}  // namespace

TEST(ChunkCodecs, WriteTheLayoutsThatTheyRead) {
  const std::pair<Bytes, Bytes> cases[] = {
      {writtenBothWays(LCBasicTaggingChunk{-8, 57, 1, 6, 8, 2}), bascPayload(-8, 57, 1, 6, 8, 2)},
      {writtenBothWays(LCCategoryChunk{1, "Bass", "Kick", "Jazz", {}, {}, {"Dark", "Dry"}}),
       catePayload("Bass", "Kick", "Jazz", {"Dark", "Dry"})},
      {writtenBothWays(LCCategoryChunk{1, "Bass", "", "Jazz"}),  // with room for a descriptor
       Builder{catePayload("Bass", "", "Jazz")}.zeros(50).bytes},
      {writtenBothWays(LCCollectionChunk{1, "Garage", "Night"}), collPayload("Garage", "Night")},
      {writtenBothWays(LCAcidChunk{true, 62, 12, 3, 8, 90.5f, 0xFFFFFFFC, {std::byte{0}, std::byte{0x80}}}),
       acidPayload(0xFFFFFFFF, 62, 12, 3, 8, 90.5f)},
      {writtenBothWays(LCAcidChunk{.unknown = {std::byte{0}, std::byte{0x80}}}), acidPayload(0, 0, 0, 0, 0, 0)},
      {writtenBothWays(LCCommentsChunk{"late"}), bytesFromHex("0001 00000000 0000 0005 206C617465 00")},
      {writtenBothWays(LCSearchInfo{{{"beat count", {"8"}}, {"descriptors", {"Dry", "", "Dark"}}}}),
       withoutIdentifier(searchInfoPayload({{"beat count", "8"}, {"descriptors", "Dry,,Dark"}}))},
  };
  for (const auto& [written, layout] : cases) EXPECT_EQ(written, layout) << layout.size();
}

TEST(ChunkCodecs, CutTextsBetweenCharactersAndDropWhatTheyDoNotKnow) {
  const auto field = [](const std::string& text) {
    return LCCollectionChunk::decode(LCCollectionChunk{1, text}.encode())->collection;
  };
  EXPECT_EQ(field(kWide + "yz"), kWide + "y");
  EXPECT_EQ(field(kWide + "\u00E9"), kWide) << "half a character is none";
  EXPECT_EQ(field(std::string("a\0b", 3)), "a");
  const auto second = LCCategoryChunk::decode(cateV2Payload("Bass", "", "", {"Dry"}, "Collection", "Theme"));
  EXPECT_EQ(second->encode(), catePayload("Bass", "", "", {"Dry"}));
  LCCategoryChunk many;
  for (int i = 0; i <= 0xFFFF; ++i) many.descriptors.insert(std::to_string(i));
  EXPECT_EQ(LCCategoryChunk::decode(many.encode())->descriptors.size(), 0xFFFFu) << "what the count can say";
  EXPECT_EQ(LCCommentsChunk::decode(LCCommentsChunk{" a \n"}.encode())->text, "a");
  EXPECT_EQ(LCCommentsChunk::decode(LCCommentsChunk{std::string(70000, 'x')}.encode())->text.size(), 0xFFFEu);
  EXPECT_EQ(LCAcidChunk::decode(acidPayload(0, 62, 65537, 4, 4, 90))->encode(), acidPayload(0, 0, 1, 4, 4, 90));
}

TEST(ChunkCodecs, ArchivesComeBackWithEveryFieldTheyHave) {
  const auto additional = LCAdditionalDataChunk::decode(archiveNamed("additional-all-keys.archive")).value();
  const Bytes written = writtenBothWays(additional);
  const vesk::Value root = vesk::unarchivedRoot(written, "rootDict", LCMetaInfo::isMetaInfo);
  EXPECT_EQ(vesk::valueForKey(root.dictionary(), "Version"), vesk::Value(1));
  EXPECT_NE(lc::characters(written).find("\x22\x3F\0\0\0"sv), std::string_view::npos) << "0.5 as a float of 4 bytes";
  EXPECT_EQ(LCAdditionalDataChunk{}.encode(), std::nullopt);
  writtenBothWays(LCAdditionalDataChunk{.patchInfo = 1});

  const Bytes percussion = archiveNamed("geninst-percussion.archive");
  EXPECT_EQ(vesk::unarchivedRoot(writtenBothWays(LCGenInstChunk::decode(percussion).value()), "rootDict"),
            vesk::unarchivedRoot(percussion, "rootDict"));
  writtenBothWays(LCGenInstChunk{});
  const vesk::Value set = vesk::Value::Set{std::make_shared<const vesk::Array>()};
  const Bytes withSet = vesk::archivedRoot(vesk::Dictionary{{"IconID", 1}, {"MetaInfo", set}}, "rootDict");
  EXPECT_FALSE(LCGenInstChunk::decode(withSet) || LCAdditionalDataChunk::decode(withSet)) << "sets have no place here";
}

TEST(LCGenInstChunk, DecidesTheLoopTypeAndTheContentIdentifier) {
  const std::tuple<const char*, LCVireoLoopType, const char*> cases[] = {
      {"geninst-percussion", kLoopTypePercussionDrummer, "g|-|c"},
      {"geninst-electronic", kLoopTypeDrummer, "none"},  // no genre identifier
      {"geninst-bass-player", kLoopTypeBassPlayer, "g|-|c"},
      {"geninst-unknown-type", kLoopTypeNone, "g|-|c"},
      {"geninst-empty", kLoopTypeNone, "none"},
      {"additional-icon-only", kLoopTypeDrummer, "none"},  // no character, so no type
  };
  for (const auto& [archive, type, contentIdentifier] : cases) {
    const auto instrument = LCGenInstChunk::decode(archiveNamed(std::string(archive) + ".archive")).value();
    EXPECT_EQ(instrument.loopType().value_or(kLoopTypeNone), type) << archive;
    EXPECT_EQ(instrument.contentIdentifier().value_or("none"), contentIdentifier) << archive;
  }
  EXPECT_FALSE(LCGenInstChunk::decode(archiveNamed("geninst-with-meta-info.archive"))) << "they have no place here";
}
