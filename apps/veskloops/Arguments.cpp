#include "Arguments.h"

#include "English.h"
#include "Failure.h"
#include "Signals.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
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

// The first word that is neither an option nor an option's value.
const CLI::App* commandAmong(const std::vector<std::string>& arguments, const CLI::App& app) {
  for (size_t index = 0; index < arguments.size(); ++index) {
    const std::string& argument = arguments[index];
    if (argument.starts_with('-')) {
      const auto* option = app.get_option_no_throw(argument);
      if (option != nullptr && option->get_type_size() > 0) ++index;
      continue;
    }
    const auto found = app.get_subcommands([&](const CLI::App* each) { return each->get_name() == argument; });
    return found.empty() ? nullptr : found.front();
  }
  return nullptr;
}

// Text with a blank that is no value, and letters behind one "-" of which not each is an option. What begins with "--"
// may be a mistyped option, and must not become a comment.
bool cannotBeOptions(std::string_view argument, const CLI::App& app, const CLI::App& command) {
  if (argument.substr(0, argument.find('=')).find(' ') != std::string_view::npos) return true;
  if (argument.starts_with("--")) return false;
  return !std::all_of(argument.begin() + 1, argument.end(), [&](char letter) {
    const std::string name = {'-', letter};
    return app.get_option_no_throw(name) != nullptr || command.get_option_no_throw(name) != nullptr;
  });
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

std::vector<std::string> markedArguments(int count, char** arguments, const CLI::App& app,
                                         std::string_view textCommand) {
  const std::vector<std::string> given(arguments + std::min(count, 1), arguments + count);
  const CLI::App* command = commandAmong(given, app);
  const bool takesText = command != nullptr && command->get_name() == textCommand;
  std::vector<std::string> marked;
  bool isBehindOptions = false;
  for (const auto& argument : given) {
    if (argument == "--" && !isBehindOptions) {
      isBehindOptions = true;  // the parser would take it for the end of the command
      continue;
    }
    const bool looksLikeOption = argument.size() > 1 && argument.starts_with('-');
    const bool isText = looksLikeOption && (isBehindOptions || (takesText && cannotBeOptions(argument, app, *command)));
    marked.push_back(isText || needsMark(argument) ? kMark + argument : argument);
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

CLI::Option* addChoice(CLI::App& app, const std::string& name, const std::vector<std::string>& words,
                       const std::string& description, const std::function<void(const std::string&)>& choose) {
  return app.add_option_function<std::string>(name, choose, description)
      ->type_name("WORD")
      ->check([words](const std::string& given) {
        const std::string word = unmarked(given);
        const bool isKnown = std::find(words.begin(), words.end(), word) != words.end();
        return isKnown ? std::string() : fmt::format("must be {}, not \"{}\"", listed(words, "or"), word);
      });
}

CLI::Option* addNumber(CLI::App& app, const std::string& name, NumberSpan span, const std::string& description,
                       const std::function<void(int64_t)>& choose) {
  const bool isOpen = span.highest == NumberSpan().highest;
  const std::string range = isOpen ? fmt::format("a number from {} up", span.lowest)
                                   : fmt::format("a number from {} to {}", span.lowest, span.highest);
  return addRaw(app, name, description, "N",
                [choose](const CLI::results_t& results) {
                  choose(decimalNumber(results.front()).value_or(0));
                  return true;
                })
      ->check([span, range](const std::string& given) {
        const std::string text = unmarked(given);
        const auto number = decimalNumber(text);
        const bool fits = number && *number >= span.lowest && *number <= span.highest;
        return fits ? std::string() : fmt::format("must be {}, not \"{}\"", range, text);
      });
}

std::optional<int64_t> decimalNumber(std::string_view text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  return number;
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

std::string messageForMissing(const std::string& path, std::string otherwise) {
  std::error_code error;
  return std::filesystem::is_symlink(path, error) ? "the link leads nowhere" : std::move(otherwise);
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
  throw usageFailure("--null needs a list on standard input", "Put - among the arguments to read one.");
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
