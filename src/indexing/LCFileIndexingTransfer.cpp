// A record that is written together with bringing its file to its place: both or neither.
#include "VeskLoopManagement/indexing/LCFileIndexing.h"

#include "database/Savepoint.h"
#include "indexing/FileCopying.h"
#include "platform/Path.h"

#include <filesystem>

namespace {

using Kind = lc::FileTransferResult::Kind;

struct Paths {
  std::string source;
  std::string destination;
};

lc::FileTransferResult transferred(const Paths& paths, lc::FileTransfer::Way way) {
  std::string reason;
  if (!vesk::path::createDirectories(vesk::path::deletingLastComponent(paths.destination), &reason)) {
    return {Kind::copyFailed, reason};
  }
  const auto bring = way == lc::FileTransfer::Way::move ? lc::moveFile : lc::copyFile;
  const std::error_code error = bring(paths.source, paths.destination);
  if (!error) return {Kind::done, {}};
  return {error == std::errc::file_exists ? Kind::destinationExists : Kind::copyFailed, error.message()};
}

void undoTransfer(const Paths& paths, lc::FileTransfer::Way way) {
  std::error_code ignored;
  if (way == lc::FileTransfer::Way::move) {
    lc::moveFile(paths.destination, paths.source);
  } else {
    std::filesystem::remove(paths.destination, ignored);
  }
}

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
  const Paths paths{.source = vesk::path::resolvingSymlinks(transfer.source.path()),
                    .destination = vesk::path::resolvingSymlinks(transfer.destination.path())};
  LCFileData placed = fileData;
  placed.storedFileURL = transfer.destination;

  lc::Savepoint step(m_sqlite.get());
  if (!step.isOpen() || !writeFileData(placed, toCrateId)) return {Kind::refusedByDatabase, {}};
  lc::FileTransferResult result = transferred(paths, transfer.way);
  if (!result.isDone() || step.keep()) return result;
  undoTransfer(paths, transfer.way);
  return {Kind::refusedByDatabase, {}};
}
