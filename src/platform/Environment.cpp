#include "VeskLoopManagement/platform/Environment.h"

#include "platform/Path.h"
#include "VeskLoopManagement/platform/Text.h"

#include <pwd.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>
#include <system_error>

namespace vesk {

namespace {

constexpr std::string_view kFolderName = "veskloops";
constexpr std::string_view kMachineLibrary = "/usr/local/share";

std::string environmentVariable(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// A folder of the XDG base directories: the variable when it holds an absolute path, else the fallback in the home
// folder.
std::string xdgFolder(const char* variable, const std::string& home, std::string_view fallback) {
  const std::string value = environmentVariable(variable);
  return value.starts_with('/') ? value : path::appending(home, fallback);
}

std::string configFolder(const std::string& home) {
  return xdgFolder("XDG_CONFIG_HOME", home, ".config");
}

std::string homeFromPasswordDatabase() {
  std::vector<char> buffer(size_t{1} << 14);
  passwd entry = {};
  passwd* found = nullptr;
  ::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found);
  return found && found->pw_dir ? found->pw_dir : "/";
}

// What stands between the double quotes of a line of user-dirs.dirs, with $HOME put in and backslashes taken away.
// nullopt when it is not an absolute path.
std::optional<std::string> userFolderFromLine(std::string_view quoted, const std::string& home) {
  std::string result;
  if (quoted.starts_with("$HOME/") || quoted == "$HOME") {
    result = home;
    quoted.remove_prefix(5);
  }
  for (size_t i = 0; i < quoted.size() && quoted[i] != '"'; ++i) {
    if (quoted[i] == '\\' && i + 1 < quoted.size()) ++i;
    result += quoted[i];
  }
  while (result.size() > 1 && result.back() == '/') result.pop_back();
  if (!result.starts_with('/')) return std::nullopt;
  return result;
}

// The user's choice in user-dirs.dirs. The home folder itself stands there for "no such folder".
std::optional<std::string> configuredMusicFolder(const std::string& home) {
  static constexpr std::string_view kKey = "XDG_MUSIC_DIR=\"";
  const auto contents = path::readFile(path::appending(configFolder(home), "user-dirs.dirs"), size_t{1} << 20);
  if (!contents) return std::nullopt;
  for (const std::string& line : text::split(*contents, '\n')) {
    const std::string trimmed = text::trimmed(line);
    if (!trimmed.starts_with(kKey)) continue;
    const auto folder = userFolderFromLine(std::string_view(trimmed).substr(kKey.size()), home);
    if (folder && *folder != home) return folder;
  }
  return std::nullopt;
}

// Preferences: one "key=value" a line, sorted by key. A backslash stands before "=" and itself; "\n" and "\r" are line
// ends.
using Preferences = std::map<std::string, std::string, std::less<>>;

std::string escapedForPreferences(std::string_view value) {
  std::string result;
  for (const char c : value) {
    if (c == '\n') {
      result += "\\n";
    } else if (c == '\r') {
      result += "\\r";
    } else {
      if (c == '\\' || c == '=') result += '\\';
      result += c;
    }
  }
  return result;
}

void addPreferenceLine(std::string_view line, Preferences& preferences) {
  std::string key;
  std::string value;
  bool inValue = false;
  for (size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '=' && !inValue) {
      inValue = true;
      continue;
    }
    char c = line[i];
    if (c == '\\' && i + 1 < line.size()) {
      c = line[++i];
      if (c == 'n') c = '\n';
      if (c == 'r') c = '\r';
    }
    (inValue ? value : key) += c;
  }
  if (inValue) preferences[key] = value;
}

Preferences parsedPreferences(std::string_view contents) {
  Preferences preferences;
  for (const std::string& line : text::split(contents, '\n')) addPreferenceLine(line, preferences);
  return preferences;
}

std::string preferencesText(const Preferences& preferences) {
  std::string result;
  for (const auto& [key, value] : preferences) {
    result += escapedForPreferences(key) + "=" + escapedForPreferences(value) + "\n";
  }
  return result;
}

std::mutex& preferencesMutex() {
  static auto& mutex = *new std::mutex;
  return mutex;
}

std::string preferencesPath(const std::string& home) {
  return path::appending(path::appending(configFolder(home), kFolderName), "preferences");
}

struct SharedEnvironment {
  std::mutex mutex;
  std::shared_ptr<Environment> owner;
  std::atomic<Environment*> current = nullptr;
};

// Never destroyed: other static objects may still log while the process ends.
SharedEnvironment& sharedEnvironment() {
  static auto& shared = *new SharedEnvironment;
  return shared;
}

Environment& defaultEnvironment() {
  static auto& environment = *new DefaultEnvironment;
  return environment;
}

}  // namespace

Environment& Environment::shared() {
  Environment* current = sharedEnvironment().current;
  return current ? *current : defaultEnvironment();
}

void Environment::setShared(std::shared_ptr<Environment> environment) {
  const std::lock_guard lock(sharedEnvironment().mutex);
  sharedEnvironment().current = environment.get();
  sharedEnvironment().owner.swap(environment);
}

std::string DefaultEnvironment::homeFolder() const {
  const std::string home = environmentVariable("HOME");
  return home.starts_with('/') ? home : homeFromPasswordDatabase();
}

std::optional<std::string> DefaultEnvironment::musicFolder(std::string* error) const {
  auto folder = musicFolderPlace();
  if (!path::createDirectories(*folder, error)) return std::nullopt;
  return folder;
}

std::optional<std::string> DefaultEnvironment::musicFolderPlace() const {
  const std::string home = homeFolder();
  return configuredMusicFolder(home).value_or(path::appending(home, "Music"));
}

std::vector<std::string> DefaultEnvironment::libraryFolders(Domain domain) const {
  if (domain == Domain::local) return {std::string(kMachineLibrary)};
  return {xdgFolder("XDG_DATA_HOME", homeFolder(), ".local/share")};
}

std::string DefaultEnvironment::stateFolder() const {
  return path::appending(xdgFolder("XDG_STATE_HOME", homeFolder(), ".local/state"), kFolderName);
}

std::string DefaultEnvironment::cacheFolder() const {
  return path::appending(xdgFolder("XDG_CACHE_HOME", homeFolder(), ".cache"), kFolderName);
}

std::optional<std::string> DefaultEnvironment::preference(std::string_view key) const {
  const std::lock_guard lock(preferencesMutex());
  const Preferences preferences = parsedPreferences(path::readFile(preferencesPath(homeFolder())).value_or(""));
  const auto found = preferences.find(key);
  if (found == preferences.end()) return std::nullopt;
  return found->second;
}

void DefaultEnvironment::setPreference(std::string_view key, std::optional<std::string_view> value) {
  const std::lock_guard lock(preferencesMutex());
  const std::string file = preferencesPath(homeFolder());
  const auto contents = path::readFile(file);
  if (!contents && path::exists(file)) {
    log("preferences were not saved, the file cannot be read: " + file);
    return;
  }
  Preferences preferences = parsedPreferences(contents.value_or(""));
  preferences.erase(std::string(key));
  if (value) preferences.emplace(key, *value);
  std::string error;
  if (!path::createDirectories(path::deletingLastComponent(file), &error)) {
    log("preferences were not saved: " + error);
    return;
  }
  if (!path::writeFileAtomically(file, preferencesText(preferences))) log("preferences were not saved: " + file);
}

std::optional<std::string> DefaultEnvironment::localizedString(std::string_view, std::string_view) const {
  return std::nullopt;
}

// POSIX names end in a character set and a variant, "zh_CN.UTF-8@pinyin"; only what stands before them is the locale.
std::string DefaultEnvironment::localeFromVariables() {
  std::string name;
  for (const char* variable : {"LC_ALL", "LC_COLLATE", "LANG"}) {
    name = environmentVariable(variable);
    if (!name.empty()) break;
  }
  name = name.substr(0, name.find_first_of(".@"));
  return name == "C" || name == "POSIX" ? "" : name;
}

std::string DefaultEnvironment::localeIdentifier() const {
  return m_locale;
}

std::optional<std::string> DefaultEnvironment::hostResource(std::string_view, std::string_view) const {
  return std::nullopt;
}

bool DefaultEnvironment::isFilePackage(const std::string&) const {
  return false;
}

std::optional<std::string> DefaultEnvironment::fileTypeCode(const std::string& path) const {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  std::array<char, 12> head = {};
  std::ifstream file(path, std::ios::binary);
  file.read(head.data(), head.size());
  const std::string_view bytes(head.data(), static_cast<size_t>(file.gcount()));
  if (bytes.starts_with("caff")) return "caff";
  if (bytes.size() < head.size()) return std::nullopt;
  const std::string_view outer = bytes.substr(0, 4);
  const std::string_view inner = bytes.substr(8, 4);
  if (outer == "FORM" && (inner == "AIFF" || inner == "AIFC")) return std::string(inner);
  const bool isWave = (outer == "RIFF" || outer == "RF64" || outer == "BW64") && inner == "WAVE";
  return isWave ? std::optional<std::string>("WAVE") : std::nullopt;
}

void DefaultEnvironment::log(std::string_view message) {
  const std::string line = std::string(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace vesk
