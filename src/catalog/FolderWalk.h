// Walks files and folders one file after the other. Memory grows with the folders on the way, not with the files. Links
// are followed once: a link to a folder is entered after everything else, and only when that folder was not walked
// already. Companion files ("._…") and the folders ".AppleDouble" and "__MACOSX" are passed over. One thread.
#pragma once

#include <sys/types.h>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lc {

struct WalkedFile {
  std::string path;          // below the argument as it was given, links not resolved
  std::string resolvedPath;  // where the file really is
  std::string relativePath;  // below the argument; the file's name when the argument is the file itself
};

class FolderWalk {
 public:
  using FileHandler = std::function<void(const WalkedFile&)>;
  // What cannot be walked: an unreadable folder, a link to nothing, a pipe. `detail` is for people.
  using FailureHandler = std::function<void(const std::string& path, const std::string& detail)>;

  // `keepGoing` is asked before every file.
  FolderWalk(std::vector<std::string> excludedPatterns, std::function<bool()> keepGoing);

  // Passes this folder over where it is met below another one.
  void skipFolder(const std::string& path);
  // Walks `path`, which is absolute: all regular files below it, or itself. False when nothing is there. A folder that
  // an earlier call walked is not walked again.
  bool walk(const std::string& path, const FileHandler& file, const FailureHandler& failure);

 private:
  using FolderIdentity = std::pair<dev_t, ino_t>;
  struct Folder {
    std::string path;
    std::string resolvedPath;
    std::string relativePath;  // "" for the argument
    FolderIdentity identity{};
  };
  struct Handlers {
    const FileHandler& file;
    const FailureHandler& failure;
  };

  void walkFolder(const Folder& folder, const Handlers& handlers);
  void walkEntry(const Folder& folder, const std::string& name, const Handlers& handlers);
  bool isPassedOver(const std::string& name, const std::string& relativePath) const;
  bool enterFirstTime(const FolderIdentity& identity);

  std::vector<std::string> m_excludedPatterns;
  std::function<bool()> m_keepGoing;
  std::set<FolderIdentity> m_seenFolders;
  std::optional<FolderIdentity> m_skippedFolder;
  std::vector<Folder> m_linkedFolders;  // met as links, still to be walked
};

}  // namespace lc
