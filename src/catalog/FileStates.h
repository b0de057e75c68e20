// What is remembered of the files of one loop database: by their states on the disk they are recognised under new
// names. Two stores: that of every file lies in the cache folder and can be deleted at any time; that of files whose
// loops the user has marked lies in the state folder, so that marks follow them without the cache, too. Where both know
// a file, the cache is right. Never throws. One thread.
#pragma once

#include "catalog/FileStateStore.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace lc {

class FileStates {
 public:
  enum class Use {
    readOnly,  // nothing is made, and writing does nothing
    marking,   // the same for the cache
    readWrite,
  };
  FileStates(const std::string& databaseFile, Use use);

  struct Trouble {
    std::string text;                        // a sentence about what went wrong
    std::optional<std::string> consequence;  // what will not work; nullopt when the store was made anew
  };
  std::vector<Trouble> troubles() const;
  FileStateStore& cached() { return m_cached; }  // where what is remembered of folders lies, too

  std::optional<IndexedFile> fileWithURL(const std::string& urlText);
  // Under every URL that is remembered for it, links and former names included.
  std::vector<IndexedFile> filesWithState(const FileState& state);

  void begin();  // a transaction for what follows; without one, every change stands at once
  void commit();
  void remember(const IndexedFile& file);
  void rememberMarked(const IndexedFile& file);  // for the time after the cache; writes only what is new
  void forget(const std::string& urlText);
  void forget(const std::string& urlText, int64_t loopId);  // only when it was this loop
  void clearCache();

 private:
  FileStateStore m_cached;
  FileStateStore m_marked;
};

}  // namespace lc
