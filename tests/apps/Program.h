// Runs the built program as a person or a script would, in surroundings of its own.
#pragma once

#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <nlohmann/json.hpp>

#include <cstdio>
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

class Program {
 public:
  Program();

  // Words of a shell that come before the runs from now on, such as "export A=1; ".
  void setSurroundings(const std::string& words) { m_surroundings = words; }
  // Relative paths are below folder(). VESKLOOPS_DATABASE names database().
  Outcome run(const Words& arguments, const std::string& input = {}) const;
  // What it prints with --json, and how it ends.
  JSON told(const Words& arguments, int code = 0) const;
  // Standard output is a pipe that nobody reads any more.
  Outcome runWithoutReader(const Words& arguments) const;
  // Gets the signal when standard error holds `message`, or after ten seconds; its input stays open.
  Outcome runUntil(const std::string& message, int signal, const Words& arguments, const std::string& input) const;
  // With a terminal of 80 columns for all three streams; everything printed is in `out`.
  Outcome runOnTerminal(const Words& arguments, const std::string& input = {}) const;
  // Bare containers may offer no pseudo-terminals.
  bool hasTerminals() const { return runOnTerminal({"--version"}).code == 0; }

  const TemporaryFolder& folder() const { return m_folder; }
  std::string path(std::string_view relative) const { return m_folder.path(relative); }
  std::string database() const { return path("loops.db"); }
  // Creates the folders above; the answer is the absolute path.
  std::string add(std::string_view relative, const fixture::Bytes& bytes = loopFile()) const;

 private:
  std::string contentsOf(std::string_view relative) const;
  std::FILE* start(const std::string& command, const std::string& input) const;
  Outcome outcome(int status) const;
  TemporaryFolder m_folder;
  std::string m_surroundings;
};
