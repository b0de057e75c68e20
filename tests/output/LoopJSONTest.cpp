// Loops, records, files and archived values as JSON.
#include "LoopJSON.h"

#include "KnownLoop.h"
#include "platform/Path.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

namespace {

using fixture::chunk;

TEST(LoopJSON, TellsWhatIsKnownOfALoopAndLeavesOutWhatIsNot) {
  EXPECT_EQ(
      compactJSON(jsonOfLoop(kLoop)),
      R"({"id":"-9223372036854775808","path":"/l/Funk \u001b[31m�.aif","pathIsExact":false,)"
      R"("url":"file:///l/Funk%20%1B%5B31m%FF.aif","fileName":"Funk \u001b[31m�.aif","tempo":90,"beats":8,)"
      R"("signature":"3/4","key":"D","keyNote":50,"scale":"minor","seconds":4.1,"loopType":"midi","genre":"Jazz",)"
      R"("instrument":"Bass","subInstrument":"Electric Bass","descriptors":["Dark","Dry"],"crates":["x\ty"],)"
      R"("favorite":true,"rating":4,"comment":"a\nb",)"
      R"("loudness":{"integrated":-14.5,"truePeak":-0.5,"target":-18.0,"gain":-3.5}})");
  EXPECT_EQ(compactJSON(jsonOfLoop({.place = {.urlText = "no url"}, .loudness = {.targetIntegratedLoudness = -18}})),
            R"({"id":"0","path":"no url","url":"no url","fileName":"","loopType":"audio","descriptors":[],"crates":[],)"
            R"("loudness":{"target":-18.0}})");
}

TEST(LoopJSON, ARecordHasEveryFieldUnderItsOwnName) {
  const auto archive = [](std::string_view name) {
    return fixture::bytesOf(vesk::path::readFile(std::string(TEST_DATA_DIR "/") + std::string(name)).value_or(""));
  };
  const TemporaryFolder folder;
  const std::string path = folder.path("q1.aif");
  // 2 beats of 3/4 in 1 s; the collection chunk, the patch of the additional data and the step sequencer win.
  const auto bytes = fixture::aiffFile(
      {chunk("basc", fixture::bascPayload(2, 57, 1, 3, 4, 1)),
       chunk("cate", fixture::catePayload("Drums", "Tom", "Funk", {"Dry", "Single"})),
       chunk("coll", fixture::collPayload("The collection", "The theme")),
       chunk("genI", archive("geninst-bass-player.archive")), chunk("Sequ", "event"),
       chunk("adLD", archive("additional-all-keys.archive")), chunk("StSq", "steps"), chunk("PTCH", "patch"),
       chunk(".mid", "MThd"), chunk("AUTH", "The author"), chunk("(c) ", "The copyright"), chunk("NAME", "The title"),
       chunk("COMT", fixture::comtPayload({" The comment "}))},
      1, 44100);
  fixture::writeFile(path, bytes);
  const auto url = vesk::URL::fileURLWithPath(path);
  const auto parser = LCFileParser::fileParserForURL(url);
  ASSERT_TRUE(parser && parser->enhancedFileData());
  const LCFileData& record = *parser->enhancedFileData();
  auto expected = nlohmann::json::parse(
      R"({"authorTag":"The author", "beatCount":2, "bpm":120.0, "collectionTag":"The collection",
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
        "targetIntegratedLoudness":-18.0, "themeTag":"The theme", "title":"The title", "vireoLoopType":6})");
  expected["hash"] = std::to_string(record.hash);
  expected["fileURL"] = url.absoluteString();
  EXPECT_EQ(nlohmann::json(jsonOfRecord(record)), expected);
}

TEST(LoopJSON, ListsTheChunksOfAFileAsTheyStandThere) {
  const TemporaryFolder folder;
  const std::string path = folder.path("q.aif");
  fixture::writeFile(path, fixture::aiffFile({chunk("NAME", "abc"), {.id = "(c) ", .declaredSize = 9}}));
  const JSON listed = jsonOfChunks(*vesk::AudioFile::open(path));
  EXPECT_TRUE(listed["kind"] == "AIFF" && listed["fileSize"] == 4074 && listed["irregularities"].size() == 1);
  EXPECT_EQ(listed["chunks"], JSON::parse(R"([{"id":"COMM","offset":12,"size":18},{"id":"SSND","offset":38,"size":4008},
      {"id":"NAME","offset":4054,"size":3},{"id":"(c) ","offset":4066,"size":0,"declaredSize":9}])"));
}

TEST(JSON, ArchivedValuesOfEveryKindStandAsWhatTheyAre) {
  using vesk::Value;
  const vesk::Dictionary dictionary = {{"array", vesk::Array{true, 7, 0.5, Value()}},
                                       {"bytes", vesk::Bytes{std::byte{0xFB}, std::byte{0xFF}}},
                                       {"date", vesk::Date{1.5}},
                                       {"set", Value::Set{std::make_shared<const vesk::Array>(vesk::Array{"a"})}},
                                       {"text", "\xFF"},
                                       {"url", Value::URLText{"file:///x"}}};
  EXPECT_EQ(compactJSON(jsonOfDictionary(dictionary)),
            R"({"array":[true,7,0.5,null],"bytes":"+/8=","date":{"secondsSince2001":1.5},"set":["a"],"text":"�",)"
            R"("url":"file:///x"})");
}

TEST(JSON, ValuesThatShareTheirPartsEndWithTheBudget) {
  vesk::Value doubled("x"), deep("x");
  for (int level = 0; level < 40; ++level) doubled = vesk::Array{doubled, doubled};  // 2^40 texts when written out
  for (int level = 0; level < 1000; ++level) deep = vesk::Array{deep};
  for (const auto& value : {doubled, deep}) {
    const std::string text = compactJSON(jsonOfDictionary({{"v", value}}, {.bytes = 10000, .depth = 50}));
    EXPECT_TRUE(text.size() < 20000 && text.find("(too much to show)") != std::string::npos);
  }
}

TEST(JSON, NumbersStandInFewDigits) {
  EXPECT_EQ(compactJSON({shortDecimal(101.7f), shortDecimal(4.0f), shortDecimal(-1e-5f)}), "[101.7,4.0,-1e-05]");
}

}  // namespace
