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

class FaultyRun : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (!std::string(VESK_SANITIZE).empty()) GTEST_SKIP() << "the sanitizer's library has to be loaded first";
  }
};

// A program that meets faults in the folders "loops" and "home", of which the latter holds the journal.
class FaultyProgram : public Program {
 public:
  // At the call `at` from 1 on; 0: none.
  Outcome run(const Words& arguments, const std::string& fault = "", size_t at = 0) {
    folder().addFile("calls", "");
    setSurroundings("LD_PRELOAD='" FAULTY_SYSTEM "' VESK_FAULT_FOLDERS=\"$PWD/loops:$PWD/home\" VESK_FAULT_LOG=calls " +
                    fmt::format("VESK_FAULT={} VESK_FAULT_AT={}", fault, at));
    Outcome outcome = Program::run(arguments);
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

std::string loop(const std::string& genre) {
  const fixture::Bytes bytes = loopFile({.genre = genre}, {chunk("odd ", "abc")});
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

const Words kTag = {"tag", "--no-reindex", "--preserve-mtime", "--set", "genre=Jazz"};

Words tagging(const Words& files) {
  Words words = kTag;
  words.insert(words.end(), files.begin(), files.end());
  return words;
}

}  // namespace

TEST_P(FaultyRun, LeavesTheOldBytesOrTheNewOnes) {
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

INSTANTIATE_TEST_SUITE_P(Each, FaultyRun, testing::Values("kill", "short", "4", "5", "28", "5+"));
