// What is remembered of the files of whole folders, so that a scan passes the unchanged ones over without opening them:
// a packed row for each folder, read once when the scan comes to it and written once when it leaves it, if anything has
// changed. Files come folder by folder. Never throws. One thread.
#pragma once

#include "catalog/FileStateStore.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace lc {

// A file as it was when it was read.
struct ReadFile {
  FileState state;
  int64_t changed = 0;         // see FileStatus
  int64_t loopId = 0;          // its identity
  bool isTagged = false;       // by itself or by the words of its path
  bool readsPathWords = true;  // whether those were read
  bool isWritten = true;       // else it was left out for having no tags
  bool ownsRow = true;         // when the rows were seen last; else it was that of a file of the same identity
  bool operator==(const ReadFile&) const = default;
};

class FolderStates {
 public:
  explicit FolderStates(FileStateStore& store) : m_store(store) {}  // borrowed

  // In the folder at work, which the path's folder becomes.
  const ReadFile* find(const std::string& path);
  // Which state of the loop database had the rows of all files of the folder at work; 0 for none.
  int64_t rowsSeenIn() const { return m_rowsSeenIn; }
  void noteRowSeen();  // of the file that was found last
  // At the end of a folder: in that state of the database, if the rows of all of its files were.
  void setRowsSeenIn(int64_t databaseState);
  void set(const std::string& path, const std::optional<ReadFile>& file);  // nullopt: it is forgotten
  // Beside the folder at work.
  std::optional<ReadFile> fileElsewhere(const std::string& path);
  // Forgets what no longer stands in the folder; `names`, sorted by bytes, do.
  void keepOnly(const std::string& folder, const std::vector<std::string>& names);
  void leave();  // writes the folder at work, if need be

 private:
  using Files = std::vector<std::pair<std::string, ReadFile>>;  // by name

  static std::vector<std::byte> packed(const Files& files, int64_t rowsSeenIn);
  static Files unpacked(std::span<const std::byte> bytes, int64_t& rowsSeenIn);
  void enter(std::string_view folder);
  Files merged() const;

  FileStateStore& m_store;
  std::string m_folder;  // at work; "" for none
  Files m_files;         // of it, as stored
  int64_t m_rowsSeenIn = 0;
  bool m_isSeenAnew = false;
  std::vector<bool> m_isSeen;     // of m_files, since the folder was entered
  size_t m_next = 0;              // where in m_files the next question will probably be answered
  std::optional<size_t> m_found;  // where in m_files it was answered last
  std::map<std::string, std::optional<ReadFile>, std::less<>> m_changes;
  std::string m_otherFolder;
  Files m_otherFiles;
};

}  // namespace lc
