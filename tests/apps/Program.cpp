#include "Program.h"

#include "platform/Path.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream contents;
  contents << file.rdbuf();
  return contents.str();
}

int exitCodeOf(pid_t process) {
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
}

void redirect(const std::string& path, int flags, int descriptor) {
  const int opened = open(path.c_str(), flags, 0600);
  if (opened < 0) _exit(125);
  dup2(opened, descriptor);
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

// --- Running ---

void RunningProgram::write(const std::string& text) const {
  ASSERT_EQ(::write(m_input, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

bool RunningProgram::waitForMessage(const std::string& text) const {
  for (int attempt = 0; attempt < 500; ++attempt) {
    if (contentsOf(m_folder + "/stderr").find(text) != std::string::npos) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

void RunningProgram::signal(int number) const {
  kill(m_process, number);
}

Outcome RunningProgram::finish() {
  const int code = exitCodeOf(m_process);
  if (m_input >= 0) close(m_input);
  return Outcome{.code = code, .out = contentsOf(m_folder + "/stdout"), .err = contentsOf(m_folder + "/stderr")};
}

Program::Program() {
  m_folder.addFolder("home");
  m_folder.addFolder("streams");
}

void Program::become(const Words& arguments) const {
  for (const char* name : {"NO_COLOR", "VESKLOOPS_DATABASE"}) unsetenv(name);
  for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "HOME"}) {
    setenv(name, path("home").c_str(), 1);
  }
  setenv("TERM", "xterm", 1);
  setenv("VESKLOOPS_DATABASE", database().c_str(), 1);
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
  std::signal(SIGPIPE, SIG_DFL);
  if (chdir(m_folder.path().c_str()) != 0) _exit(126);
  std::vector<char*> words = {const_cast<char*>(VESKLOOPS)};
  for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  execv(VESKLOOPS, words.data());
  _exit(127);
}

// Closes both descriptors.
pid_t Program::launch(int input, int output, const Words& arguments) const {
  const pid_t process = fork();
  if (process == 0) {
    dup2(input, STDIN_FILENO);
    dup2(output, STDOUT_FILENO);
    redirect(path("streams/stderr"), O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
    become(arguments);
  }
  close(input);
  close(output);
  return process;
}

int Program::standardOutput() const {
  return open(path("streams/stdout").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

Outcome Program::run(const Words& arguments, const std::string& input) const {
  const int file = open(m_folder.addFile("streams/stdin", input).c_str(), O_RDONLY | O_CLOEXEC);
  return RunningProgram(launch(file, standardOutput(), arguments), -1, path("streams")).finish();
}

JSON Program::told(const Words& arguments, int code) const {
  Words whole = {"--json"};
  whole.insert(whole.end(), arguments.begin(), arguments.end());
  const Outcome outcome = run(whole);
  EXPECT_EQ(outcome.code, code) << testing::PrintToString(arguments) << outcome.err;
  return outcome.json();
}

Outcome Program::runWithoutReader(const Words& arguments) const {
  m_folder.addFile("streams/stdout", "");
  int ends[2] = {};
  EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
  close(ends[0]);
  const int nothing = open("/dev/null", O_RDONLY | O_CLOEXEC);
  return RunningProgram(launch(nothing, ends[1], arguments), -1, path("streams")).finish();
}

RunningProgram Program::start(const Words& arguments) const {
  int ends[2] = {};
  EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
  return {launch(ends[0], standardOutput(), arguments), ends[1], path("streams")};
}

bool Program::hasTerminals() {
  int ends[2] = {-1, -1};
  if (openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr) != 0) return false;
  close(ends[0]);
  close(ends[1]);
  return true;
}

Outcome Program::runOnTerminal(const Words& arguments, const std::string& input) const {
  int terminal = -1;
  winsize size{.ws_row = 40, .ws_col = 100, .ws_xpixel = 0, .ws_ypixel = 0};
  const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
  if (process == 0) become(arguments);
  EXPECT_EQ(write(terminal, input.data(), input.size()), static_cast<ssize_t>(input.size()));
  Outcome result;
  char buffer[4096];
  while (true) {
    const ssize_t count = read(terminal, buffer, sizeof buffer);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;  // the last process has closed the other side
    result.out.append(buffer, static_cast<size_t>(count));
  }
  close(terminal);
  result.code = exitCodeOf(process);
  return result;
}

std::string Program::add(std::string_view relative, const fixture::Bytes& bytes) const {
  return m_folder.addFile(relative, {reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}
