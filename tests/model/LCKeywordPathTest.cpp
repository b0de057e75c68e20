// What paths tell: keywords, whose sets are written as one text, joined by ",", and the types of nodes.
#include "support/TestEnvironment.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/model/LCNodeTypesHelper.h"

#include <gtest/gtest.h>

namespace {

using Case = std::pair<const char*, const char*>;

const auto listed = [](const vesk::StringSet& words) { return vesk::text::joined(words, ","); };

std::string keywordsInPath(std::string_view path) {
  return listed(LCKeywordHelper::extractTagsFromFileURL(vesk::URL::fileURLWithPath(path, false)));
}

// The rules themselves, with an empty word list or one of the test's own; the built-in one comes back afterwards.
struct KeywordsInPaths : testing::Test {
  KeywordsInPaths() { LCKeywordHelper::setSearchKeyTranslation(""); }
  ~KeywordsInPaths() override { LCKeywordHelper::loadSearchKeyTranslation(); }
};

TEST_F(KeywordsInPaths, ATrailingNumberGoesWithTheBlanksBeforeItAndAllAfterIt) {
  for (const auto& [word, stripped] :
       {Case("Snare 12", "Snare"), Case("Snare 12 x", "Snare"), Case("Bell 3 Tom", "Bell"), Case("Gong 4 5", "Gong 4"),
        Case("Snare  01b", "Snare"), Case("909 Tom", "909 Tom"), Case("Tom03", "Tom03"), Case("Tom-3", "Tom-3"),
        Case(" 7", " 7"), Case("12", "12"), Case("", ""), Case("T\xC3\xBC 3", "T\xC3\xBC")}) {
    EXPECT_EQ(LCKeywordHelper::stripTrailingDigits(word), stripped) << word;
  }
}

TEST_F(KeywordsInPaths, AWordWithADigitAnywhereHasASecondFormWithoutOuterDigits) {
  for (const auto& [word, forms] :
       {Case("9 Gong 9", "9 Gong,Gong"), Case("Gong7", "Gong,Gong7"), Case("Gong", "Gong"), Case("4x4", "4x4,x"),
        Case("Tom 1 b", "Tom,Tom 1 b"), Case("2 \tTom", "2 \tTom,Tom"), Case("303", "303"), Case("", "")}) {
    EXPECT_EQ(listed(LCKeywordHelper::normalizeWord(word)), forms) << word;
  }
}

TEST_F(KeywordsInPaths, AreWholeComponentsTheirPartsAndNeighbouringParts) {
  const Case cases[] = {
      {"/a1/Bass/Electric Bass 01.caf", "Bass,Electric,Electric Bass"},
      {"/a1/zap/Gong7.wav", "Gong,Percussion"},
      {"/srv/choir/Pad.aif", "Choir,Vocals"},                     // every folder counts
      {"/a1/zap/Slide_Guitar_Lick.wav", "Guitars,Slide Guitar"},  // a pair joined by a blank
      {"/a1/zap/Slide_Guitar-Lick.wav", ""},                      // separators are tried one at a time
      {"/a1/zap/Drum  Kit.wav", ""},                              // the empty part stands between them
      {"/a1/zap/Tom.Gong.wav", ""},                               // a dot does not part words
      {"/a1/zap/French_Horn_Tuba_2.caf", "French Horn,Horn/Wind,Tuba"},
      {"/a1/zap/HI-HAT.caf", "Drums,Hi-hat"},
      {"/a1/Woodwind/q1.aif", "Woodwind"},
      {"/a1/Dry Part-Fill/q1.aif", "Dry,Fill"},  // "Part" never stands alone
      {"/a1/zap/q1.Tom", ""},                    // the extension is none of it
      {"/a1/\xFF/\xC3_Tom.wav", "Drums,Tom"},    // no UTF-8
  };
  for (const auto& [path, keywords] : cases) EXPECT_EQ(keywordsInPath(path), keywords) << path;
}

TEST_F(KeywordsInPaths, ShortComponentsAndPartsDoNotCount) {
  LCKeywordHelper::setSearchKeyTranslation(
      "<plist><dict><key>k</key><string>Kick</string><key>kx</key><string>Tom</string>"
      "<key>\xF0\x9D\x84\x9E</key><string>Gong</string></dict></plist>");
  EXPECT_EQ(keywordsInPath("/a1/kx/q1.wav"), "");              // a component of two characters
  EXPECT_EQ(keywordsInPath("/a1/kx kx/q1.wav"), "Drums,Tom");  // parts of two
  EXPECT_EQ(keywordsInPath("/a1/k kk/q1.wav"), "");            // a part of one
  EXPECT_EQ(keywordsInPath("/a1/kx\xF0\x9D\x84\x9E/q1.wav"), "");
}

TEST_F(KeywordsInPaths, AWordIsReplacedByAllItsTranslations) {
  LCKeywordHelper::setSearchKeyTranslation(
      "<plist><dict><key>BONG</key><array><string>Bongo</string><string>Snare</string><integer>7</integer></array>"
      "<key>bong</key><string>Dry</string><key>Tom</key><string>Kick</string>"
      "<key>a key of more than twenty-nine characters</key><string>Choir</string>"
      "<key>t\xC3\xB6m</key><string>Choir</string></dict></plist>");
  EXPECT_EQ(listed(LCKeywordHelper::normalizeWord("Bong 1")), "Bongo,Dry,Snare");
  EXPECT_EQ(listed(LCKeywordHelper::examineWord("tom")), "Drums,Kick");  // the word itself is gone
  EXPECT_EQ(listed(LCKeywordHelper::examineWord("A key of more than twenty-nine, cut")), "Choir,Vocals");
  EXPECT_EQ(listed(LCKeywordHelper::examineWord("t\xC3\xB6m")), "");  // keys are ASCII
}

TEST_F(KeywordsInPaths, FillTheTagsByKindAndLeaveTheOthersMissing) {
  LCKeywordHelper helper(vesk::URL::fileURLWithPath("/a1/Techno/Dark_Dry/Mixed/Tom Kick 2.wav", false));
  EXPECT_EQ(helper.genreTag, "Techno");
  EXPECT_EQ(helper.instrumentTypeTag, "Drums");  // brought by the sub-type, although "Mixed" is the last
  EXPECT_EQ(helper.instrumentSubTypeTag, "Tom");
  helper.extractKeywordsFromFileURL(vesk::URL::fileURLWithPath("/a1/Drums/Mixed/zap.wav", false));
  EXPECT_EQ(helper.instrumentTypeTag, "Mixed");  // the last of "Drums" and "Mixed"
  helper.extractKeywordsFromFileURL(vesk::URL::fileURLWithPath("/a1/Intense.wav", false));
  EXPECT_EQ(helper.descriptors, (vesk::StringSet{"Dark", "Dry", "Intense"}));

  const LCKeywordHelper none(vesk::URL::fileURLWithPath("/a1/zap.wav", false));
  EXPECT_FALSE(none.genreTag || none.descriptors || none.instrumentTypeTag || none.instrumentSubTypeTag);
}

TEST(NodeTypes, FollowTheExtensionAndAskTheHostAboutPackages) {
  const auto environment = TestEnvironment::install();
  const TemporaryFolder folder;
  const std::pair<const char*, int> files[] = {{"a.AIFF", 4}, {"a.wave", 5}, {"a.mov", 6},      {"a.caf", 7},
                                               {"a.rcy", 10}, {"a.sd2", -1}, {"a.loopdata", 8}, {".wav", -1}};
  for (const auto& [name, type] : files) {
    EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.addFile(name, "x")), type) << name;
  }
  EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.addFolder("plain")), 1);
  EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.addFolder("song.band")), 1);
  environment->setFilePackage(folder.path("song.band"));
  EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.path("song.band")), 3);
  EXPECT_EQ(LCNodeTypesHelper::nodeTypeFromPath(folder.path("missing.caf")), -1);
}

TEST(BuiltInWordList, FindsWhatProducersWrite) {
  for (const auto& [name, keywords] :
       {Case("BD_01", "Drums,Kick"), Case("HH2_04", "Drums,Hi-hat"), Case("24Ride-1", "Cymbal,Drums"),
        Case("HatClosed-Soft", "Drums,Hi-hat"), Case("124382__cubix__8bit-snare", "Drums,Snare"),
        Case("HandClap", "Percussion"), Case("Maraca-Hardest", "Percussion,Shaker"),
        Case("BongoHi-Med", "Bongo,Percussion"), Case("Djembe3 Slap", "Percussion"),
        Case("Acoustic_Gtr_Riff", "Acoustic,Acoustic Guitar,Guitars"),
        Case("Bass Guitar 7", "Bass,Electric Bass,Guitars"), Case("Female Vox", "Female,Vocals"),
        Case("HipHop DrumLoop 90bpm", "Drums,Hip Hop")}) {
    EXPECT_EQ(keywordsInPath("/a1/zap/" + std::string(name) + ".wav"), keywords) << name;
  }
}

TEST(BuiltInWordList, LeavesEverydayFoldersAlone) {
  for (const char* folder : {"/home/user/Music/Old Stuff", "/media/user/Backup Disk 2", "/home/user/FL Studio/Projects",
                             "/home/user/Voice Memos", "/home/user/New EP", "/scratch/tmp/vinyl rips", "/mnt/c/Users",
                             "/home/user/Good Vibes", "/home/user/China Trip", "/home/user/Video Games"}) {
    EXPECT_EQ(keywordsInPath(folder + std::string("/take 7.wav")), "") << folder;
  }
}

}  // namespace
