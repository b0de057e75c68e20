// What people's JSON asks for, as a line for each change, and what is told of files.
#include "TagJSON.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

namespace {

// "/a.aif genre=Jazz title!" for a value and a cleared field; the problem in brackets.
std::string changesIn(std::string_view json) {
  const TagsFromJSON tags = tagsFromJSON(json);
  if (!tags.problem.empty()) return "[" + tags.problem + "]";
  std::string text;
  for (const LCTagEdit& edit : tags.edits) {
    text += (text.empty() ? "" : "; ") + edit.path;
    for (const LCTagChange& change : edit.changes) {
      const bool isSet = change.kind == LCTagChange::Kind::set;
      text += fmt::format(" {}{}{}", lc::tagFieldName(change.field), isSet ? "=" : "!", change.text);
    }
  }
  return text;
}

TEST(TagJSON, ReadsWhatTheProgramPrintsAndPlainObjects) {
  const std::pair<const char*, const char*> cases[] = {
      {R"({"genre":"Jazz","beats":8,"title":null,"descriptors":["Dry","Dark"],"preferFileName":1})",
       " genre=Jazz beats=8 title! descriptors=Dry,Dark preferFileName=true"},
      {R"({"comment":"the file's own","iconId":0,"key":0})", " comment=the file's own iconId=0 key!"},
      {R"({"files":[{"path":"/a.aif","record":{"genreTag":"Funk","midiRootNote":57,"fileType":0,"signatureTop":6,)"
       R"("signatureBottom":8,"hash":"7","bpm":120}},{"url":"file:///b%20b.caf","path":"/?","record":{}}]})",
       "/a.aif genre=Funk key=57 fileType! signature=6/8; /b b.caf"},
      {R"({"loops":[{"path":"/a.aif","key":"A","keyNote":57,"tempo":120,"comment":"a mark","favorite":true,)"
       R"("descriptors":[]}]})",
       "/a.aif key=A descriptors!"},
      {R"([{"path":"/a.aif","signature":"4/4"}])", "/a.aif signature=4/4"},
      {"{", "[it is not JSON]"},
      {"7", "[it is neither a list of files nor an object of tags]"},
      {R"({"tempo":120})", "[\"tempo\" is not the name of a tag]"},
      {R"([{"genre":"Jazz"}])", "[an entry names no file by its \"path\" or \"url\"]"},
  };
  for (const auto& [json, changes] : cases) EXPECT_EQ(changesIn(json), changes) << json;
}

TEST(TagJSON, TellsWhatBecameOfAFile) {
  LCTagReport report{.path = "/a.aif", .isChanged = true, .oldId = 1, .newId = -2};
  report.fields = {{"genre", {.from = std::nullopt, .to = "Jazz"}}};
  EXPECT_EQ(compactJSON(jsonOfTagReport(report)),
            R"({"path":"/a.aif","url":"file:///a.aif","changed":true,"oldId":"1","newId":"-2",)"
            R"("fields":{"genre":{"from":null,"to":"Jazz"}},"backup":null})");
  const LCTagReport failed{
      .path = "/a.aif", .problem = LCTagProblem::unknownKeyword, .detail = "no", .nearNames = {"Jazz"}};
  EXPECT_EQ(jsonOfTagReport(failed)["failure"].dump(),
            R"({"reason":"unknownKeyword","detail":"no","suggestions":["Jazz"]})");
  EXPECT_EQ(tagFieldChangeText("genre", report.fields["genre"]), "genre: – → Jazz");
}

}  // namespace
