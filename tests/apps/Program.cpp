#include "Program.h"

#include "platform/Path.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <sstream>
#include <thread>

namespace {

std::string quoted(const std::string& word) {
  std::string text = "'";
  for (const char letter : word) text += letter == '\'' ? "'\\''" : std::string(1, letter);
  return text + "'";
}

// For a shell in the program's folder. What the tests themselves were started with plays no part.
std::string commandFor(const Words& arguments) {
  std::string command =
      "exec env --default-signal=INT,TERM,PIPE -u NO_COLOR -u XDG_CONFIG_HOME -u XDG_DATA_HOME -u XDG_CACHE_HOME "
      "-u XDG_STATE_HOME TERM=xterm HOME=\"$PWD/home\" VESKLOOPS_DATABASE=\"$PWD/loops.db\" " +
      quoted(VESKLOOPS);
  for (const auto& argument : arguments) command += " " + quoted(argument);
  return command;
}

}  // namespace

JSON Outcome::json() const {
  const JSON document = JSON::parse(out, nullptr, false);
  EXPECT_FALSE(document.is_discarded()) << out << err;
  return document.is_discarded() ? JSON() : document;
}

Words Outcome::lines() const {
  Words result;
  std::istringstream stream(out);
  for (std::string line; std::getline(stream, line);) result.push_back(line);
  return result;
}

std::vector<JSON> Outcome::jsonLines() const {
  std::vector<JSON> result;
  for (const auto& line : lines()) result.push_back(JSON::parse(line));
  return result;
}

Words Outcome::names() const {
  Words result;
  for (const auto& line : lines()) result.push_back(vesk::path::lastComponent(line));
  return result;
}

Program::Program() {
  for (const char* name : {"home", "streams"}) m_folder.addFolder(name);
}

std::string Program::contentsOf(std::string_view relative) const {
  return vesk::path::readFile(path(relative)).value_or("");
}

std::FILE* Program::start(const std::string& command, const std::string& input) const {
  const std::string whole = "cd " + quoted(m_folder.path()) + " && exec >streams/stdout 2>streams/stderr && " + command;
  std::FILE* running = popen(whole.c_str(), "we");
  std::fwrite(input.data(), 1, input.size(), running);
  std::fflush(running);
  return running;
}

Outcome Program::outcome(int status) const {
  return {.code = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status),
          .out = contentsOf("streams/stdout"),
          .err = contentsOf("streams/stderr")};
}

Outcome Program::run(const Words& arguments, const std::string& input) const {
  return outcome(pclose(start(m_surroundings + commandFor(arguments), input)));
}

JSON Program::told(const Words& arguments, int code) const {
  Words whole = {"--json"};
  whole.insert(whole.end(), arguments.begin(), arguments.end());
  const Outcome outcome = run(whole);
  EXPECT_EQ(outcome.code, code) << testing::PrintToString(arguments) << outcome.err;
  return outcome.json();
}

Outcome Program::runWithoutReader(const Words& arguments) const {
  const std::string piped = "(sleep 0.1; " + commandFor(arguments) + ") | :";
  return outcome(pclose(start("exec bash -o pipefail -c " + quoted(piped), "")));
}

Outcome Program::runUntil(const std::string& message, int signal, const Words& arguments,
                          const std::string& input) const {
  std::FILE* running = start("echo $$ >streams/process && " + commandFor(arguments), input);
  for (int attempt = 0; attempt < 500 && contentsOf("streams/stderr").find(message) == std::string::npos; ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  const pid_t process = std::stoi(contentsOf("streams/process"));
  int status = 0;
  kill(process, signal);
  waitpid(process, &status, 0);
  pclose(running);
  return outcome(status);
}

Outcome Program::runOnTerminal(const Words& arguments, const std::string& input) const {
  return outcome(pclose(start("exec script -qec " + quoted(commandFor(arguments)) + " /dev/null", input)));
}

std::string Program::add(std::string_view relative, const fixture::Bytes& bytes) const {
  return m_folder.addFile(relative, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}
