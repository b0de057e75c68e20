// Runs the built program as a person or a script would, in surroundings of its own.
#pragma once

#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <sys/types.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

using JSON = nlohmann::json;
using Words = std::vector<std::string>;
using fixture::loopFile;

struct Outcome {
  int code = -1;
  std::string out;
  std::string err;

  JSON json() const;  // standard output as one document; fails the test and is null when it is none
  Words lines() const;
  std::vector<JSON> jsonLines() const;
  Words names() const;  // the last components of printed paths
};

// A running program; `input`, -1 when it is no pipe of ours, is what it reads from.
class RunningProgram {
 public:
  RunningProgram(pid_t process, int input, std::string folder)
      : m_process(process), m_input(input), m_folder(std::move(folder)) {}
  void write(const std::string& text) const;
  // Until standard error holds `text`; false when it does not within ten seconds.
  bool waitForMessage(const std::string& text) const;
  void signal(int number) const;
  Outcome finish();  // closes the input and waits

 private:
  pid_t m_process;
  int m_input;
  std::string m_folder;
};

class Program {
 public:
  Program();

  // Relative paths are below folder(). VESKLOOPS_DATABASE names database().
  Outcome run(const Words& arguments, const std::string& input = {}) const;
  // What it prints with --json, and how it ends.
  JSON told(const Words& arguments, int code = 0) const;
  // Standard output is a pipe that nobody reads any more.
  Outcome runWithoutReader(const Words& arguments) const;
  RunningProgram start(const Words& arguments) const;
  // Whether this machine offers pseudo-terminals; bare containers may not.
  static bool hasTerminals();
  // With a terminal of 100 columns for all three streams; everything printed is in `out`.
  Outcome runOnTerminal(const Words& arguments, const std::string& input = {}) const;

  const TemporaryFolder& folder() const { return m_folder; }
  std::string path(std::string_view relative) const { return m_folder.path(relative); }
  std::string database() const { return path("loops.db"); }
  // Creates the folders above; the answer is the absolute path.
  std::string add(std::string_view relative, const fixture::Bytes& bytes = loopFile()) const;

 private:
  pid_t launch(int input, int output, const Words& arguments) const;
  int standardOutput() const;  // a file, opened anew
  [[noreturn]] void become(const Words& arguments) const;
  TemporaryFolder m_folder;
};
