#include "catalog/CarriedLoops.h"

#include "catalog/LoopRemoval.h"

#include <fmt/format.h>

#include <algorithm>
#include <span>

namespace {

constexpr size_t kManySuccessors = 10000;
constexpr size_t kManySeenFiles = 10000;
constexpr size_t kBatchSize = 2000;  // carried in well under a second, while other programs wait for the database

bool isStillThere(const lc::IndexedFile& file) {
  const auto now = lc::fileStateAt(LCLoopPlace{.urlText = file.urlText}.path());
  return now && now->isOfSameFile(file.state);
}

// `latter` is unknown in a dry run.
std::string carryInWords(const LCLoopPlace& former, const std::optional<LCLoopPlace>& latter) {
  const std::string path = former.path();
  if (!latter || latter->urlText == former.urlText) return fmt::format("{}: has a new identity", path);
  return fmt::format("{}: lives on as {}", path, latter->path());
}

}  // namespace

// --- Finding out ---

bool lc::CarriedLoops::note(const WrittenLoop& written) {
  m_successors.erase(written.loopId);  // it is here, so nothing else goes on in its name
  std::optional<IndexedFile> file;
  if (written.state) file = {written.url.absoluteString(), *written.state, written.loopId};
  const auto remembered = m_states.fileWithURL(written.url.absoluteString());
  if (file && remembered == file) return rememberIfMarked(*file), true;  // and all else was done then

  bool hasFormer = noteSameName(written.url, written.loopId, Evidence::sameName);
  if (remembered) hasFormer |= noteRemoved(*remembered, written.loopId);
  if (written.movedFrom) {
    hasFormer |= noteSameName(*written.movedFrom, written.loopId, Evidence::sameFile);
    m_states.forget(written.movedFrom->absoluteString());
  }
  if (!file) return false;
  if (isFirstNameOfFile(file->state)) {
    for (const auto& other : m_states.filesWithState(file->state)) {
      if (other.urlText != file->urlText) hasFormer |= noteSameFile(other, file->loopId);
    }
  }
  if (hasFormer) {
    m_toRemember.push_back(*file);
  } else {
    remember(*file);
  }
  return !hasFormer;
}

void lc::CarriedLoops::noteUnchanged(const vesk::URL& url, const FileState& state, int64_t loopId) {
  m_successors.erase(loopId);
  if (!std::binary_search(m_markedIds.begin(), m_markedIds.end(), loopId)) return;
  m_states.rememberMarked({.urlText = url.absoluteString(), .state = state, .loopId = loopId});
}

// A file may have thousands of names (hard links): the first one met looks for all former names, and those after it
// have nothing to add.
bool lc::CarriedLoops::isFirstNameOfFile(const FileState& state) {
  if (m_seenFiles.size() >= kManySeenFiles) m_seenFiles.clear();
  return m_seenFiles.emplace(state.device, state.inode).second;
}

void lc::CarriedLoops::remember(const IndexedFile& file) {
  m_states.remember(file);
  rememberIfMarked(file);
}

void lc::CarriedLoops::rememberIfMarked(const IndexedFile& file) {
  if (m_rows.hasMarks(file.loopId)) m_states.rememberMarked(file);
}

bool lc::CarriedLoops::noteSameName(const vesk::URL& url, int64_t loopId, Evidence evidence) {
  const auto formerIds = m_rows.otherIdsWithURL(url, loopId);
  for (const int64_t formerId : formerIds) add(formerId, {loopId, url.absoluteString(), evidence});
  return !formerIds.empty();
}

// The loop of a file that was taken out of the database, tagged anew and put in again.
bool lc::CarriedLoops::noteRemoved(const IndexedFile& former, int64_t loopId) {
  if (former.loopId == loopId || !isOnlyMarked(former.loopId)) return false;
  add(former.loopId, {loopId, former.urlText, Evidence::sameName});
  return true;
}

// A file remembered in this very state under another name, which it may still have through a link.
bool lc::CarriedLoops::noteSameFile(const IndexedFile& former, int64_t loopId) {
  if (isStillThere(former)) return false;
  const auto row = m_rows.placeWithId(former.loopId);
  const bool isKnown = row ? row->urlText == former.urlText : m_rows.hasMarks(former.loopId);
  if (former.loopId == loopId || !isKnown) {
    m_states.forget(former.urlText, former.loopId);
    return false;
  }
  add(former.loopId, {loopId, former.urlText, Evidence::sameFile});
  return true;
}

// Taken out of the database, which keeps the marks.
bool lc::CarriedLoops::isOnlyMarked(int64_t loopId) {
  return !m_rows.placeWithId(loopId) && m_rows.hasMarks(loopId);
}

void lc::CarriedLoops::add(int64_t loopId, const Successor& successor) {
  const auto [found, isNew] = m_successors.try_emplace(loopId, successor);
  if (!isNew && successor.evidence >= found->second.evidence) found->second = successor;
}

bool lc::CarriedLoops::hasMany() const {
  return m_successors.size() >= kManySuccessors;
}

void lc::CarriedLoops::forgetRemoved(FileStates& states, LoopRows& rows, std::span<const LCLoopPlace> places) {
  for (const auto& place : places) {
    if (!rows.hasMarks(place.id)) states.forget(place.urlText);
  }
}

// --- Carrying ---

void lc::CarriedLoops::carryAll() {
  std::vector<LCLoopPlace> gone;
  // A loop's own marks win over those of the one whose name it took over.
  carryWith(Evidence::sameFile, gone);
  carryWith(Evidence::sameName, gone);
  m_states.begin();
  for (const auto& place : gone) m_states.forget(place.urlText, place.id);
  for (const auto& file : m_toRemember) remember(file);
  m_states.commit();
  if (m_run == nullptr) return;
  m_successors.clear();
  m_toRemember.clear();
}

void lc::CarriedLoops::carryWith(Evidence evidence, std::vector<LCLoopPlace>& gone) {
  std::vector<LCLoopCarry> carries;
  std::vector<std::string> comments;
  for (const auto& [loopId, successor] : m_successors) {
    if (successor.evidence != evidence) continue;
    const auto latter = m_rows.placeWithId(successor.loopId);
    const bool isLeft = m_rows.placeWithId(loopId) || m_rows.hasMarks(loopId);
    if (!isLeft || (m_run != nullptr && !latter)) continue;
    carries.push_back({.loopId = loopId, .toLoopId = successor.loopId});
    gone.push_back({.id = loopId, .urlText = successor.formerURL});
    comments.push_back(carryInWords(gone.back(), latter));
  }
  for (size_t begin = 0; m_run != nullptr && begin < carries.size(); begin += kBatchSize) {
    carryBatch(*m_run, std::span(carries).subspan(begin, std::min(kBatchSize, carries.size() - begin)));
  }
  for (const auto& comment : comments) m_told(comment);
  m_count += std::ssize(carries);
}
