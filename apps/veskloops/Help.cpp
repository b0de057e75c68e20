#include "Help.h"

#include "English.h"
#include "TerminalText.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>
#include <vector>

namespace {

constexpr size_t kLeftWidth = 28;
constexpr const char* kOptionGroup = "Options";  // CLI11's own name for it

struct CommandHelp {
  std::string_view name;       // behind that of the program
  std::string_view arguments;  // as the usage line has them
  std::string_view example;    // behind "veskloops"
};
constexpr CommandHelp kCommands[] = {
    {"", "COMMAND [ARGUMENTS]", "index ~/Loops"},
    {"index", "[PATH…]", "index ~/Loops --exclude '*.bak'"},
    {"folders", "[COMMAND]", "folders"},
    {"folders list", "", "folders list"},
    {"folders add", "DIR…", "folders add ~/Loops"},
    {"folders remove", "DIR…", "folders remove ~/Loops"},
    {"remove", "[LOOP…]", "remove --missing --dry-run"},
    {"search", "[TEXT…]", "search funky -k Bass --key Am --tempo 118-124"},
    {"keywords", "[TEXT…]", "keywords --available --genre Jazz --category instrument"},
    {"family", "LOOP", "family 'Funky Beat 01.caf'"},
    {"info", "LOOP…", "info --chunks 'Funky Beat 01.caf'"},
    {"favorite", "LOOP…", "favorite 'Funky Beat 01.caf'"},
    {"rate", "LOOP… N", "rate 'Funky Beat 01.caf' 4"},
    {"comment", "LOOP… TEXT", "comment 'Funky Beat 01.caf' 'for the bridge'"},
    {"tag", "[FILE…]", "tag 'Funky Beat 01.caf' --set genre=Jazz --set key=Am"},
    {"crates", "[COMMAND]", "crates"},
    {"crates list", "", "crates list"},
    {"crates show", "CRATE…", "crates show 'My Loops'"},
    {"crates create", "NAME", "crates create 'My Loops' --manufacturer Me"},
    {"crates remove", "CRATE…", "crates remove 'My Loops'"},
    {"import", "DB", "import maker.db --placeholder file:///Content/Loops/"},
    {"migrate", "", "migrate --relocate ~/Loops=/media/disk/Loops"},
    {"help", "[COMMAND]", "help search"},
};

const CommandHelp& helpOf(const std::string& name) {
  const size_t blank = name.find(' ');
  const std::string command = blank == std::string::npos ? std::string() : name.substr(blank + 1);
  for (const auto& each : kCommands) {
    if (each.name == command) return each;
  }
  return kCommands[0];
}

std::string namesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const auto& letter : option.get_snames()) names.push_back("-" + letter);
  for (const auto& word : option.get_lnames()) names.push_back("--" + word);
  const std::string indent = option.get_snames().empty() ? "    " : "";
  const std::string value = option.get_type_size() > 0 ? " " + option.get_type_name() : "";
  return indent + fmt::format("{}{}", fmt::join(names, ", "), value);
}

std::vector<std::string> namesOf(const std::set<CLI::Option*>& options) {
  std::vector<std::string> names;
  for (const auto* option : options) names.push_back(option->get_name());
  std::sort(names.begin(), names.end());  // not by address
  return names;
}

// With what it depends on. That all options of a group need one says the group's name.
std::string descriptionOf(const CLI::Option& option) {
  std::string text = option.get_description();
  if (!option.get_default_str().empty()) text += fmt::format(" (default: {})", option.get_default_str());
  if (option.get_group() == kOptionGroup && !option.get_needs().empty()) {
    text += fmt::format("; only with {}", listed(namesOf(option.get_needs()), "and"));
  }
  if (!option.get_excludes().empty()) {
    text += fmt::format("; not with {}", listed(namesOf(option.get_excludes()), "or"));
  }
  return text;
}

}  // namespace

std::string HelpFormatter::make_help(const CLI::App* app, std::string name, CLI::AppFormatMode) const {
  const CommandHelp& help = helpOf(name);
  std::string usage = fmt::format("Usage: {} [OPTIONS]", name);
  if (!help.arguments.empty()) usage += fmt::format(" {}", help.arguments);
  std::string text = paragraph(app->get_description() + ".") + "\n" + usage + "\n";
  const bool areRequired = !help.arguments.empty() && !help.arguments.starts_with('[');
  text += arguments(*app, areRequired ? " (required)" : "") + commands(*app) + options(*app);
  text += fmt::format("\nExample:\n  veskloops {}\n", help.example);
  if (!app->get_footer().empty()) text += "\n" + paragraph(app->get_footer());
  return text;
}

// Lines of the text stay lines.
std::string HelpFormatter::paragraph(const std::string& text) const {
  std::string result;
  for (const auto& line : CLI::detail::split(text, '\n')) {
    for (const auto& piece : wrappedToWidth(line, m_width)) result += piece + "\n";
  }
  return result;
}

std::string HelpFormatter::entry(const std::string& left, const std::string& text) const {
  std::string result = "  " + left;
  size_t column = displayWidth(result);
  if (column + 2 > kLeftWidth) {
    result += "\n";
    column = 0;
  }
  for (const auto& line : wrappedToWidth(text, m_width - std::min(m_width, kLeftWidth))) {
    result.append(kLeftWidth - column, ' ').append(line).append("\n");
    column = 0;
  }
  return result;
}

std::string HelpFormatter::arguments(const CLI::App& app, const std::string& note) const {
  std::string entries;
  for (const auto* option : app.get_options([](const CLI::Option* each) { return each->get_positional(); })) {
    entries += entry(option->get_name(true), option->get_description() + note);
  }
  return entries.empty() ? entries : "\nArguments:\n" + entries;
}

std::string HelpFormatter::options(const CLI::App& app) const {
  std::string text;
  for (const auto& group : app.get_groups()) {
    std::string entries;
    for (const auto* option : app.get_options(
             [&](const CLI::Option* each) { return each->nonpositional() && each->get_group() == group; })) {
      entries += entry(namesOf(*option), descriptionOf(*option));
    }
    if (!entries.empty()) text += fmt::format("\n{}:\n{}", group, entries);
  }
  return text;
}

std::string HelpFormatter::commands(const CLI::App& app) const {
  std::string entries;
  for (const auto* command : app.get_subcommands([](const CLI::App*) { return true; })) {
    entries += entry(command->get_name(), command->get_description());
  }
  return entries.empty() ? entries : "\nCommands:\n" + entries;
}
