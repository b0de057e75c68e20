#include "Arguments.h"

#include "Failure.h"
#include "Signals.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace {

constexpr char kMark = '\x01';

bool needsMark(std::string_view argument) {
  return argument.starts_with('[') || argument.starts_with('+') || argument.starts_with(kMark);
}

std::string unmarked(const std::string& argument) {
  return argument.starts_with(kMark) ? argument.substr(1) : argument;
}

CLI::Option* addRaw(CLI::App& app, const std::string& name, const std::string& description,
                    const std::string& valueName, CLI::callback_t callback) {
  return app.add_option(name, std::move(callback), description)->type_name(valueName)->type_size(1);
}

// Standard input, entry by entry, held in memory no further than the longest entry.
class StandardInputList {
 public:
  explicit StandardInputList(char separator) : m_separator(separator) {}

  std::optional<std::string> next() {
    std::string entry;
    while (true) {
      if (m_begin == m_end && !fill()) return entry.empty() ? std::nullopt : std::optional(entry);
      const char* found = std::find(m_begin, m_end, m_separator);
      entry.append(m_begin, found);
      const bool isComplete = found != m_end;
      m_begin = isComplete ? found + 1 : found;
      if (isComplete && !entry.empty()) return entry;
    }
  }

 private:
  bool fill() {
    while (true) {
      const ssize_t count = read(STDIN_FILENO, m_buffer.data(), m_buffer.size());
      if (count < 0 && errno == EINTR && !InterruptionGuard::isInterrupted()) continue;
      m_begin = m_buffer.data();
      m_end = m_begin + std::max<ssize_t>(count, 0);
      return count > 0;
    }
  }

  char m_separator;
  std::array<char, 65536> m_buffer;
  const char* m_begin = nullptr;
  const char* m_end = nullptr;
};

}  // namespace

std::vector<std::string> markedArguments(int count, char** arguments) {
  std::vector<std::string> marked;
  bool isBehindOptions = false;
  for (int index = 1; index < count; ++index) {
    const std::string argument = arguments[index];
    if (argument == "--" && !isBehindOptions) {
      isBehindOptions = true;  // the parser would take it for the end of the command
      continue;
    }
    const bool looksLikeOption = isBehindOptions && argument.size() > 1 && argument.starts_with('-');
    marked.push_back(looksLikeOption || needsMark(argument) ? kMark + argument : argument);
  }
  return marked;
}

CLI::Option* addText(CLI::App& app, const std::string& name, std::optional<std::string>& target,
                     const std::string& description, const std::string& valueName) {
  return addRaw(app, name, description, valueName, [&target](const CLI::results_t& results) {
    target = unmarked(results.front());
    return true;
  });
}

CLI::Option* addTexts(CLI::App& app, const std::string& name, std::vector<std::string>& target,
                      const std::string& description, const std::string& valueName) {
  auto* option = addRaw(app, name, description, valueName, [&target](const CLI::results_t& results) {
    target.clear();
    for (const auto& result : results) target.push_back(unmarked(result));
    return true;
  });
  return option->expected(1, CLI::detail::expected_max_vector_size)->allow_extra_args(false);
}

CLI::Option* addArguments(CLI::App& app, const std::string& name, std::vector<std::string>& target,
                          const std::string& description) {
  return addTexts(app, name, target, description, "")->allow_extra_args(true);
}

std::string absolutePath(std::string_view path) {
  namespace fs = std::filesystem;
  std::error_code error;
  fs::path whole(path);
  if (whole.is_relative()) whole = fs::current_path(error) / whole;

  fs::path result("/");
  for (const auto& part : whole.relative_path()) {
    if (part.empty() || part == ".") continue;
    if (part != "..") {
      result /= part;
      continue;
    }
    const fs::path real = fs::canonical(result, error);
    result = (error ? result : real).parent_path();
  }
  return result.string();
}

void addPathList(CLI::App& app, PathListOptions& target, const std::string& name, const std::string& description) {
  addArguments(app, name, target.arguments, description + "; - reads a list of them from standard input");
  app.add_flag("-0,--null", target.isNullSeparated, "The list on standard input is separated by NUL characters");
}

bool readsStandardInput(const PathListOptions& list) {
  return std::find(list.arguments.begin(), list.arguments.end(), "-") != list.arguments.end();
}

void checkPathList(const PathListOptions& list) {
  if (!list.isNullSeparated || readsStandardInput(list)) return;
  throw usageFailure("--null is about a list on standard input, and there is none", "Add - to the arguments.");
}

void forEachEntry(const PathListOptions& list, const EntryHandler& handler) {
  for (const auto& argument : list.arguments) {
    if (argument != "-") {
      if (!handler(argument, false)) return;
      continue;
    }
    StandardInputList input(list.isNullSeparated ? '\0' : '\n');
    while (const auto entry = input.next()) {
      if (InterruptionGuard::isInterrupted() || !handler(*entry, true)) return;
    }
  }
}

std::function<std::optional<std::string>()> nextListedPath(const PathListOptions& list) {
  if (!readsStandardInput(list)) return {};
  auto input = std::make_shared<StandardInputList>(list.isNullSeparated ? '\0' : '\n');
  return [input]() -> std::optional<std::string> {
    const auto entry = input->next();
    if (!entry || InterruptionGuard::isInterrupted()) return std::nullopt;
    return absolutePath(*entry);
  };
}
