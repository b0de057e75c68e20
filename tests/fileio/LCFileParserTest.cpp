#include "VeskLoopManagement/fileio/LCFileParser.h"

#include "fileio/LCSDIIParser.h"
#include "VeskLoopManagement/fileio/LCRexFileParser.h"
#include "VeskLoopManagement/fileio/MurmurHash.h"
#include "VeskLoopManagement/platform/audiofile/MemoryBytes.h"

#include "ParserFixture.h"

#include <tuple>

using namespace fixture;

namespace {

// Puts the class-wide switches back to their defaults.
struct SwitchGuard {
  ~SwitchGuard() {
    LCFileParser::setAllowsKeywordExtractionFromPath(true);
    LCRexFileParser::registerREXFileAdapterClass({});
  }
};

// Reaches into a parser that has no file.
class RecordParser : public LCFileParser {
 public:
  explicit RecordParser(std::string_view path) : LCFileParser(vesk::URL::fileURLWithPath(path, false), true) {}
  LCFileData& record() { return *m_fileData; }
  using LCFileParser::calcHash;
  using LCFileParser::extractAdditionalLoopDataFromData;
};

// Fills in some record, of no loop that a REX file can be.
struct Adapter : LCREXFileAdapter {
  std::optional<LCFileData> fileDataForURL(const vesk::URL&) override {
    return LCFileData{.bpm = 97.5f, .vireoLoopType = kLoopTypeStepSequencer};
  }
};

// 8-bit mono at 8000 Hz, so that frames are bytes and 8000 of them a second.
Bytes loopOf(int32_t beats, int16_t bottom, uint32_t frames, double rate = 8000) {
  return aiffFile({chunk("basc", bascPayload(beats, 0, 0, 4, bottom, 1))}, 1, frames, 8, rate);
}

// The verification value of the hash family's public test suite: the keys {}, {0}, {0, 1}, … hashed with the seeds 256,
// 255, …, then the hash of all those hashes with the seed 0, of which the low half counts.
uint32_t verificationValue(uint64_t (*hash)(const void*, uint32_t, uint64_t)) {
  std::string key;
  Builder hashes;
  for (uint32_t i = 0; i < 256; ++i) {
    hashes.u64le(hash(key.data(), i, 256 - i));
    key += static_cast<char>(i);
  }
  return static_cast<uint32_t>(hash(hashes.bytes.data(), 256 * 8, 0));
}

}  // namespace

TEST(LCFileParser, TakesATempoFromFiveTo999FromTheNameAndElseComputesIt) {
  const Bytes in3s = loopOf(4, 4, 24000);  // 4 beats, by themselves 80 a minute
  const std::tuple<const char*, Bytes, float> cases[] = {
      {"Groove 120 BPM.aif", in3s, 120.0f},
      {"Take 1000bpm.aif", in3s, 80.0f},
      {"Drip 4.5 bpm.aif", in3s, 80.0f},
      {"Low 5bpm.aif", in3s, 5.0f},
      {"High 999bpm.aif", in3s, 999.0f},
      {"q.aif", loopOf(9, 8, 40000), 54.0f},
      {"q.aif", loopOf(3, 4, 2232), 645.1612548828125f},  // the length is narrowed first; else …613159
      {"q.aif", loopOf(-4, 4, 24000), -1.0f},
      {"Odd 1500bpm.aif", loopOf(4, 4, 24000, 0), -1.0f},  // no sample rate: endless
      {"Odd 1500bpm.aif", loopOf(4, 4, 0), 1500.0f},       // nothing to compute: the name's tempo, however odd
      {"Odd 2.5bpm.aif", loopOf(4, 0, 24000), 2.5f},
  };
  for (const auto& [name, file, bpm] : cases) EXPECT_EQ(recordOf(name, file).bpm, bpm) << name << " " << bpm;
}

TEST(LCFileParser, CutsTextsAndLeavesOutArchivesThatAreLongerThanAnybodyWrites) {
  const std::string kept(65535, 'x'), text = kept + "\u00FC";
  const Bytes large = uuidPayload(kAdditionalDataID, Bytes(16 << 20));
  const std::tuple<const char*, Bytes, size_t> cases[] = {
      {"q.aif", aiffFile({chunk("NAME", text), chunk("genI", large)}), 2},
      {"q.aif", aiffFile({chunk("NAME", kept), chunk("genI", "no archive")}), 0},
      {"q.wav", wavFile({chunk("LIST", infoListPayload({{"INAM", text}})), chunk("adLD", large)}), 2},
      {"q.caf", cafFile({cafInfoChunk({{"title", text}}), chunk("uuid", large)}), 2},
  };
  for (const auto& [path, bytes, noteCount] : cases) {
    const auto parser = LCFileParser::fileParserForURL(ParsedFile(path, bytes).url());
    EXPECT_TRUE(parser->fileData()->title == kept && parser->fileData()->hasAuthoredChunks) << path;
    EXPECT_EQ(parser->notes().size(), noteCount) << path;
  }
}

TEST(LCFileParser, CountsValidFramesOfThePacketTableBeforePackets) {
  const auto desc = cafDescChunk(8000, "ima4", 0, 34, 64, 1, 0);
  EXPECT_EQ(recordOf("q.caf", cafFileOf({desc, cafPaktChunk(10, 600, 30, 10), cafDataChunk(340)})).frameCount, 600);
  EXPECT_EQ(recordOf("q.caf", cafFileOf({desc, cafDataChunk(340)})).frameCount, 640);
}

TEST(LCFileParser, TakesKeywordsFromThePathOfUntaggedLoops) {
  const SwitchGuard guard;
  const Bytes untagged = aiffFile(), emptyTags = aiffFile({chunk("cate", catePayload("", "", ""))});
  const Bytes authored = aiffFile({chunk("adLD", archiveNamed("additional-icon-only.archive"))});
  EXPECT_EQ(tagsOf(recordOf("Drums/q.aif", untagged)), "Drums|-|-|-|-|-|");
  EXPECT_EQ(tagsOf(recordOf("Drums/q.aif", emptyTags)), "||||-|-|") << "an empty tag is a tag";
  EXPECT_EQ(LCFileParser::defaultAllowedFileTypes(), 15u);
  LCFileParser::setAllowsKeywordExtractionFromPath(false);
  EXPECT_EQ(LCFileParser::defaultAllowedFileTypes(), 11u) << "WAV hangs on the path's keywords";
  EXPECT_EQ(tagsOf(recordOf("Drums/q.aif", untagged)), "-|-|-|-|-|-|");
  EXPECT_EQ(tagsOf(recordOf("Drums/q.aif", authored)), "Drums|-|-|-|-|-|") << "authored loops still get them";
}

TEST(MurmurHash, HasThePublishedVerificationValues) {
  EXPECT_EQ(verificationValue(lc::MurmurHash64A), 0x1F0D3804u);
  EXPECT_EQ(verificationValue(lc::MurmurHash64B), 0xDD537C05u);
}

TEST(LCFileParser, HashIsThatOfTheEstablishedText) {
  RecordParser parser("/elsewhere/Tom 1.wav");
  LCFileData& record = parser.record();
  record.descriptors = vesk::StringSet{"zap", "Drum Kit"};
  record.instrumentTypeTag = "Drums";
  record.instrumentSubTypeTag = "Tom";
  record.vireoLoopType = kLoopTypeMIDI;
  record.bpm = 101.7f;
  record.frameCount = 48000;
  parser.calcHash();  // of "Drum Kit,Drums,Tom,zap Tom 1.wav 1 101.699997 48000"
  EXPECT_EQ(record.hash, 1140675683598131937);

  // An empty descriptor is a keyword: ",Choir q.aif 0 90.000000 10".
  const auto choir = aiffFile(
      {chunk("basc", bascPayload(3, 0, 0, 3, 8, 1)), chunk("cate", catePayload("Choir", "", "", {""}))}, 1, 10, 8, 10);
  EXPECT_EQ(recordOf("q.aif", choir).hash, -5516746406385753333);
  EXPECT_EQ(recordOf("some/where/else/q.aif", choir).hash, -5516746406385753333);
  EXPECT_NE(recordOf("\u00E9.aif", choir).hash, recordOf("e\u0301.aif", choir).hash) << "names are not composed";
}

TEST(LCFileParser, AdditionalLoopDataSetsEveryFieldItHasAndClearsTheOthers) {
  RecordParser parser("/q.aif");
  const LCFileData untouched = parser.record();
  LCFileData all = untouched, icon = untouched;
  all.integratedLoudness = -14.25;
  all.globalMaxTruePeak = -0.5;
  all.targetIntegratedLoudness = -18.0;
  all.iconId = vesk::Number{int64_t{7}};
  all.preferFileName = vesk::Number{true};
  all.patchInfo = 2;
  all.metaInfos = {{"Drums", 0.5, 0, 1}, {"Bass", 0.25, 0, 1}};
  all.taggingDictionary = {{"mood", vesk::Array{"dark", "dry"}}};
  icon.iconId = vesk::Number{int64_t{9}};
  const std::pair<const char*, LCFileData> steps[] = {
      {"additional-wrong-kinds.archive", untouched},
      {"additional-all-keys.archive", all},
      {"geninst-empty.archive", all},  // nothing in it
      {"additional-unknown-class.archive", all},
      {"make-archives.py", all},
      {"additional-icon-only.archive", icon},
  };
  for (const auto& [archive, record] : steps) {
    parser.extractAdditionalLoopDataFromData(archiveNamed(archive));
    EXPECT_EQ(parser.record(), record) << archive;
  }
}

TEST(LCFileParser, AFileThatDoesNotOpenHasNoParserButAReason) {
  const ParsedFile file("q.caf", bytesOf("caff"));
  LCParserFailure failure;
  EXPECT_EQ(LCFileParser::fileParserForURL(file.url(), kFileTypeCAF, &failure), nullptr);
  EXPECT_EQ(failure.reason, LCParserFailure::Reason::malformed);
  EXPECT_EQ(failure.detail, "it ends inside its header");
  EXPECT_EQ(LCSDIIParser::initWithURL(vesk::URL::fileURLWithPath("/no/such.sd2", false), true, &failure), nullptr);
  EXPECT_EQ(failure.reason, LCParserFailure::Reason::notFound);
}

TEST(LCSDIIParser, ReadsAFileInMemoryAsAPlainLoopInFourFour) {
  const auto inMemory = [](const Bytes& bytes) { return std::make_unique<vesk::MemoryBytes>(bytes); };
  const Bytes fork = soundDesignerFork('2', "44100.0000", '2');
  auto file = vesk::AudioFile::open(inMemory(Bytes(400)), nullptr, nullptr, inMemory(fork));
  const LCFileData record =
      *LCSDIIParser(vesk::URL::fileURLWithPath("/q.sd2", false), std::move(*file), true).fileData();
  EXPECT_EQ(numbersOf(record), "0 0 0 4/4 0");
  EXPECT_EQ(record.frameCount, 100);
}

TEST(LCWAVParser, AcidChunkOfExactly24BytesDescribesTheLoopButDoesNotMakeItAuthored) {
  const auto parsed = [](const Chunk& tagging) {
    return recordOf("q.wav", wavFile({tagging}, 1, 24000, 8, 8000));
  };  // 3 s
  const auto record = parsed(chunk("acid", bytesFromHex("020000003e000080000000000c000200030004000000b442")));
  EXPECT_EQ(numbersOf(record), "12 62 3 3/4 1");  // the upper half of the beats, 2, is ignored
  EXPECT_EQ(record.bpm, 240.0f);                  // computed; the chunk says 90
  EXPECT_EQ(flagsOf(record), "typed");
  EXPECT_EQ(numbersOf(parsed(chunk("acid", acidPayload(1, 62, 65537, 4, 4, 90)))), "1 0 3 4/4 2")
      << "a one-shot, and no valid root by the flags";
  for (const size_t size : {0u, 23u, 25u, 26u}) {
    Bytes payload = acidPayload(3, 62, 12, 3, 8, 90);
    payload.resize(size);
    const auto other = parsed(chunk("acid", payload));
    EXPECT_EQ(numbersOf(other).substr(0, 9), "0 0 0 4/4") << size;
    EXPECT_EQ(flagsOf(other), "") << size;
  }
  EXPECT_EQ(flagsOf(parsed(chunk("adLD", archiveNamed("additional-all-keys.archive")))), "authored ");
}

TEST(LCMetaDataParser, AnswersTheArchivedRecordUntouched) {
  const auto record = recordOf("Bass 90bpm.loopdata", archiveNamed("record.loopdata"));
  EXPECT_EQ(record.bpm, 96.5f);
  EXPECT_EQ(tagsOf(record), "Drums|-|-|-|-|-|");
  EXPECT_EQ(record.hash, -42);
  const ParsedFile other("q.loopdata", archiveNamed("geninst-drummer.archive"));
  EXPECT_EQ(LCFileParser::fileParserForURL(other.url())->fileData(), nullptr);
}

TEST(LCRexFileParser, AnswersWhatTheAdapterFilledInAsAPlainAudioLoop) {
  const SwitchGuard guard;
  const ParsedFile file("Drums/q.rx2", bytesOf("CAT "));
  EXPECT_EQ(LCFileParser::fileParserForURL(file.url()), nullptr) << "no adapter";
  LCRexFileParser::registerREXFileAdapterClass([] { return std::make_unique<Adapter>(); });
  const LCFileData record = file.record();
  EXPECT_EQ(record.vireoLoopType, kLoopTypeAudio);
  EXPECT_EQ(record.bpm, 97.5f);
  EXPECT_EQ(record.instrumentTypeTag, "Drums");  // from the path, there being no tags
  EXPECT_NE(record.hash, 0);
}
