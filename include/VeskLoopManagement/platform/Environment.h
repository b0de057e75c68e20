// Everything that the library takes from its host and surroundings, behind one replaceable object: standard folders,
// preferences, display texts, the user's locale, file classification, the log sink.
// A host or a test installs its own Environment before first use; the default one follows the XDG conventions.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

enum class Domain { user, local };  // the user's own folders; the machine's

class LC_EXPORT Environment {
 public:
  virtual ~Environment() = default;

  virtual std::string homeFolder() const = 0;
  // The user's music folder, created when missing; nullopt when the system gives none, `error` (may be null) saying
  // why.
  virtual std::optional<std::string> musicFolder(std::string* error) const = 0;
  // The same folder, whether or not it exists; makes none. Environments that cannot tell without making it leave this.
  virtual std::optional<std::string> musicFolderPlace() const { return musicFolder(nullptr); }
  // Library folders of a domain, most important first; may be empty.
  virtual std::vector<std::string> libraryFolders(Domain domain) const = 0;
  virtual std::string stateFolder() const = 0;  // for journals of the program
  virtual std::string cacheFolder() const = 0;  // for what can be made again

  virtual std::optional<std::string> preference(std::string_view key) const = 0;
  virtual void setPreference(std::string_view key, std::optional<std::string_view> value) = 0;  // nullopt removes it

  // The display text of `key` in `table` ("Localizable", "LocalizableLoops"); nullopt when the table has none.
  virtual std::optional<std::string> localizedString(std::string_view key, std::string_view table) const = 0;
  virtual std::string localeIdentifier() const = 0;  // "en_US", "zh_Hans_CN"; "" for the root locale

  // The path of a resource shipped by the host application, such as the factory loudness database.
  virtual std::optional<std::string> hostResource(std::string_view name, std::string_view type) const = 0;
  // Whether a folder with an extension is shown as one file by the host's workspace.
  virtual bool isFilePackage(const std::string& path) const = 0;
  // What kind of audio file this is, judged by its content: "AIFF", "AIFC", "caff", "WAVE"; nullopt for anything else.
  virtual std::optional<std::string> fileTypeCode(const std::string& path) const = 0;

  // A message for a person: what happened, to which path, why. One line, no final newline. May come from any thread.
  virtual void log(std::string_view message) = 0;

  // The installed environment; the default one until setShared() was called.
  static Environment& shared();
  // Installs `environment` (null: the default one). Call before other threads use the library.
  static void setShared(std::shared_ptr<Environment> environment);
};

// The default environment; hosts that change only some answers derive from it.
// Preferences are a small text file below $XDG_CONFIG_HOME; the log goes to standard error.
class LC_EXPORT DefaultEnvironment : public Environment {
 public:
  std::string homeFolder() const override;
  std::optional<std::string> musicFolder(std::string* error) const override;
  std::optional<std::string> musicFolderPlace() const override;
  std::vector<std::string> libraryFolders(Domain domain) const override;
  std::string stateFolder() const override;
  std::string cacheFolder() const override;
  std::optional<std::string> preference(std::string_view key) const override;
  void setPreference(std::string_view key, std::optional<std::string_view> value) override;
  std::optional<std::string> localizedString(std::string_view key, std::string_view table) const override;
  std::string localeIdentifier() const override;
  std::optional<std::string> hostResource(std::string_view name, std::string_view type) const override;
  bool isFilePackage(const std::string& path) const override;
  std::optional<std::string> fileTypeCode(const std::string& path) const override;
  void log(std::string_view message) override;

 private:
  static std::string localeFromVariables();

  std::string m_locale = localeFromVariables();  // asked for at every comparison, so read once
};

inline void log(std::string_view message) {
  Environment::shared().log(message);
}

}  // namespace vesk
