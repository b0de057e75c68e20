// Every call by which a tag run writes is made to fail, and to be its last: the file then has its old bytes or the new
// ones, nothing stays beside it that the next run does not remove, and what was done can be taken back.
#include "apps/Program.h"
#include "platform/Path.h"

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

namespace {

namespace fs = std::filesystem;
using fixture::chunk;

constexpr int kKilled = 1000 + SIGKILL;

struct FaultyRun : testing::Test {
  void SetUp() override {
    if (!std::string(VESK_SANITIZE).empty()) GTEST_SKIP() << "the sanitizer's library has to be loaded first";
  }
};
struct EachFault : FaultyRun, testing::WithParamInterface<std::string> {};

// A program that meets faults in the folders "loops" and "home", of which the latter holds the journal.
class FaultyProgram : public Program {
 public:
  // At the call `at` from 1 on; 0: none.
  Outcome run(const Words& arguments, const std::string& fault = "", size_t at = 0) {
    folder().addFile("calls", "");
    setSurroundings("export LD_PRELOAD='" FAULTY_SYSTEM
                    "' VESK_FAULT_FOLDERS=\"$PWD/loops:$PWD/home\" VESK_FAULT_LOG=calls " +
                    fmt::format("VESK_FAULT={} VESK_FAULT_AT={}; ", fault, at));
    Outcome outcome = Program::run(arguments);
    setSurroundings("");
    calls = {};
    std::istringstream log(contents("calls"));
    for (std::string line; std::getline(log, line);) calls.push_back(line);
    outcome.err += fmt::format("{} at call {} of {}", fault, at, testing::PrintToString(calls));
    return outcome;
  }
  std::string contents(std::string_view relative) const { return vesk::path::readFile(path(relative)).value_or(""); }
  Words loops() const { return vesk::path::subpaths(path("loops")); }

  Words calls;
};

std::string textOf(const fixture::Bytes& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

std::string loop(const std::string& genre) {
  return textOf(loopFile({.genre = genre}, {chunk("odd ", "abc")}));
}

const Words kTag = {"tag", "--no-reindex", "--preserve-mtime", "--set", "genre=Jazz"};

Words tagging(const Words& files) {
  Words words = kTag;
  words.insert(words.end(), files.begin(), files.end());
  return words;
}

}  // namespace

TEST_P(EachFault, LeavesTheOldBytesOrTheNewOnes) {
  const std::string before = loop("Funk"), after = loop("Jazz"), fault = GetParam();
  FaultyProgram program;
  const std::string file = program.folder().addFile("loops/A.aif", before);
  ::setxattr(file.c_str(), "user.note", "keep", 4, 0);
  EXPECT_TRUE(::geteuid() != 0 || ::chown(file.c_str(), 1234, 2345) == 0);
  bool isMet = true;
  size_t at = 0;  // first without a fault, which makes the journal
  for (; isMet; ++at) {
    const Outcome run = program.run(tagging({file}), fault, at);
    isMet = program.calls.size() >= at;
    SCOPED_TRACE(run.err);
    const bool isNew = program.contents("loops/A.aif") == after;
    EXPECT_TRUE(isNew || program.contents("loops/A.aif") == before);
    EXPECT_TRUE(run.code == kKilled || (run.code == 0) == isNew) << run.code;
    const bool isCutShort = fault == "kill" || fault.ends_with('+');
    EXPECT_LE(program.loops().size(), isCutShort ? 2u : 1u) << testing::PrintToString(program.loops());

    EXPECT_TRUE(isNew || program.run(tagging({file})).code == 0);
    EXPECT_EQ(program.loops(), Words{"A.aif"});
    EXPECT_TRUE(program.contents("loops/A.aif") == after);
    const Outcome undo = program.run({"tag", "--undo", "--no-reindex"});
    EXPECT_EQ(undo.code, 0) << undo.err;
    EXPECT_TRUE(program.contents("loops/A.aif") == before);
  }
  EXPECT_GT(at, 30u) << "the calls are no longer seen";
}

INSTANTIATE_TEST_SUITE_P(Every, EachFault, testing::Values("kill", "short", "4", "5", "28", "5+"));

// A file with several names is written over in place: as long as it is a mixture, its new bytes lie whole beside it.
TEST_F(FaultyRun, LeavesTheNewBytesBesideAFileThatItWritesOver) {
  FaultyProgram program;
  const fixture::Bytes category = fixture::catePayload("Drums", "", "Funk");
  const std::string before = textOf(fixture::aiffFile({chunk("cate", category)}, 1, 2 << 20, 8)),
                    file = program.folder().addFile("loops/A.aif", before);
  fs::create_hard_link(file, program.path("A.aif"));
  EXPECT_NE(program.run(tagging({file})).err.find("With --copy-back"), std::string::npos);
  std::string after;
  size_t mixtures = 0;
  for (const std::string fault : {"kill", "28"}) {
    bool isMet = true;
    for (size_t at = 0; isMet; ++at) {
      for (const std::string& name : program.loops()) fs::remove(name == "A.aif" ? "" : program.path("loops/" + name));
      program.folder().addFile("loops/A.aif", before);
      const Outcome run = program.run(tagging({"--copy-back", "--set", "title=T", file}), fault, at);
      isMet = program.calls.size() >= at;
      SCOPED_TRACE(run.err);
      const std::string now = program.contents("loops/A.aif"), first = program.loops().front();
      if (at == 0) after = now;
      EXPECT_TRUE(run.code != 0 || (now == after && first == "A.aif"));
      if (now == before || now == after) continue;
      ++mixtures;
      EXPECT_TRUE(program.contents("loops/" + first) == after);
      EXPECT_TRUE(run.code == kKilled || (run.code == 4 && run.err.find(first) != std::string::npos));
    }
  }
  EXPECT_GT(mixtures, 0u);
}

// What a run of many files was about when it was killed is known, and can be taken back.
TEST_F(FaultyRun, OfManyFilesIsTakenBackAsFarAsItCame) {
  FaultyProgram program;
  const std::string before = loop("Funk"), after = loop("Jazz");
  Words files;
  for (int i = 0; i < 50; ++i) files.push_back(program.folder().addFile(fmt::format("loops/{}.aif", i), before));
  const auto filesWith = [&](const std::string& bytes) {
    return std::ranges::count_if(files, [&](const auto& file) { return vesk::path::readFile(file) == bytes; });
  };
  size_t at = 1;
  for (; program.run(tagging(files), "kill", at).code == kKilled; at += 211) {
    SCOPED_TRACE(at);
    const auto done = filesWith(after);
    EXPECT_EQ(done + filesWith(before), std::ssize(files));
    const JSON runs = program.told({"tag", "--history"})["runs"];
    EXPECT_EQ(done, done == 0 ? 0 : runs[0]["files"].get<ptrdiff_t>()) << runs;
    EXPECT_EQ(program.run({"tag", "--undo", "--no-reindex"}).code, done == 0 ? 3 : 0);
    EXPECT_EQ(filesWith(before), std::ssize(files));
  }
  EXPECT_EQ(filesWith(after), std::ssize(files));
  EXPECT_EQ(program.loops().size(), files.size());
}
