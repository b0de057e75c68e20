// Families of numbered variants, and the lookups of single loops.
#include "search/SearchDatabase.h"

#include <rapidcheck/gtest.h>
#include <unicode/regex.h>
#include <unicode/unistr.h>

namespace {

Ids idsOf(const std::optional<std::vector<LCLoopFamilyMember>>& family) {
  Ids ids;
  for (const auto& member : family.value_or(std::vector<LCLoopFamilyMember>())) ids.push_back(member.loopId);
  return ids;
}

using FamiliesTest = EngineTest;

}  // namespace

TEST(FamilyName, IsWhatStandsBeforeTheNumbers) {
  const std::pair<const char*, std::optional<std::string>> cases[] = {
      {"/L/My Loops 7/Beat 1.2_3.aif", "Beat"},
      {"/L/Beat 01/Pad.aif", {}},  // of a folder
      {"Beat 01", "Beat"},         // no extension
      {" 01.aif", ""},             // found, and nothing before it
  };
  for (const auto& [name, family] : cases) {
    EXPECT_EQ(LCSearchEngine::familyNameForLoopName(name), family) << name;
    EXPECT_EQ(LCSearchEngine::shouldShowFamilyForLoopName(name), family.has_value()) << name;
  }
}

RC_GTEST_PROP(FamilyName, IsWhatTheRegularExpressionLeaves, ()) {
  static const std::vector<std::string> pieces = {" ", "1", "23", ".", "_", "a", "\u0663", "\u00A0", "\u00B2", "é"};
  std::string name;
  for (const std::string& piece : *rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(pieces)))
    name += piece;
  UErrorCode status = U_ZERO_ERROR;
  const auto text = icu::UnicodeString::fromUTF8(name);
  icu::RegexMatcher matcher(UNICODE_STRING_SIMPLE(" \\d+(\\.\\d+)*(_\\d+)*$"), text, 0, status);
  std::optional<std::string> family;
  if (matcher.find(status)) text.tempSubStringBetween(0, matcher.start(status)).toUTF8String(family.emplace());
  RC_ASSERT(LCSearchEngine::familyNameForLoopName(name + ".caf") == family);
}

TEST_F(FamiliesTest, HoldEveryVariantWhateverTheNameIsMadeOf) {
  for (const std::string stem :
       {"Funky Beat", "Pad", "It's: a|b", "100% Pure", "a_b", "a:b c", "say \"x\"", "Ärger 東京", "%20 odd"}) {
    database.run("DELETE FROM Loops");
    database.addNamed({stem + " 02.wav", stem + " 01.caf", "Other 03.wav", "x.wav"});
    EXPECT_EQ(idsOf(engine->loopFamilyForLoopId(1, {}, 0)), (Ids{2, 1})) << stem;
  }
  // A name, unlike a stored loop, is looked for as it is: only its blanks are encoded as in a URL.
  EXPECT_EQ(idsOf(engine->loopFamilyForName("Ärger 01.wav", 0)), Ids{});
}

TEST_F(FamiliesTest, AreFoundByNameIdAndKey) {
  database.addNamed({"Pad Swell 01.wav", "pad.wav", "Pads/x.wav", "/L/Pad 2.wav", "Launch Pad.wav"});
  database.run("UPDATE Loops SET key = 57, hasMidi = 1, ksLoopType = 6, isWebLoop = 1 WHERE id = 1");
  EXPECT_EQ(idsOf(engine->loopFamilyForName("Pad.caf", 0)), (Ids{4, 1, 2, 3}));  // by name without case
  for (const char* name : {"Sub/Pad 7.caf", ".caf 1.caf", ""})
    EXPECT_EQ(idsOf(engine->loopFamilyForName(name, 0)), Ids{});               // as it is
  EXPECT_EQ(idsOf(engine->loopFamilyForName("Pad.caf", 60)), (Ids{4, 2, 3}));  // A is not near C
  EXPECT_EQ(idsOf(engine->loopFamilyForLoopId(99, "/x/Pad Swell 3.caf", 0)), Ids{1});
  EXPECT_EQ(engine->loopFamilyForLoopId(99, {}, 0), std::nullopt);
  EXPECT_EQ(engine->loopFamilyForLoopId(1, {}, 60), std::nullopt);  // itself in another key
  engine->setUseKestrelLoopTypes(true);
  const LCLoopFamilyMember swell{vesk::URL::fromString("file:///L/Pad%20Swell%2001.wav"), 1, true, "Pad Swell 01.wav",
                                 6};
  EXPECT_EQ(engine->findLoopFamilyForNameFilter("Pad Swell", 69), std::vector{swell});
}

TEST_F(FamiliesTest, FoldTheWholeResultInItsOrder) {
  const auto folded = [this] {  // first rows and how many members
    std::string text;
    for (const auto& [row, count] : engine->foldedFamilies())
      text += std::to_string(row) + "x" + std::to_string(count) + " ";
    return text;
  };
  EXPECT_EQ(folded(), "");  // nothing was searched for yet
  engine->setSortDescriptors(std::vector<LCSortDescriptor>{{"id"}});
  database.addNamed(
      {"Pad 1.wav",       "Σίγμα 1.wav",     "PAD.caf",         " 01.wav",       " 02.wav",      "Sub/pad 2.wav",
       "σίγμας 1_2.aif",  "ΣΊΓΜΑ.aif",       "Straße 1.wav",    "STRASSE 2.wav", "straẞe 3.wav", "x\xC3 1.wav",
       "X\xC3 2.wav",     "x\xE3\x81 3.wav", "x\xE3\x82 3.wav", "no url 1.wav",  "no url 2.wav", "x\xEF\xBF\xBD 4.wav",
       "\u212Aick 1.wav", "kick 2.wav",      "Pads 1.wav",      "Pad 1"});
  database.run(
      "UPDATE Loops SET fileURL = fileName WHERE fileName LIKE 'no url%';"
      "UPDATE Loops SET fileName = 'localized ' || id");
  EXPECT_EQ(idsFound(*engine).size(), 22u);
  // Rows count from 0. Half a character is equal to itself only, not to another one or to what replaces it.
  EXPECT_EQ(folded(), "0x4 1x2 3x1 4x1 6x1 8x2 9x1 11x2 13x1 14x1 15x1 16x1 17x1 18x2 20x1 ");

  // Members outside the result do not count, and a loop counts once whatever number of packages it is in.
  database.run("INSERT INTO CrateLoopRelation VALUES ('a', 22), ('a', 6), ('b', 6), ('a', 2)");
  engine->setEnabledCrateIdentifier(names("a", "b"));
  EXPECT_EQ(idsFound(*engine), (Ids{2, 6, 6, 22}));
  EXPECT_EQ(folded(), "0x1 1x2 ");
}

TEST_F(FamiliesTest, LookupsFindSingleLoops) {
  database.addNamed({"Beat 01.wav", "Sub/Beat 01.wav", "Big Beat 01 x.wav", "no tempo.wav"});
  database.run(
      "UPDATE Loops SET key = 50, tempo = iif(id = 4, -1, 120), comment = 'c' || id;"
      "INSERT INTO Tagging VALUES (2, 3), (2, 20001), (3, 1)");
  const auto path = [&](const char* name, int32_t tempo) { return engine->findPathForLoopname(name, tempo, 50); };
  EXPECT_EQ(path("/x/Beat 01.aif", 120), "/L/Beat 01.wav");
  EXPECT_EQ(path("Beat", 120), "/L/Beat 01.wav");  // the first that holds it
  database.run("UPDATE Loops SET fileURL = 'file:///L/Before%20Beat%2001.wav' WHERE id = 1");
  EXPECT_EQ(path("Beat 01", 120), "/L/Sub/Beat 01.wav");  // exact before containing
  EXPECT_EQ(path("no tempo", 0), "/L/no tempo.wav");
  EXPECT_EQ(path("Beat 01", 121), std::nullopt);
  EXPECT_EQ(engine->findPathForLoopname({}, 120, 50), std::nullopt);

  EXPECT_EQ(engine->resultDictForLoopId(3).at("comment"), "c3");
  EXPECT_EQ(engine->fileForLoopId(2)->plainFileURLStr(), "file:///L/Sub/Beat%2001.wav");
  EXPECT_TRUE(engine->resultDictForLoopId(9).empty() && !engine->fileForLoopId(9));
  for (const char* fileName : {"Beat 01.wav", "Schlag 01.wav", ""}) {  // a localized name is not the one of the URL
    database.run("UPDATE Loops SET fileName = '" + std::string(fileName) + "'");
    EXPECT_EQ(engine->loopIdForFilepath("/L/Sub/Beat 01.wav"), 2) << fileName;
    EXPECT_TRUE(engine->isFileIndexed(*engine->fileURLForLoopId(3))) << fileName;
    EXPECT_EQ(engine->loopIdsForName("Beat 01"), (std::set<int64_t>{1, 2, 3})) << fileName;
    EXPECT_EQ(engine->resultDictForFilename("Big Beat").at("id"), "3") << fileName;
    EXPECT_EQ(engine->keywordsForURL(*engine->fileURLForLoopId(3)), names("Piano")) << fileName;
    EXPECT_EQ(idsOf(engine->loopFamilyForLoopId(3, {}, 0)), Ids{3}) << fileName;
    EXPECT_EQ(path("Beat 01", 120), "/L/Sub/Beat 01.wav") << fileName;
  }
  EXPECT_EQ(engine->loopIdForFileURL(vesk::URL::fileURLWithPath("/L/Sub/Beat%2001.wav", false)), 0);
  EXPECT_EQ(engine->keywordsForLoopId(2), names("Tuba", "Zorp"));
}
