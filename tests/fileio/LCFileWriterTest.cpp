// Records written into files on the disk, read back, and held against the layouts byte by byte.
#include "fileio/LCCAFWriter.h"
#include "ParserFixture.h"
#include "VeskLoopManagement/fileio/LCFileWriter.h"

using namespace fixture;

namespace {

Bytes bytesAt(const vesk::URL& url) {
  return bytesOf(*vesk::path::readFile(url.path()));
}

// The file after `record` was written into it.
Bytes written(std::string_view name, const Bytes& before, const LCFileData& record) {
  const ParsedFile file(name, before);
  const auto writer = LCFileWriter::fileWriterForURL(file.url());
  EXPECT_TRUE(writer && writer->writeFileData(record)) << name;
  return bytesAt(file.url());
}

LCFileData fullRecord() {
  LCFileData record = recordOf("q.aif",
                               aiffFile({chunk("adLD", archiveNamed("additional-all-keys.archive")),
                                         chunk("genI", archiveNamed("geninst-drummer.archive"))}),
                               Parse::enhanced);
  record.title = "Title";
  record.authorTag = "Author";
  record.copyrightTag = "2026";
  record.commentTag = "odd";
  record.instrumentTypeTag = "Drums";
  record.instrumentSubTypeTag = "Snare";
  record.genreTag = "Jazz";
  record.descriptors = {"Dark", "Dry"};
  record.collectionTag = "Col";
  record.themeTag = "The";
  record.beatCount = 8;
  record.midiRootNote = 49;
  record.keyType = 1;
  record.fileType = 1;
  record.signatureTop = record.signatureBottom = 4;
  record.eventSequenceData = bytesOf("events");
  record.stepSequencerData = bytesOf("steps");
  record.midiData = bytesOf("MThd");
  return record;
}

// What a container cannot say is as its parser leaves it.
LCFileData carriedBy(std::string_view name, const LCFileData& record, const LCFileData& parsed) {
  LCFileData carried = record;
  carried.storedFileURL = parsed.storedFileURL;
  carried.bpm = parsed.bpm;
  carried.hash = parsed.hash;
  carried.vireoLoopType = kLoopTypeStepSequencer;
  carried.hasAuthoredChunks = carried.hasLoopTypeChunks = true;
  if (name == "q.caf") carried.collectionTag = carried.themeTag = std::nullopt;
  return carried;
}

TEST(LCFileWriter, ARecordComesBackAsItWasAndASecondWriteChangesNothing) {
  const LCFileData record = fullRecord();
  const Bytes acid = acidPayload(1, 62, 4, 4, 4, 90);
  for (const auto& [name, before] : {std::pair("q.aif", aiffFile({chunk("NAME", "old")})),
                                     std::pair("q.caf", cafFile({cafInfoChunk({{"title", "old"}, {"x", "y"}})}))}) {
    const Bytes once = written(name, before, record);
    const LCFileData parsed = recordOf(name, once, Parse::enhanced);
    EXPECT_EQ(parsed, carriedBy(name, record, parsed)) << name;
    EXPECT_EQ(written(name, once, record), once) << name;
  }
  const Bytes before = wavFile({chunk("acid", acid)}), wav = written("q.wav", before, record);
  EXPECT_EQ(recordOf("q.wav", wav).taggingDictionary, record.taggingDictionary);
  EXPECT_TRUE(std::equal(before.begin() + 8, before.end(), wav.begin() + 8)) << "all else stands as before";
  EXPECT_EQ(written("q.wav", wav, record), wav);
}

TEST(LCFileWriter, AIFFChunksAreThoseOfTheFormat) {
  LCFileData record;
  record.vireoLoopType = kLoopTypeAudio;
  record.commentTag = "  ab ";
  record.genreTag = std::string(48, 'x') + "\u00FC";  // cut between characters
  Bytes comment = bytesFromHex("0001 00000000 0000 0003 206162 00");
  Bytes category = catePayload("", "", std::string(48, 'x'));
  category.resize(272);
  EXPECT_EQ(written("q.aif", aiffFile({chunk("NAME", "old")}), record),
            aiffFile({chunk("COMT", comment), chunk("basc", bascPayload(0, 0, 0, 0, 0, 0)), chunk("cate", category)}));

  LCFileData untyped;
  untyped.vireoLoopType = kLoopTypeNone;
  untyped.title = "T";
  const Bytes tagged = aiffFile({chunk("coll", collPayload("C", "")), chunk("COMT", comment)});
  EXPECT_EQ(written("q.aif", tagged, untyped), aiffFile({chunk("coll", collPayload("C", "")), chunk("NAME", "T")}))
      << "no tagging chunk goes";
  record.commentTag = std::string(65536, 'x');  // in 16 bits, none
  EXPECT_EQ(recordOf("q.aif", written("q.aif", tagged, record)).commentTag, std::nullopt);
}

TEST(LCCAFWriter, EachPayloadStandsOnceAtTheEndOfItsKind) {
  const auto other = chunk("uuid", uuidPayload(kMarkerAID));
  const auto info = [](const Pairs& entries) { return chunk("uuid", searchInfoPayload(entries)); };
  const auto icon = chunk("uuid", uuidPayload(kAdditionalDataID, archiveNamed("additional-icon-only.archive")));
  const Bytes before = cafFile({info({{"a", "1"}}), other, info({{"genre", "Old"}}), icon, other});
  const auto record = [](int64_t note, int64_t type, int64_t file) {
    LCFileData data;
    data.midiRootNote = note;
    data.keyType = type;
    data.fileType = file;
    data.signatureTop = data.signatureBottom = 4;
    return data;
  };
  const std::pair<LCFileData, Pairs> cases[] = {
      {record(0, 1, 2), {}},
      {record(60, 0, 2), {}},
      {record(49, 0, 2), {{"key signature", "Db"}, {"key type", "any"}}},
      {record(58, 4, 1), {{"key signature", "A#"}, {"key type", "both"}, {"time signature", "4/4"}}},
  };
  for (const auto& [data, entries] : cases) {
    std::vector<Chunk> left = {other, other};
    if (!entries.empty()) left.push_back(info(entries));
    EXPECT_EQ(written("q.caf", before, data), cafFile(left)) << data.midiRootNote;
  }
  LCFileData none = record(0, 0, 0);
  none.descriptors.emplace();
  EXPECT_EQ(*recordOf("q.caf", written("q.caf", before, none)).descriptors, vesk::StringSet{""}) << "an empty value";
}

TEST(LCFileWriter, IsThereForFilesOfThreeContainersThatCanBeRewritten) {
  std::string reason;
  EXPECT_EQ(LCFileWriter::fileWriterForURL(ParsedFile("q.rex", aiffFile()).url()), nullptr);
  EXPECT_EQ(LCFileWriter::fileWriterForURL(ParsedFile("q.aif", bytesOf("no audio")).url(), &reason), nullptr);
  EXPECT_NE(reason, "");
}

}  // namespace
