#include "catalog/FolderStates.h"

#include <algorithm>
#include <cstring>

namespace {

// A packed folder is a byte for the layout, 8 for the state of the loop database in which the rows were seen, and then,
// for each file by name:
//   1 byte    length of the name       n bytes   the name
//   1 byte    flags                    7 x 8     device, inode, size, modified, created, changed, loop id
// in the byte order of the machine, whose cache it is. A new layout, or new rules of reading files, is a new first
// byte: files that are packed under another one are read again.
constexpr auto kLayout = std::byte{1};
constexpr size_t kNumberCount = 7;
constexpr size_t kLongestName = 255;  // files of longer ones are not remembered

enum Flag : uint8_t { kTagged = 1, kPathWords = 2, kWritten = 4, kOwner = 8 };

std::string_view folderOf(std::string_view path) {
  return path.substr(0, std::max<size_t>(path.rfind('/'), 1));
}

std::string_view nameOf(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

template <typename Files>
auto placeOf(Files& files, std::string_view name) {
  return std::lower_bound(files.begin(), files.end(), name,
                          [](const auto& file, std::string_view key) { return file.first < key; });
}

}  // namespace

std::vector<std::byte> lc::FolderStates::packed(const Files& files, int64_t rowsSeenIn) {
  if (files.empty()) return {};
  std::vector<std::byte> bytes{kLayout};
  const auto state = std::as_bytes(std::span(&rowsSeenIn, 1));
  bytes.insert(bytes.end(), state.begin(), state.end());
  for (const auto& [name, file] : files) {
    if (name.size() > kLongestName) continue;
    const int64_t numbers[kNumberCount] = {file.state.device,  file.state.inode, file.state.size, file.state.modified,
                                           file.state.created, file.changed,     file.loopId};
    const auto* text = reinterpret_cast<const std::byte*>(name.data());
    bytes.push_back(static_cast<std::byte>(name.size()));
    bytes.insert(bytes.end(), text, text + name.size());
    bytes.push_back(static_cast<std::byte>((file.isTagged ? kTagged : 0) | (file.readsPathWords ? kPathWords : 0) |
                                           (file.isWritten ? kWritten : 0) | (file.ownsRow ? kOwner : 0)));
    const auto packedNumbers = std::as_bytes(std::span(numbers));
    bytes.insert(bytes.end(), packedNumbers.begin(), packedNumbers.end());
  }
  return bytes;
}

lc::FolderStates::Files lc::FolderStates::unpacked(std::span<const std::byte> bytes, int64_t& rowsSeenIn) {
  Files files;
  rowsSeenIn = 0;
  if (bytes.size() < 1 + sizeof rowsSeenIn || bytes.front() != kLayout) return files;
  std::memcpy(&rowsSeenIn, bytes.data() + 1, sizeof rowsSeenIn);
  bytes = bytes.subspan(1 + sizeof rowsSeenIn);
  while (!bytes.empty()) {
    const auto length = static_cast<size_t>(bytes.front());
    int64_t numbers[kNumberCount];
    if (bytes.size() - 1 < length + 1 + sizeof numbers) return {};
    const auto* text = reinterpret_cast<const char*>(bytes.data() + 1);
    const auto flags = static_cast<uint8_t>(bytes[1 + length]);
    std::memcpy(numbers, bytes.data() + length + 2, sizeof numbers);
    const auto [device, inode, size, modified, created, changed, loopId] = numbers;
    files.emplace_back(std::string(text, length), ReadFile{.state = {device, inode, size, modified, created},
                                                           .changed = changed,
                                                           .loopId = loopId,
                                                           .isTagged = (flags & kTagged) != 0,
                                                           .readsPathWords = (flags & kPathWords) != 0,
                                                           .isWritten = (flags & kWritten) != 0,
                                                           .ownsRow = (flags & kOwner) != 0});
    bytes = bytes.subspan(length + 2 + sizeof numbers);
  }
  return files;
}

void lc::FolderStates::enter(std::string_view folder) {
  if (folder == m_folder) return;
  leave();
  m_folder = folder;
  m_files = unpacked(m_store.folder(m_folder), m_rowsSeenIn);
  m_isSeen.assign(m_files.size(), false);
}

const lc::ReadFile* lc::FolderStates::find(const std::string& path) {
  enter(folderOf(path));
  const std::string_view name = nameOf(path);
  m_found.reset();
  if (const auto change = m_changes.find(name); change != m_changes.end()) {
    return change->second ? &*change->second : nullptr;
  }
  if (m_next >= m_files.size() || m_files[m_next].first != name) {
    m_next = static_cast<size_t>(placeOf(m_files, name) - m_files.begin());
  }
  if (m_next == m_files.size() || m_files[m_next].first != name) return nullptr;
  m_found = m_next++;
  return &m_files[*m_found].second;
}

void lc::FolderStates::set(const std::string& path, const std::optional<ReadFile>& file) {
  enter(folderOf(path));
  m_changes.insert_or_assign(std::string(nameOf(path)), file);
}

std::optional<lc::ReadFile> lc::FolderStates::fileElsewhere(const std::string& path) {
  const std::string_view folder = folderOf(path);
  if (folder == m_folder) {
    const ReadFile* file = find(path);
    return file != nullptr ? std::optional(*file) : std::nullopt;
  }
  if (folder != m_otherFolder) {
    m_otherFolder = folder;
    int64_t ignored = 0;
    m_otherFiles = unpacked(m_store.folder(m_otherFolder), ignored);
  }
  const auto place = placeOf(m_otherFiles, nameOf(path));
  if (place == m_otherFiles.end() || place->first != nameOf(path)) return std::nullopt;
  return place->second;
}

void lc::FolderStates::keepOnly(const std::string& folder, const std::vector<std::string>& names) {
  enter(folder);
  for (const auto& [name, file] : m_files) {
    if (!std::binary_search(names.begin(), names.end(), name)) m_changes.insert_or_assign(name, std::nullopt);
  }
}

void lc::FolderStates::noteRowSeen() {
  if (m_found) m_isSeen[*m_found] = true;
}

void lc::FolderStates::setRowsSeenIn(int64_t databaseState) {
  if (m_rowsSeenIn == databaseState) return;
  for (size_t index = 0; index < m_files.size(); ++index) {
    const auto& [name, file] = m_files[index];
    const auto change = m_changes.find(name);
    const bool isLeft = change == m_changes.end() || change->second;
    if (isLeft && file.isWritten && !m_isSeen[index]) return;
  }
  m_rowsSeenIn = databaseState;
  m_isSeenAnew = true;
}

lc::FolderStates::Files lc::FolderStates::merged() const {
  std::map<std::string, std::optional<ReadFile>, std::less<>> files(m_changes);
  for (const auto& [name, file] : m_files) files.try_emplace(name, file);
  Files merged;
  for (const auto& [name, file] : files) {
    if (file) merged.emplace_back(name, *file);
  }
  return merged;
}

void lc::FolderStates::leave() {
  if (!m_changes.empty() || m_isSeenAnew) {
    const Files now = merged();
    if (now != m_files || m_isSeenAnew) m_store.setFolder(m_folder, packed(now, m_isSeenAnew ? m_rowsSeenIn : 0));
    if (m_folder == m_otherFolder) m_otherFolder.clear();
  }
  m_folder.clear();
  m_files.clear();
  m_changes.clear();
  m_isSeen.clear();
  m_found.reset();
  m_next = 0;
  m_rowsSeenIn = 0;
  m_isSeenAnew = false;
}
