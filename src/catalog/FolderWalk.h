// Walks files and folders one file after the other. Memory grows with the folders on the way, not with the files. Links
// are followed once: a link to a folder is entered after everything else, and only when that folder was not walked
// already. Every path handed out is the one place of what it names, links resolved. Hidden files and folders below
// those asked for are passed over unless they are wanted; companion files ("._…") and the folders ".AppleDouble" and
// "__MACOSX" always are. The files of a folder come before its subfolders, both by the bytes of their names. One
// thread.
#pragma once

#include "catalog/FileStateStore.h"

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace lc {

struct WalkedFile {
  std::string path;          // where the file really is
  std::string relativePath;  // below the argument, links not resolved; its name when the argument is the file itself
  FileStatus status = {};    // from just before it is handed out
};

// What a walk tells of what it meets.
struct WalkHandlers {
  std::function<void(const WalkedFile&)> file;
  // What cannot be walked: an unreadable folder, a pipe that was asked for. `detail` is for people.
  std::function<void(const std::string& path, const std::string& detail)> failure;
  std::function<void(const std::string& path)> deadLink;  // the link's own path
  std::function<void(const std::string& path)> missing;   // nothing is where something was asked for
  // All files of a folder were handed out; `names` are those of all its entries, passed over or not, by bytes.
  std::function<void(const std::string& path, const std::vector<std::string>& names)> filesEnded = {};
};

struct WalkOptions {
  std::vector<std::string> excludedPatterns = {};
  bool withHidden = false;
};

class FolderWalk {
 public:
  // `keepGoing` is asked before every file.
  FolderWalk(WalkOptions options, WalkHandlers handlers, std::function<bool()> keepGoing);

  // Passes this folder over where it is met below another one.
  void skipFolder(const std::string& path);
  // Walks `path`, which is absolute: all regular files below it, or itself. A folder that an earlier call walked is not
  // walked again.
  void walk(const std::string& path);

 private:
  using FolderIdentity = std::pair<int64_t, int64_t>;  // device and inode
  struct Folder {
    std::string path;
    std::string relativePath;  // "" for the argument
    FolderIdentity identity{};
  };

  void walkFolder(const Folder& folder);
  // Hands out the folder's files, and answers its subfolders.
  std::vector<Folder> walkFiles(const Folder& folder);
  void walkEntry(const Folder& folder, int descriptor, const std::string& name, std::vector<Folder>& subfolders);
  void tellOfLink(const std::string& path, int error) const;
  bool isPassedOver(const std::string& name, const std::string& relativePath) const;
  bool enterFirstTime(const FolderIdentity& identity);

  WalkOptions m_options;
  WalkHandlers m_handlers;
  std::function<bool()> m_keepGoing;
  std::set<FolderIdentity> m_seenFolders;
  std::optional<FolderIdentity> m_skippedFolder;
  std::vector<Folder> m_linkedFolders;  // met as links, still to be walked
};

}  // namespace lc
