// What tests put in place of the real surroundings: a folder of their own that vanishes with them, and an environment
// that keeps everything in such a folder. Nothing of the user's is read or written.
#pragma once

#include "VeskLoopManagement/platform/Environment.h"

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// An empty folder "/tmp/vesk-XXXXXX" whose name holds no keyword; removed with all it holds at the end.
class TemporaryFolder {
 public:
  TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  ~TemporaryFolder();

  const std::string& path() const { return m_path; }  // links resolved, without a trailing "/"
  std::string path(std::string_view relative) const;  // of something below; creates nothing
  // Creates the folders above it; each answers the absolute path.
  std::string addFile(std::string_view relative, std::string_view contents) const;
  std::string addFile(std::string_view relative, std::span<const std::byte> contents) const {
    return addFile(relative, {reinterpret_cast<const char*>(contents.data()), contents.size()});
  }
  std::string addFolder(std::string_view relative) const;

 private:
  std::string m_path;
};

// Everything below one temporary folder: home/, home/Music, home/.local/share, machine/, state/, cache/. Preferences
// live in memory. Files are classified by content, as by the default environment. Set it up before other threads use
// it.
class TestEnvironment : public vesk::Environment {
 public:
  // Takes the environment out again, so that the default one answers.
  class Guard {
   public:
    Guard() { vesk::Environment::setShared(m_environment); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;
    ~Guard() { vesk::Environment::setShared(nullptr); }
    TestEnvironment* operator->() const { return m_environment.get(); }

   private:
    const std::shared_ptr<TestEnvironment> m_environment = std::make_shared<TestEnvironment>();
  };

  // Makes a new one the shared environment until the guard ends: `const auto environment = TestEnvironment::install();`
  [[nodiscard]] static Guard install() { return {}; }

  TestEnvironment();

  const std::string& folder() const { return m_folder.path(); }
  void setLocale(std::string identifier) { m_locale = std::move(identifier); }
  void setLocalizedString(const std::string& key, std::string_view text, const std::string& table = "Localizable") {
    m_localizedStrings[{key, table}] = text;
  }
  void setHostResource(const std::string& name, const std::string& type, std::string_view path) {
    m_hostResources[{name, type}] = path;
  }
  void setFilePackage(std::string path) { m_package = std::move(path); }
  void setLibraryFolders(vesk::Domain domain, std::vector<std::string> paths) {
    m_libraries[domain] = std::move(paths);
  }
  bool hasLogged(std::string_view part) const;

  std::string homeFolder() const override { return m_folder.path("home"); }
  std::optional<std::string> musicFolder(std::string* error) const override;
  std::vector<std::string> libraryFolders(vesk::Domain domain) const override { return m_libraries.at(domain); }
  std::string stateFolder() const override { return m_folder.path("state"); }
  std::string cacheFolder() const override { return m_folder.path("cache"); }
  std::optional<std::string> preference(std::string_view key) const override { return valueIn(m_preferences, key); }
  void setPreference(std::string_view key, std::optional<std::string_view> value) override;
  std::optional<std::string> localizedString(std::string_view key, std::string_view table) const override {
    return valueIn(m_localizedStrings, key, table);
  }
  std::string localeIdentifier() const override { return m_locale; }
  std::optional<std::string> hostResource(std::string_view name, std::string_view type) const override {
    return valueIn(m_hostResources, name, type);
  }
  bool isFilePackage(const std::string& path) const override { return path == m_package; }
  std::optional<std::string> fileTypeCode(const std::string& path) const override { return m_real.fileTypeCode(path); }
  void log(std::string_view message) override;

 private:
  using Texts = std::map<std::pair<std::string, std::string>, std::string>;
  std::optional<std::string> valueIn(const Texts& values, std::string_view key, std::string_view detail = {}) const;

  TemporaryFolder m_folder;
  std::string m_locale = "en_US";
  std::string m_musicFolder;
  std::map<vesk::Domain, std::vector<std::string>> m_libraries;
  std::string m_package;
  Texts m_localizedStrings;  // by key and table
  Texts m_hostResources;     // by name and type
  vesk::DefaultEnvironment m_real;
  mutable std::mutex m_mutex;  // guards what follows
  Texts m_preferences;         // by key alone
  std::string m_log;
};
