#include "catalog/FileStates.h"

#include "catalog/DatabaseKey.h"
#include "platform/Path.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>

#include <set>

namespace {

std::string pathOfStore(const std::string& folder, std::string_view what, const std::string& databaseFile) {
  return vesk::path::appending(folder, fmt::format("{}-{}.db", what, lc::databaseKey(databaseFile)));
}

void addTrouble(const lc::FileStateStore& store, std::string_view consequence,
                std::vector<lc::FileStates::Trouble>& troubles) {
  if (!store.trouble()) return;
  auto& trouble = troubles.emplace_back(lc::FileStates::Trouble{.text = *store.trouble(), .consequence = {}});
  if (!store.isUsable()) trouble.consequence = consequence;
}

}  // namespace

lc::FileStates::FileStates(const std::string& databaseFile, Use use)
    : m_cached(pathOfStore(vesk::Environment::shared().cacheFolder(), "file-states", databaseFile),
               use == Use::readWrite ? FileStateStore::Use::readWrite : FileStateStore::Use::readOnly),
      m_marked(pathOfStore(vesk::Environment::shared().stateFolder(), "marked-files", databaseFile),
               use == Use::readOnly ? FileStateStore::Use::readOnly : FileStateStore::Use::readWrite) {}

std::vector<lc::FileStates::Trouble> lc::FileStates::troubles() const {
  std::vector<Trouble> troubles;
  addTrouble(m_cached, "packages and loudness will not follow files that are renamed or moved", troubles);
  addTrouble(m_marked, "marks may not follow files that are renamed or moved", troubles);
  return troubles;
}

// --- Questions ---

std::optional<lc::IndexedFile> lc::FileStates::fileWithURL(const std::string& urlText) {
  auto file = m_cached.fileWithURL(urlText);
  return file ? file : m_marked.fileWithURL(urlText);
}

std::vector<lc::IndexedFile> lc::FileStates::filesWithState(const FileState& state) {
  auto files = m_cached.filesWithState(state);
  std::set<std::string> cached;
  for (const auto& file : files) cached.insert(file.urlText);
  for (auto& marked : m_marked.filesWithState(state)) {
    if (!cached.contains(marked.urlText)) files.push_back(std::move(marked));
  }
  return files;
}

// --- Changes ---

void lc::FileStates::begin() {
  m_cached.begin();
  m_marked.begin();
}

void lc::FileStates::commit() {
  m_cached.commit();
  m_marked.commit();
}

void lc::FileStates::remember(const IndexedFile& file) {
  m_cached.remember(file);
}

void lc::FileStates::rememberMarked(const IndexedFile& file) {
  if (m_marked.fileWithURL(file.urlText) != file) m_marked.remember(file);
}

void lc::FileStates::forget(const std::string& urlText) {
  m_cached.forget(urlText);
  m_marked.forget(urlText);
}

void lc::FileStates::forget(const std::string& urlText, int64_t loopId) {
  m_cached.forget(urlText, loopId);
  m_marked.forget(urlText, loopId);
}

void lc::FileStates::clearCache() {
  m_cached.clear();
}
