// A record that is written together with bringing its file to its place: both or neither.
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include "database/Savepoint.h"
#include "indexing/FileCopying.h"
#include "platform/Path.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

#include <filesystem>
#include <vector>

namespace {

using Kind = lc::FileTransferResult::Kind;

struct Paths {
  std::string source;
  std::string destination;
};

lc::FileTransferResult broughtOne(const Paths& paths, lc::FileTransfer::Way way) {
  std::string reason;
  if (!vesk::path::createDirectories(vesk::path::deletingLastComponent(paths.destination), &reason)) {
    return {Kind::copyFailed, reason};
  }
  const auto bring = way == lc::FileTransfer::Way::move ? lc::moveFile : lc::copyFile;
  const std::error_code error = bring(paths.source, paths.destination);
  if (!error) return {Kind::done, {}};
  return {error == std::errc::file_exists ? Kind::destinationExists : Kind::copyFailed, error.message()};
}

void takeBack(const Paths& paths, lc::FileTransfer::Way way) {
  std::error_code ignored;
  if (way == lc::FileTransfer::Way::move) {
    lc::moveFile(paths.destination, paths.source);
  } else {
    std::filesystem::remove(paths.destination, ignored);
  }
}

// The file and, of a Sound Designer II file, the one beside it without which it is no audio: all or none.
class Transfer {
 public:
  Transfer(Paths file, lc::FileTransfer::Way way) : m_way(way) {
    if (const auto fork = vesk::AudioFile::soundDesigner2ForkBeside(file.source)) {
      const std::string folder = vesk::path::deletingLastComponent(file.source);
      const std::string newFolder = vesk::path::deletingLastComponent(file.destination);
      const std::string newName = vesk::path::lastComponent(file.destination);
      const bool hasFolder = vesk::path::deletingLastComponent(*fork) != folder;
      m_parts.push_back({*fork, vesk::path::appending(newFolder, (hasFolder ? ".AppleDouble/" : "._") + newName)});
    }
    m_parts.push_back(std::move(file));
  }

  lc::FileTransferResult run() {
    for (; m_brought < m_parts.size(); ++m_brought) {
      auto result = broughtOne(m_parts[m_brought], m_way);
      if (result.isDone()) continue;
      undo();
      return result;
    }
    return {Kind::done, {}};
  }

  void undo() {
    for (; m_brought > 0; --m_brought) takeBack(m_parts[m_brought - 1], m_way);
  }

 private:
  std::vector<Paths> m_parts;
  lc::FileTransfer::Way m_way;
  size_t m_brought = 0;
};

}  // namespace

lc::FileTransferResult LCFileIndexing::addFileDataAndTransferFile(const LCFileData& fileData,
                                                                  const std::optional<std::string>& toCrateId,
                                                                  const lc::FileTransfer& transfer) {
  lc::FileTransferResult result = writeAndTransfer(fileData, toCrateId, transfer);
  if (!result.isDone()) updateKeywordCache();  // keywords that were new are gone again
  return result;
}

// The row comes first: it takes the place of the one that the loop may have already, and is undone more easily than a
// copy.
lc::FileTransferResult LCFileIndexing::writeAndTransfer(const LCFileData& fileData,
                                                        const std::optional<std::string>& toCrateId,
                                                        const lc::FileTransfer& transfer) {
  Transfer files({.source = vesk::path::resolvingSymlinks(transfer.source.path()),
                  .destination = vesk::path::resolvingSymlinks(transfer.destination.path())},
                 transfer.way);
  LCFileData placed = fileData;
  placed.storedFileURL = transfer.destination;

  lc::Savepoint step(m_sqlite.get());
  if (!step.isOpen() || !writeFileData(placed, toCrateId)) return {Kind::refusedByDatabase, {}};
  lc::FileTransferResult result = files.run();
  if (!result.isDone() || step.keep()) return result;
  files.undo();
  return {Kind::refusedByDatabase, {}};
}
