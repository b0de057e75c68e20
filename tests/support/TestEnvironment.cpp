#include "support/TestEnvironment.h"

#include "platform/Path.h"

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

TestEnvironment::TestEnvironment()
    : m_musicFolder(m_folder.addFolder("home/Music")),
      m_libraries{{vesk::Domain::user, {m_folder.addFolder("home/.local/share")}},
                  {vesk::Domain::local, {m_folder.addFolder("machine")}}} {}

bool TestEnvironment::hasLogged(std::string_view part) const {
  const std::lock_guard lock(m_mutex);
  return m_log.find(part) != std::string::npos;
}

std::optional<std::string> TestEnvironment::musicFolder(std::string* error) const {
  return vesk::path::createDirectories(m_musicFolder, error) ? std::optional(m_musicFolder) : std::nullopt;
}

std::optional<std::string> TestEnvironment::valueIn(const Texts& values, std::string_view key,
                                                    std::string_view detail) const {
  const std::lock_guard lock(m_mutex);
  const auto found = values.find({std::string(key), std::string(detail)});
  return found == values.end() ? std::nullopt : std::optional(found->second);
}

void TestEnvironment::setPreference(std::string_view key, std::optional<std::string_view> value) {
  const std::lock_guard lock(m_mutex);
  m_preferences.erase({std::string(key), ""});
  if (value) m_preferences[{std::string(key), ""}] = *value;
}

void TestEnvironment::log(std::string_view message) {
  const std::lock_guard lock(m_mutex);
  m_log.append(message).append("\n");
}
