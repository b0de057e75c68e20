#include "fileio/LCFileParser.h"

#include "fileio/LCRexFileParser.h"

#include "ParserFixture.h"

using namespace fixture;
using Reason = LCParserFailure::Reason;

namespace {

// Puts the class-wide switches back to their defaults.
struct SwitchGuard {
  ~SwitchGuard() {
    LCFileParser::setAllowsKeywordExtractionFromPath(true);
    LCFileParser::setAllowsSDIIFiles(false);
    LCRexFileParser::registerREXFileAdapterClass({});
  }
};

Reason reasonFor(const vesk::URL& url, LCFileTypes allowed = LCFileParser::defaultAllowedFileTypes()) {
  LCParserFailure failure;
  const auto parser = LCFileParser::fileParserForURL(url, allowed, &failure);
  EXPECT_EQ(parser == nullptr, failure.reason != Reason::none);
  return failure.reason;
}

// Reaches into a parser that has no file.
class RecordParser : public LCFileParser {
 public:
  explicit RecordParser(std::string_view path) : LCFileParser(vesk::URL::fileURLWithPath(path, false), nullptr, true) {}
  LCFileData& record() { return *m_fileData; }
  using LCFileParser::calcHash;
  using LCFileParser::extractAdditionalLoopDataFromData;
  using LCFileParser::extractGenInstInfoFromData;
};

// An adapter that answers `record` for every file.
LCREXFileAdapterClass adapterFor(std::optional<LCFileData> record) {
  struct Adapter : LCREXFileAdapter {
    explicit Adapter(std::optional<LCFileData> answer) : m_answer(std::move(answer)) {}
    std::optional<LCFileData> fileDataForURL(const vesk::URL&) override { return m_answer; }
    std::optional<LCFileData> m_answer;
  };
  return [record] { return std::make_unique<Adapter>(record); };
}

// 8-bit mono at 8000 Hz, so that frames are bytes and 8000 of them a second.
Bytes loopOf(int32_t beats, int16_t bottom, uint32_t frames, double rate = 8000) {
  return aiffFile({chunk("basc", bascPayload(beats, 0, 0, 4, bottom, 1))}, 1, frames, 8, rate);
}

}  // namespace

// --- Factory ---------------------------------------------------------------------------------------------------------

TEST(LCFileParserFactory, AllowedTypesHangOnPathKeywords) {
  const SwitchGuard guard;
  EXPECT_EQ(LCFileParser::defaultAllowedFileTypes(), 15u);
  LCFileParser::setAllowsSDIIFiles(true);
  EXPECT_EQ(LCFileParser::defaultAllowedFileTypes(), 31u);
  LCRexFileParser::registerREXFileAdapterClass(adapterFor(LCFileData{}));
  EXPECT_EQ(LCFileParser::defaultAllowedFileTypes(), 63u);
  LCFileParser::setAllowsKeywordExtractionFromPath(false);
  EXPECT_EQ(LCFileParser::defaultAllowedFileTypes(), 11u);
}

TEST(LCFileParserFactory, SaysWhyThereIsNoParser) {
  const TemporaryFolder folder;
  const auto text = [](const Bytes& bytes) {
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  };
  const auto url = [&](std::string_view name) { return vesk::URL::fileURLWithPath(folder.path(name)); };
  for (const char* name : {"q.aif", "q.AIFF", "q.caf", "q.wave"}) folder.addFile(name, text(aiffFile()));
  folder.addFile("q.mov", text(aiffFile()));
  folder.addFile("q", text(aiffFile()));
  folder.addFile("text.wav", "no audio at all");
  folder.addFile("empty.aif", "");
  folder.addFolder("folder.aif");

  for (const char* name : {"q.aif", "q.AIFF", "q.caf", "q.wave"}) EXPECT_EQ(reasonFor(url(name)), Reason::none) << name;
  EXPECT_EQ(reasonFor(url("q.wave"), kFileTypeAIFF | kFileTypeCAF), Reason::notAllowed);
  for (const char* name : {"q.mov", "q", "folder.aif"}) EXPECT_EQ(reasonFor(url(name)), Reason::unsupported) << name;
  for (const char* name : {"text.wav", "empty.aif"}) EXPECT_EQ(reasonFor(url(name)), Reason::malformed) << name;
  EXPECT_EQ(reasonFor(url("gone.aif")), Reason::notFound);
}

// --- Length and tempo ------------------------------------------------------------------------------------------------

TEST(LCFileParser, TakesATempoFromFiveTo999FromTheNameAndElseComputesIt) {
  struct Case {
    const char* name;
    Bytes file;
    float bpm;
  };
  const Case cases[] = {
      {"Groove 120 BPM.aif", loopOf(4, 4, 24000), 120.0f},  // 4 beats in 3 s would be 80
      {"Take 1000bpm.aif", loopOf(4, 4, 24000), 80.0f},
      {"Beat 0bpm.aif", loopOf(4, 4, 24000), 80.0f},
      {"Drip 4.5 bpm.aif", loopOf(4, 4, 24000), 80.0f},
      {"Low 5bpm.aif", loopOf(4, 4, 24000), 5.0f},
      {"High 999bpm.aif", loopOf(4, 4, 24000), 999.0f},
      {"x 1200bpm 96bpm.aif", loopOf(6, 4, 48000), 60.0f},  // a later match is not looked at
      {"q.aif", loopOf(8, 4, 32000), 120.0f},
      {"q.aif", loopOf(9, 8, 40000), 54.0f},
      {"q.aif", loopOf(3, 4, 2232), 645.1612548828125f},  // the length is narrowed first; else …613159
      {"q.aif", loopOf(4, 0, 24000), -1.0f},
      {"q.aif", loopOf(4, 4, 0), -1.0f},
      {"q.aif", loopOf(0, 4, 24000), -1.0f},
      {"q.aif", loopOf(-4, 4, 24000), -1.0f},
      {"q.aif", loopOf(4, 4, 24000, 0), -1.0f},       // no sample rate, no length
      {"Odd 1500bpm.aif", loopOf(4, 4, 0), 1500.0f},  // nothing to compute: the name's tempo, however odd
      {"Odd 2.5bpm.aif", loopOf(4, 0, 24000), 2.5f},
  };
  for (const auto& [name, file, bpm] : cases) EXPECT_EQ(recordOf(name, file).bpm, bpm) << name << " " << bpm;
}

TEST(LCFileParser, CountsValidFramesOfThePacketTableBeforePackets) {
  const auto plain = recordOf("q.caf", cafFile({}, 1, 4000, 8, 8000));
  EXPECT_EQ(plain.frameCount, 4000);
  EXPECT_EQ(plain.lengthInSeconds, 0.5f);

  const auto desc = cafDescChunk(8000, "ima4", 0, 34, 64, 1, 0);
  EXPECT_EQ(recordOf("q.caf", cafFileOf({desc, cafPaktChunk(10, 600, 30, 10), cafDataChunk(340)})).frameCount, 600);
  EXPECT_EQ(recordOf("q.caf", cafFileOf({desc, cafDataChunk(340)})).frameCount, 640);
}

// --- Keywords from the path ------------------------------------------------------------------------------------------

TEST(LCFileParser, TakesKeywordsFromThePathForUntaggedLoopsOnly) {
  const auto untagged = recordOf("Drums/q.aif", aiffFile());
  EXPECT_EQ(untagged.instrumentTypeTag, "Drums");
  EXPECT_FALSE(untagged.descriptors);

  // An empty tag is a tag.
  const auto emptyTags = recordOf("Drums/q.aif", aiffFile({chunk("cate", catePayload("", "", ""))}));
  EXPECT_EQ(emptyTags.instrumentTypeTag, "");
  EXPECT_TRUE(emptyTags.anySearchTags());
}

TEST(LCFileParser, WithoutPathKeywordsOnlyAuthoredLoopsStillGetThem) {
  const SwitchGuard guard;
  LCFileParser::setAllowsKeywordExtractionFromPath(false);
  EXPECT_EQ(recordOf("Drums/q.aif", aiffFile()).instrumentTypeTag, std::nullopt);
  const auto authored = aiffFile({chunk("adLD", archiveNamed("additional-icon-only.archive"))});
  EXPECT_EQ(recordOf("Drums/q.aif", authored).instrumentTypeTag, "Drums");
}

// --- Identity --------------------------------------------------------------------------------------------------------

TEST(LCFileParser, HashIsThatOfTheEstablishedText) {
  RecordParser parser("/elsewhere/Tom 1.wav");
  parser.record().descriptors = vesk::StringSet{"zap", "Drum Kit"};
  parser.record().instrumentTypeTag = "Drums";
  parser.record().instrumentSubTypeTag = "Tom";
  parser.record().vireoLoopType = kLoopTypeMIDI;
  parser.record().bpm = 101.7f;
  parser.record().frameCount = 48000;
  parser.calcHash();  // of "Drum Kit,Drums,Tom,zap Tom 1.wav 1 101.699997 48000"
  EXPECT_EQ(parser.record().hash, 1140675683598131937);

  // An empty descriptor is a keyword: "…,Choir q.aif 0 90.000000 10".
  const auto choir = aiffFile(
      {chunk("basc", bascPayload(3, 0, 0, 3, 8, 1)), chunk("cate", catePayload("Choir", "", "", {""}))}, 1, 10, 8, 10);
  EXPECT_EQ(recordOf("q.aif", choir).hash, -5516746406385753333);
  EXPECT_EQ(recordOf("some/where/else/q.aif", choir).hash, -5516746406385753333);
}

TEST(LCFileParser, HashTellsComposedFromDecomposedNames) {
  EXPECT_NE(recordOf("\u00E9.aif", aiffFile()).hash, recordOf("e\u0301.aif", aiffFile()).hash);
}

// --- Archived payloads -----------------------------------------------------------------------------------------------

TEST(LCFileParser, AdditionalLoopDataSetsEveryFieldItHasAndClearsTheOthers) {
  RecordParser parser("/q.aif");
  parser.extractAdditionalLoopDataFromData(archiveNamed("additional-all-keys.archive"));
  const LCFileData& record = parser.record();
  EXPECT_EQ(record.integratedLoudness, -14.25);
  EXPECT_EQ(record.globalMaxTruePeak, -0.5);
  EXPECT_EQ(record.targetIntegratedLoudness, -18.0);
  EXPECT_EQ(record.iconId->integerValue(), 7);
  EXPECT_TRUE(record.preferFileName->boolValue());
  EXPECT_EQ(record.patchInfo, 2);
  ASSERT_EQ(record.metaInfos.value_or(std::vector<LCMetaInfo>{}).size(), 2u);
  EXPECT_EQ(record.metaInfos->at(1), (LCMetaInfo{.stringValue = "Bass", .doubleValue = 0.25, .type = 1}));
  const vesk::Value moods = vesk::valueForKey(&*record.taggingDictionary, "mood");
  ASSERT_NE(moods.array(), nullptr);
  EXPECT_EQ(moods.array()->at(1), vesk::Value("dry"));

  const LCFileData before = record;
  for (const char* name : {"geninst-empty.archive", "additional-unknown-class.archive", "make-archives.py"}) {
    parser.extractAdditionalLoopDataFromData(archiveNamed(name));  // nothing in it, or nothing decodable
    EXPECT_EQ(record, before) << name;
  }

  parser.extractAdditionalLoopDataFromData(archiveNamed("additional-icon-only.archive"));
  LCFileData iconOnly;
  iconOnly.storedFileURL = record.storedFileURL;
  iconOnly.iconId = vesk::Number{int64_t{9}};
  EXPECT_EQ(record, iconOnly);
}

TEST(LCFileParser, AdditionalLoopDataOfOddContentSetsNothingOdd) {
  RecordParser wrongKinds("/q.aif");
  wrongKinds.extractAdditionalLoopDataFromData(archiveNamed("additional-wrong-kinds.archive"));
  EXPECT_EQ(wrongKinds.record(), RecordParser("/q.aif").record());

  // 120 KB that name one long meta info 20,000 times.
  RecordParser manyReferences("/q.aif");
  manyReferences.extractAdditionalLoopDataFromData(archiveNamed("additional-many-references.archive"));
  EXPECT_FALSE(manyReferences.record().metaInfos);
}

TEST(LCFileParser, GeneratedInstrumentsDecideTheLoopTypeAndTheContentIdentifier) {
  struct Case {
    const char* archive;
    LCVireoLoopType type;
    Text contentIdentifier;
  };
  constexpr LCVireoLoopType kBefore = kLoopTypeMIDI;
  const Case cases[] = {
      {"geninst-no-type.archive", kLoopTypeDrummer, "g|-|c"},
      {"geninst-drummer.archive", kLoopTypeDrummer, "rock|-|kyle"},
      {"geninst-percussion.archive", kLoopTypePercussionDrummer, "g|-|c"},
      {"geninst-electronic.archive", kLoopTypeDrummer, std::nullopt},  // no genre identifier
      {"geninst-bass-player.archive", kLoopTypeBassPlayer, "g|-|c"},
      {"geninst-unknown-type.archive", kBefore, "g|-|c"},
      {"geninst-empty.archive", kBefore, std::nullopt},
      {"geninst-with-meta-info.archive", kBefore, std::nullopt},         // meta infos are not admitted here
      {"additional-icon-only.archive", kLoopTypeDrummer, std::nullopt},  // no character, so no type
  };
  for (const auto& [archive, type, contentIdentifier] : cases) {
    RecordParser parser("/q.aif");
    parser.record().vireoLoopType = kBefore;
    parser.extractGenInstInfoFromData(archiveNamed(archive));
    EXPECT_EQ(parser.record().vireoLoopType, type) << archive;
    EXPECT_EQ(parser.record().contentIdentifier, contentIdentifier) << archive;
    EXPECT_FALSE(parser.record().genInstDictionary) << archive;  // kept by an enhanced parse only
  }
}

// --- Loop metadata files and REX -------------------------------------------------------------------------------------

TEST(LCMetaDataParser, AnswersTheArchivedRecordUntouched) {
  const auto record = recordOf("Bass 90bpm.loopdata", archiveNamed("record.loopdata"));
  EXPECT_EQ(record.hash, -42);
  EXPECT_EQ(record.bpm, 96.5f);
  EXPECT_EQ(record.beatCount, 8);
  EXPECT_EQ(record.instrumentTypeTag, "Drums");
  EXPECT_EQ(record.frameCount, 1);  // kept as a truth value

  for (const auto& contents : {bytesOf("no archive"), Bytes{}, archiveNamed("geninst-drummer.archive")}) {
    const LoopFile file("q.loopdata", contents);
    const auto parser = LCFileParser::fileParserForURL(file.url());
    ASSERT_NE(parser, nullptr);
    EXPECT_EQ(parser->fileData(), nullptr);
    EXPECT_EQ(parser->enhancedFileData(), nullptr);
  }
}

TEST(LCRexFileParser, AnswersWhatTheAdapterFilledInAsAPlainAudioLoop) {
  const SwitchGuard guard;
  const LoopFile file("Drums/q.rx2", bytesOf("CAT "));
  EXPECT_EQ(reasonFor(file.url()), Reason::notAllowed);
  const auto withoutAdapter = LCFileParser::fileParserForURL(file.url(), kFileTypeREX);
  ASSERT_NE(withoutAdapter, nullptr);
  EXPECT_EQ(withoutAdapter->fileData(), nullptr);

  LCFileData filled;
  filled.vireoLoopType = kLoopTypeStepSequencer;
  filled.bpm = 97.5f;
  filled.title = "t";
  LCRexFileParser::registerREXFileAdapterClass(adapterFor(filled));
  const LCFileData record = file.record();
  EXPECT_EQ(record.vireoLoopType, kLoopTypeAudio);
  EXPECT_EQ(record.bpm, 97.5f);
  EXPECT_EQ(record.title, "t");
  EXPECT_EQ(record.fileURL(), file.url());
  EXPECT_EQ(record.instrumentTypeTag, "Drums");  // from the path, there being no tags
  EXPECT_NE(record.hash, 0);

  LCRexFileParser::registerREXFileAdapterClass(adapterFor(std::nullopt));
  EXPECT_EQ(reasonFor(file.url()), Reason::unreadable);
}
