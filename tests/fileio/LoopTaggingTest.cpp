// Single tags edited in files made byte by byte: before and after stand as whole files.
#include "fileio/LoopTagging.h"
#include "ParserFixture.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"

using namespace fixture;
using enum LCTagField;

namespace {

using Changes = std::vector<std::pair<LCTagField, const char*>>;  // nullptr: cleared

struct Tagged {
  std::string refusal;
  Bytes bytes;
  LCFileData record;
};

Tagged tagged(const Bytes& file, const Changes& changes) {
  vesk::WriteFailure failure;
  std::string reason;
  const auto edit = vesk::AudioFileEdit::open(std::make_unique<vesk::MemoryBytes>(file), failure);
  if (!edit) return {failure.message, {}, {}};
  const auto url = vesk::URL::fileURLWithPath("/Bass/q.x", false);
  LCFileData wanted = *lc::recordWithEdits(*edit, url, reason);
  std::vector<LCTagField> fields;
  for (const auto& [field, text] : changes) {
    fields.push_back(field);
    if (text) {
      EXPECT_EQ(lc::setTagText(wanted, field, text), std::nullopt) << text;
    } else {
      lc::clearTag(wanted, field);
    }
  }
  if (auto refusal = lc::editTags(*edit, wanted, fields)) return {*refusal, {}, {}};
  const auto bytes = edit->edited(failure);
  const auto record = lc::recordWithEdits(*edit, url, reason);
  EXPECT_TRUE(bytes && record) << failure.message << reason;
  return {"", *bytes->upTo(0, bytes->size()), *record};
}

Bytes odd(Bytes payload, size_t offset, size_t size = 0) {
  payload.resize(std::max(payload.size(), size));
  payload[offset] = std::byte{0x5A};
  return payload;
}

Bytes cafWithInfo(const Bytes& countedEntries) {
  return cafFile({chunk("uuid", uuidPayload(kSearchInfoID, countedEntries)), chunk("free", Bytes(3))});
}

TEST(LoopTagging, ChangesTheFieldAndNothingElse) {
  const Bytes basic = odd(bascPayload(8, 69, 1, 4, 4, 1), 70, 84);
  const auto aiff = [&](std::string_view itsGenre, const Texts& words, const Bytes& basc, const Bytes& comments) {
    const Bytes category = odd(odd(cateV2Payload("Drums", "", itsGenre, words, "C", "T"), 160), 321);
    return aiffFile({chunk("NAME", "odd"), chunk("basc", basc), chunk("COMT", comments), chunk("zzzz", "?"),
                     chunk("cate", category), chunk("acid", "foreign")});
  };
  const Bytes comments = comtPayload({"one", "second"});
  Bytes thirteen = comtPayload({" thirteen", "second"}), none = comtPayload({"", "second"});
  const Bytes before = aiff("Funk", {"Dry", "Dark"}, basic, comments);
  const std::pair<Changes, Bytes> cases[] = {
      {{{genre, "Jazz"}}, aiff("Jazz", {"Dry", "Dark"}, basic, comments)},
      {{{genre, "Funk"}, {comment, "one"}, {key, "A"}}, before},
      {{{descriptors, "Dark, Wet"}}, aiff("Funk", {"Dark", "Wet"}, basic, comments)},
      {{{beats, "16"}, {scale, "major"}},
       aiff("Funk", {"Dry", "Dark"}, odd(bascPayload(16, 69, 2, 4, 4, 1), 70, 84), comments)},
      {{{comment, "thirteen"}}, aiff("Funk", {"Dry", "Dark"}, basic, thirteen)},
      {{{comment, nullptr}}, aiff("Funk", {"Dry", "Dark"}, basic, none)},
  };
  for (const auto& [changes, after] : cases) {
    const Tagged once = tagged(before, changes);
    EXPECT_EQ(once.refusal, "");
    EXPECT_EQ(once.bytes, after) << changes[0].second;
    EXPECT_EQ(tagged(once.bytes, changes).bytes, after) << "written again";
  }
}

TEST(LoopTagging, KeepsTheBytesAndTheOrderOfOtherSearchInfo) {
  const Pairs pairs = {
      {"x", "\xFF\xFE"}, {"genre", "Old"}, {"beat count", "8"}, {"genre", "Funk"}, {"time signature", "4/4"}};
  const auto with = [&](size_t index, const char* value) {
    Pairs changed = pairs;
    changed[index].second = value;
    return cafWithInfo(Builder{}.raw(countedPairs(changed)).text("behind").bytes);
  };
  const Bytes before = with(3, "Funk");
  EXPECT_EQ(tagged(before, {{genre, "Jazz"}}).bytes, with(3, "Jazz"));
  EXPECT_EQ(tagged(before, {{beats, "4"}}).bytes, with(2, "4"));
  EXPECT_EQ(tagged(before, {{beats, "8"}, {signature, "4/4"}}).bytes, before) << "and no descriptors by another edit";
  EXPECT_EQ(
      tagged(before, {{genre, nullptr}}).bytes,
      cafWithInfo(Builder{}.raw(countedPairs({pairs[0], pairs[2], pairs[4], {"category", ""}})).text("behind").bytes))
      << "words of the path do not come in";
}

TEST(LoopTagging, WritesEveryFieldThatTheContainerCarriesAndReadsItBack) {
  const Changes additional = {{integratedLoudness, "-14.5"}, {truePeak, "-0.25"},
                              {targetLoudness, "-18"},       {iconId, "7"},
                              {preferFileName, "true"},      {patchInfo, "2"}};
  Changes common = {{title, "T\u00EDtle"}, {author, "A"},   {copyright, "C"},         {comment, "odd"},
                    {instrument, "Drums"}, {genre, "Jazz"}, {subInstrument, "Snare"}, {descriptors, "Dark, Dry"},
                    {beats, "12"},         {key, "F#"},     {scale, "neither"},       {signature, "6/8"}};
  common.insert(common.end(), additional.begin(), additional.end());
  Changes all = common;
  all.insert(all.end(), {{collection, "Col"}, {theme, "The"}, {fileType, "one-shot"}});
  const std::tuple<Bytes, Changes> cases[] = {{aiffFile(), all}, {cafFile(), common}, {wavFile(), additional}};
  for (const auto& [file, changes] : cases) {
    const Tagged written = tagged(file, changes);
    ASSERT_EQ(written.refusal, "");
    Changes cleared = changes;
    for (auto& [field, text] : cleared) {
      EXPECT_EQ(lc::tagText(written.record, field), text) << lc::tagFieldName(field);
      text = nullptr;
    }
    EXPECT_EQ(tagged(written.bytes, changes).bytes, written.bytes);
    const Tagged empty = tagged(written.bytes, cleared);
    for (const auto& [field, text] : cleared) {
      const bool isImplied = field == fileType || (field == scale && changes.size() < all.size());
      EXPECT_TRUE(isImplied || !lc::tagText(empty.record, field)) << lc::tagFieldName(field);
    }
    const bool hasKeywords = changes.size() > additional.size();
    EXPECT_EQ(empty.record.instrumentTypeTag, hasKeywords ? "" : "Bass") << "which is in the path";
  }
}

TEST(LoopTagging, WordsOfThePathStayWhenTheFirstTagIsWritten) {
  EXPECT_EQ(tagsOf(tagged(aiffFile(), {{genre, "Jazz"}}).record), "Bass||Jazz||-|-|");
  EXPECT_EQ(tagsOf(tagged(cafFile(), {{genre, "Jazz"}}).record), "Bass|-|Jazz||-|-|");
}

TEST(LoopTagging, RefusesWhatWouldBeLostOrReadAsSomethingElse) {
  const Bytes caf = cafFile(), unknown = aiffFile({chunk("cate", odd(catePayload("", "", ""), 3)),
                                                   chunk("basc", Bytes(83)), chunk("coll", Bytes(50)),
                                                   chunk("adLD", "no archive"), chunk("COMT", comtPayload({"a"}))});
  const std::tuple<Bytes, Changes, const char*> cases[] = {
      {caf, {{collection, "C"}}, "CAF files have no place for collection"},
      {caf, {{fileType, "loop"}}, "CAF files have no place for fileType"},
      {caf, {{key, "69"}}, "CAF files hold only the notes 48 (C) to 59 (B)"},
      {caf, {{signature, "4/4"}}, "a one-shot, without beats, has no signature"},
      {wavFile(), {{genre, "Jazz"}}, "WAV files have no place for genre"},
      {wavFile(), {{title, nullptr}}, "WAV files have no place for title"},
      {unknown, {{genre, "Jazz"}}, "its cate chunk is of a kind that is not understood"},
      {unknown, {{beats, "4"}}, "its basc chunk is of a kind that is not understood"},
      {unknown, {{theme, "T"}}, "its coll chunk is of a kind that is not understood"},
      {unknown, {{iconId, "4"}}, "its additional data are of a kind that is not understood"},
  };
  for (const auto& [file, changes, refusal] : cases) EXPECT_EQ(tagged(file, changes).refusal, refusal);
}

TEST(LoopTagging, OtherEntriesOfTheAdditionalDataStay) {
  const Bytes before = aiffFile({chunk("adLD", archiveNamed("additional-all-keys.archive"))});
  const Tagged after = tagged(before, {{iconId, "9"}, {integratedLoudness, nullptr}});
  LCFileData expected = tagged(before, {}).record;
  expected.iconId = vesk::Number{int64_t{9}};
  expected.integratedLoudness.reset();
  EXPECT_EQ(after.record, expected);
}

}  // namespace
