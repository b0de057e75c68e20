// Every tagging chunk of the three containers, byte by byte, through the program: the record that it prints is the one
// that the library reads.
#include "Program.h"

#include "platform/Path.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <gtest/gtest.h>

namespace {

using fixture::chunk;

fixture::Bytes archive(std::string_view name) {
  return fixture::bytesOf(vesk::path::readFile(std::string(TEST_DATA_DIR "/") + std::string(name)).value_or(""));
}

fixture::Chunk uuid(std::string_view identifier, const fixture::Bytes& payload = {}) {
  return chunk("uuid", fixture::uuidPayload(identifier, payload));
}

fixture::Bytes fullAIFF() {
  return fixture::aiffFile(
      {chunk("basc", fixture::bascPayload(2, 57, 1, 3, 4, 1)),
       chunk("cate", fixture::catePayload("Drums", "Tom", "Funk", {"Dry", "Single"})),
       chunk("coll", fixture::collPayload("The collection", "The theme")),
       chunk("genI", archive("geninst-bass-player.archive")), chunk("Sequ", "event"),
       chunk("adLD", archive("additional-all-keys.archive")), chunk("StSq", "steps"), chunk("PTCH", "patch"),
       chunk(".mid", "MThd"), chunk("AUTH", "The author"), chunk("(c) ", "The copyright"), chunk("NAME", "The title"),
       chunk("COMT", fixture::comtPayload({" The comment "}))},
      1, 44100);
}

fixture::Bytes fullWAV() {
  return fixture::wavFile(
      {chunk("acid", fixture::acidPayload(2, 62, 2, 3, 4, 77)), chunk("adLD", archive("additional-icon-only.archive")),
       chunk("LIST", fixture::infoListPayload({{"INAM", "The title"}, {"ICMT", "The comment"}}))},
      1, 44100);
}

fixture::Bytes fullCAF() {
  return fixture::cafFile(
      {chunk("uuid", fixture::searchInfoPayload({{"category", "Drums"},
                                                 {"subcategory", "Tom"},
                                                 {"genre", "Funk"},
                                                 {"descriptors", "Dry,Single"},
                                                 {"key signature", "F#"},
                                                 {"key type", "major"},
                                                 {"beat count", "2"},
                                                 {"time signature", "6/8"}})),
       uuid(fixture::kWebLoopID), uuid(fixture::kAdditionalDataID, archive("additional-icon-only.archive")),
       uuid(fixture::kPatchMarkerID), uuid(fixture::kEventSequenceID, fixture::bytesOf("event")),
       uuid(fixture::kStepSequencerID, fixture::bytesOf("steps")),
       uuid(fixture::kGeneratedInstrumentID, archive("geninst-percussion.archive")), chunk("midi", "MThd"),
       fixture::cafInfoChunk({{"title", "The title"}, {"artist", "The author"}})},
      1, 44100);
}

struct Row {
  const char* file;
  fixture::Bytes bytes;
  const char* expected;  // the enhanced record without what depends on the folder
};

TEST(InfoRecord, HoldsWhatEveryChunkSaysAndIsTheLibrarys) {
  const Program program;
  const Row rows[] = {
      // 2 beats of 3/4 in 1 s; the collection chunk, the patch of the additional data and the step sequencer win.
      {"q1.aif", fullAIFF(), R"({"authorTag":"The author", "beatCount":2, "bpm":120.0, "collectionTag":"The collection",
        "commentTag":"The comment", "contentIdentifier":"g|-|c", "copyrightTag":"The copyright",
        "descriptors":["Dry", "Single"], "enhancedFileDataAvailable":true, "eventSequenceData":"ZXZlbnQ=",
        "fileType":1, "frameCount":44100, "genInstDictionary":{"kGenInst_Chunk_CharacterDict":{"Identifier":"c",
        "Type":"Type_BassPlayer"}, "kGenInst_Chunk_GenreDict":{"Identifier":"g"}}, "genreTag":"Funk",
        "globalMaxTruePeak":-0.5, "hasAuthoredChunks":true, "hasLoopTypeChunks":true, "iconId":7,
        "instrumentSubTypeTag":"Tom", "instrumentTypeTag":"Drums", "integratedLoudness":-14.25,
        "isFactoryBundleLoop":false, "isWebLoop":false, "keyType":1, "lengthInSeconds":1.0,
        "metaInfos":[{"doubleValue":0.5, "integerValue":0, "stringValue":"Drums", "type":1},{"doubleValue":0.25,
        "integerValue":0, "stringValue":"Bass", "type":1}], "midiData":"TVRoZA==", "midiRootNote":57,
        "patchInfo":2, "preferFileName":true, "signatureBottom":4, "signatureTop":3,
        "stepSequencerData":"c3RlcHM=", "taggingDictionary":{"mood":["dark", "dry"]},
        "targetIntegratedLoudness":-18.0, "themeTag":"The theme", "title":"The title", "vireoLoopType":6})"},
      {"Tom q2.wav", fullWAV(),
       R"({"beatCount":2, "bpm":120.0, "commentTag":"The comment", "enhancedFileDataAvailable":true, "fileType":1,
        "frameCount":44100, "hasAuthoredChunks":true, "hasLoopTypeChunks":true, "iconId":9,
        "instrumentSubTypeTag":"Tom", "instrumentTypeTag":"Drums", "isFactoryBundleLoop":false,
        "isWebLoop":false, "keyType":3, "lengthInSeconds":1.0, "midiRootNote":62, "patchInfo":0,
        "signatureBottom":4, "signatureTop":3, "title":"The title", "vireoLoopType":0})"},
      {"q3.caf", fullCAF(),
       R"({"authorTag":"The author", "beatCount":2, "bpm":60.0, "contentIdentifier":"g|-|c", "descriptors":["Dry",
        "Single"], "enhancedFileDataAvailable":true, "eventSequenceData":"ZXZlbnQ=", "fileType":1,
        "frameCount":44100, "genInstDictionary":{"kGenInst_Chunk_CharacterDict":{"Identifier":"c",
        "Subtype":"Percussion", "Type":"Type_EDrummer"}, "kGenInst_Chunk_GenreDict":{"Identifier":"g"}},
        "genreTag":"Funk", "hasAuthoredChunks":true, "hasLoopTypeChunks":true, "iconId":9,
        "instrumentSubTypeTag":"Tom", "instrumentTypeTag":"Drums", "isFactoryBundleLoop":false, "isWebLoop":true,
        "keyType":2, "lengthInSeconds":1.0, "midiData":"TVRoZA==", "midiRootNote":54, "patchInfo":1,
        "signatureBottom":8, "signatureTop":6, "stepSequencerData":"c3RlcHM=", "title":"The title",
        "vireoLoopType":4})"},
  };
  for (const auto& [file, bytes, expected] : rows) {
    const std::string path = program.add(file, bytes);
    JSON record = program.run({"--json", "info", "--enhanced", file}).json()["files"][0]["record"];
    const auto parser = LCFileParser::fileParserForURL(vesk::URL::fileURLWithPath(path));
    ASSERT_TRUE(parser) << file;
    const LCFileData* own = parser->enhancedFileData();
    ASSERT_TRUE(own) << file;
    EXPECT_EQ(record["hash"], std::to_string(own->hash)) << file;
    EXPECT_EQ(record["fileURL"], own->fileURL()->absoluteString()) << file;
    for (const char* placed : {"hash", "fileURL"}) record.erase(placed);
    EXPECT_EQ(record, JSON::parse(expected)) << file << "\n" << record;
  }
}

}  // namespace
