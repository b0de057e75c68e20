#include "catalog/UnchangedFiles.h"

#include "VeskLoopManagement/fileio/MurmurHash.h"

#include <ctime>

namespace {

// A file system tells the time of a change only so exactly: what is written within this time of it may not show.
constexpr int64_t kTick = 20'000'000;           // nanoseconds; kernels count in hundredths of a second or less
constexpr int64_t kCoarseTick = 2'000'000'000;  // of file systems that know whole seconds only
constexpr int64_t kSecond = 1'000'000'000;

bool mayHaveChangedUnseen(const lc::FileStatus& status) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const int64_t tick = status.changed % kSecond == 0 ? kCoarseTick : kTick;
  return now.tv_sec * kSecond + now.tv_nsec - status.changed < tick;
}

}  // namespace

lc::UnchangedFiles::UnchangedFiles(FileStates& states, LoopRows& rows, Rules rules)
    : m_folders(states.cached()), m_rows(rows), m_rules(std::move(rules)) {
  m_databaseState = databaseState();
  if (states.cached().scanOfFolders() == m_rules.formerScan) return;
  states.cached().clearFolders();  // they were of a database that is gone
  m_rules.readsEveryFile = true;
}

bool lc::UnchangedFiles::isOf(const ReadFile& known, const FileStatus& status) const {
  return known.state == status.state && known.changed == status.changed &&
         known.readsPathWords == m_rules.readsPathWords;
}

// What the disk says of the loop database, in a number.
int64_t lc::UnchangedFiles::databaseState() const {
  const auto status = m_rules.databaseFile ? fileStatusAt(*m_rules.databaseFile) : std::nullopt;
  if (!status || mayHaveChangedUnseen(*status)) return 0;
  const auto& [device, inode, size, modified, created] = status->state;
  const int64_t numbers[] = {device, inode, size, modified, created, status->changed};
  constexpr uint64_t kSeed = 7;
  return static_cast<int64_t>(MurmurHash64A(numbers, sizeof numbers, kSeed));
}

std::optional<lc::UnchangedFiles::Known> lc::UnchangedFiles::find(const WalkedFile& file, const vesk::URL& url) {
  const ReadFile* known = m_rules.readsEveryFile ? nullptr : m_folders.find(file.path);
  if (known == nullptr || !isOf(*known, file.status)) return std::nullopt;
  const Known found{.loopId = known->loopId, .isTagged = known->isTagged};
  if (!known->isTagged && m_rules.onlyTagged) return found;
  if (!known->isWritten) return std::nullopt;
  if (m_rules.package && !m_rows.isInPackage(found.loopId, *m_rules.package)) return std::nullopt;
  if (known->ownsRow && m_databaseState != 0 && m_folders.rowsSeenIn() == m_databaseState) return found;
  const auto place = m_rows.placeWithId(found.loopId);
  if (!place) return std::nullopt;
  const bool ownsRow = place->urlText == url.absoluteString();
  m_folders.noteRowSeen();
  if (ownsRow != known->ownsRow) {
    ReadFile seen = *known;
    seen.ownsRow = ownsRow;
    m_folders.set(file.path, seen);
  }
  if (ownsRow) return found;
  if (!isUnchanged(*place)) return std::nullopt;  // the row becomes this file's
  return Known{.loopId = found.loopId, .isTagged = found.isTagged, .otherPlace = place};
}

bool lc::UnchangedFiles::isUnchanged(const LCLoopPlace& place) {
  const auto status = fileStatusAt(place.path());
  const auto known = m_folders.fileElsewhere(place.path());
  return status && known && known->isWritten && known->loopId == place.id && isOf(*known, *status);
}

void lc::UnchangedFiles::beginReading(const WalkedFile& file) {
  m_isTooFresh = mayHaveChangedUnseen(file.status);
  if (m_folders.find(file.path) != nullptr) m_folders.set(file.path, std::nullopt);
}

void lc::UnchangedFiles::rememberWritten(const WalkedFile& file, int64_t loopId, bool isTagged, bool isSettled) {
  remember(file, {.loopId = loopId, .isTagged = isTagged}, isSettled);
}

void lc::UnchangedFiles::rememberLeftOut(const WalkedFile& file) {
  remember(file, {.isWritten = false}, true);
}

void lc::UnchangedFiles::remember(const WalkedFile& file, const ReadFile& read, bool isSettled) {
  if (m_isTooFresh) return;
  ReadFile known = read;
  known.state = file.status.state;
  known.changed = file.status.changed;
  known.readsPathWords = m_rules.readsPathWords;
  if (isSettled) {
    m_folders.set(file.path, known);
  } else {
    m_unsettled.emplace_back(file.path, known);
  }
}

void lc::UnchangedFiles::settle() {
  for (const auto& [path, file] : m_unsettled) m_folders.set(path, file);
  m_unsettled.clear();
  m_folders.leave();
}

void lc::UnchangedFiles::filesEnded(const std::string& folder, const std::vector<std::string>& names) {
  m_folders.keepOnly(folder, names);
  if (m_databaseState != 0 && databaseState() == m_databaseState) m_folders.setRowsSeenIn(m_databaseState);
  m_folders.leave();
}
