#include "support/TestEnvironment.h"

#include "platform/Path.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

TemporaryFolder::TemporaryFolder() {
  char name[] = "/tmp/vesk-XXXXXX";
  if (!::mkdtemp(name)) throw std::runtime_error("no temporary folder");
  m_path = vesk::path::resolvingSymlinks(name);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  std::filesystem::remove_all(m_path, error);
}

std::string TemporaryFolder::path(std::string_view relative) const {
  return vesk::path::appending(m_path, relative);
}

std::string TemporaryFolder::addFile(std::string_view relative, std::string_view contents) const {
  std::string file = path(relative);
  std::filesystem::create_directories(vesk::path::deletingLastComponent(file));
  std::ofstream stream(file, std::ios::binary);
  stream.write(contents.data(), static_cast<std::streamsize>(contents.size()));
  if (!stream.flush()) throw std::runtime_error("cannot write " + file);
  return file;
}

std::string TemporaryFolder::addFolder(std::string_view relative) const {
  std::string folder = path(relative);
  std::filesystem::create_directories(folder);
  return folder;
}

TestEnvironment::Guard::Guard(std::shared_ptr<TestEnvironment> environment) : m_environment(std::move(environment)) {
  vesk::Environment::setShared(m_environment);
}

TestEnvironment::TestEnvironment()
    : m_musicFolder(m_folder.addFolder("home/Music")),
      m_userLibraries{m_folder.addFolder("home/.local/share")},
      m_machineLibraries{m_folder.addFolder("machine")} {}

void TestEnvironment::setLocalizedString(std::string_view key, std::string_view text, std::string_view table) {
  m_localizedStrings[{std::string(key), std::string(table)}] = text;
}

void TestEnvironment::setHostResource(std::string_view name, std::string_view type, std::string path) {
  m_hostResources[{std::string(name), std::string(type)}] = std::move(path);
}

void TestEnvironment::setLibraryFolders(vesk::Domain domain, std::vector<std::string> paths) {
  (domain == vesk::Domain::user ? m_userLibraries : m_machineLibraries) = std::move(paths);
}

std::vector<std::string> TestEnvironment::logLines() const {
  const std::lock_guard lock(m_mutex);
  return m_logLines;
}

bool TestEnvironment::hasLogged(std::string_view part) const {
  for (const std::string& line : logLines()) {
    if (line.find(part) != std::string::npos) return true;
  }
  return false;
}

std::optional<std::string> TestEnvironment::musicFolder(std::string* error) const {
  if (!m_musicFolder) {
    if (error) *error = "no music folder";
    return std::nullopt;
  }
  return vesk::path::createDirectories(*m_musicFolder, error) ? m_musicFolder : std::nullopt;
}

std::vector<std::string> TestEnvironment::libraryFolders(vesk::Domain domain) const {
  return domain == vesk::Domain::user ? m_userLibraries : m_machineLibraries;
}

std::optional<std::string> TestEnvironment::preference(std::string_view key) const {
  const std::lock_guard lock(m_mutex);
  const auto found = m_preferences.find(key);
  return found == m_preferences.end() ? std::nullopt : std::optional(found->second);
}

void TestEnvironment::setPreference(std::string_view key, std::optional<std::string_view> value) {
  const std::lock_guard lock(m_mutex);
  m_preferences.erase(std::string(key));
  if (value) m_preferences.emplace(key, *value);
}

std::optional<std::string> TestEnvironment::localizedString(std::string_view key, std::string_view table) const {
  const auto found = m_localizedStrings.find({std::string(key), std::string(table)});
  return found == m_localizedStrings.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> TestEnvironment::hostResource(std::string_view name, std::string_view type) const {
  const auto found = m_hostResources.find({std::string(name), std::string(type)});
  return found == m_hostResources.end() ? std::nullopt : std::optional(found->second);
}

bool TestEnvironment::isFilePackage(const std::string& path) const {
  return std::find(m_packages.begin(), m_packages.end(), path) != m_packages.end();
}

void TestEnvironment::log(std::string_view message) {
  const std::lock_guard lock(m_mutex);
  m_logLines.emplace_back(message);
}
