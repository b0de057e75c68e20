// How arguments come in: options whose texts arrive exactly as they were typed, lists of paths from the command line or
// from standard input, and relative paths made absolute.
#pragma once

#include <CLI/App.hpp>
#include <CLI/Option.hpp>

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The program's arguments, without its name, in the form in which they have to be given to the argument parser: it
// takes words such as "[a,b]" and "++", and those with a "-" behind "--", for its own syntax unless they are marked.
// The functions below take the marks off again.
// So are the words behind the command `textCommand` that begin with "-" and cannot be options: they are its text.
std::vector<std::string> markedArguments(int count, char** arguments, const CLI::App& app,
                                         std::string_view textCommand);

CLI::Option* addText(CLI::App& app, const std::string& name, std::optional<std::string>& target,
                     const std::string& description, const std::string& valueName = "TEXT");
// May be given several times, each time with one text.
CLI::Option* addTexts(CLI::App& app, const std::string& name, std::vector<std::string>& target,
                      const std::string& description, const std::string& valueName = "TEXT");
// The arguments that belong to no option.
CLI::Option* addArguments(CLI::App& app, const std::string& name, std::vector<std::string>& target,
                          const std::string& description);

// What has to be one of `words`; the complaint lists them.
CLI::Option* addChoice(CLI::App& app, const std::string& name, const std::vector<std::string>& words,
                       const std::string& description, const std::function<void(const std::string&)>& choose);
// A whole number from `lowest` to `highest`.
struct NumberSpan {
  int64_t lowest = 0;
  int64_t highest = std::numeric_limits<int64_t>::max();
};
CLI::Option* addNumber(CLI::App& app, const std::string& name, NumberSpan span, const std::string& description,
                       const std::function<void(int64_t)>& choose);
std::optional<int64_t> decimalNumber(std::string_view text);

// Absolute, without "." and empty parts and without a trailing "/". Links stay as they are, except before a "..", which
// means the folder above the link's target, as it does for the system. Touches the disk only for "..".
std::string absolutePath(std::string_view path);

// What to say of a path where there is nothing: `otherwise`, unless a link stands there that leads nowhere.
std::string messageForMissing(const std::string& path, std::string otherwise);

struct PathListOptions {
  std::vector<std::string> arguments;  // "-" stands for a list on standard input
  bool isNullSeparated = false;
};
// Adds PATH… with "-" and -0/--null to `app`.
void addPathList(CLI::App& app, PathListOptions& target, const std::string& name, const std::string& description);
// Throws a usage failure for --null without a list on standard input.
void checkPathList(const PathListOptions& list);
bool readsStandardInput(const PathListOptions& list);
// Hands on every entry, those of standard input while they arrive; `isListed` says that it came from there. False from
// the handler, or an interruption, ends the reading.
using EntryHandler = std::function<bool(const std::string& entry, bool isListed)>;
void forEachEntry(const PathListOptions& list, const EntryHandler& handler);
// Answers the paths listed on standard input, made absolute, one after the other; an empty function without such a
// list.
std::function<std::optional<std::string>()> nextListedPath(const PathListOptions& list);
