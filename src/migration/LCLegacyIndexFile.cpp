#include "VeskLoopManagement/migration/LCLegacyIndexFile.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCCrateManager.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

namespace {

constexpr char kAnyCharacter = '?';

bool isContinuationByte(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// Characters of UTF-8: its bytes without those that continue one.
std::string_view withoutFirstCharacter(std::string_view text) {
  size_t length = 1;
  while (length < text.size() && isContinuationByte(text[length])) ++length;
  return text.substr(length);
}

std::string asciiContentsOf(const std::string& path) {
  const auto contents = vesk::path::readFile(path);
  const auto isASCII = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  if (contents && std::all_of(contents->begin(), contents->end(), isASCII)) return *contents;
  throw LCLegacyIndexFileException(fmt::format("failed reading contents of {}", path));
}

// The root and one folder.
std::string topLevelOf(const std::string& path) {
  const std::vector<std::string> components = vesk::path::components(path);
  std::string top;
  for (size_t index = 0; index < std::min<size_t>(components.size(), 2); ++index) {
    top = index == 0 ? components[index] : vesk::path::appending(top, components[index]);
  }
  return top;
}

std::string folderIn(const std::string& contents, const std::string& prefix) {
  const size_t begin = contents.find(prefix);
  const size_t end = begin == std::string::npos ? begin : contents.find('\0', begin);
  return end == std::string::npos ? std::string() : contents.substr(begin, end - begin);
}

}  // namespace

LCNamedException::~LCNamedException() = default;

LCLegacyIndexFileException::LCLegacyIndexFileException(std::string reason)
    : LCNamedException("LCLegacyIndexFileException", std::move(reason)) {}
LCLegacyIndexFileException::~LCLegacyIndexFileException() = default;

LCLegacyIndexFile::LCLegacyIndexFile(const vesk::URL& fileURL) : m_fileURL(fileURL) {
  const std::string path = fileURL.path();
  m_crateAudioPath = folderIn(asciiContentsOf(path), topLevelOf(path));
  m_crateName = vesk::path::lastComponent(m_crateAudioPath);
  m_crateIdentifier = kContentIdentifierPrefix + ".Legacy." + vesk::text::replacingAll(m_crateName, " ", "");
}

bool LCLegacyIndexFile::isNameOfIndexFile(std::string_view fileName) {
  for (const char expected : LCLegacyIndexFileNamePattern) {
    if (fileName.empty() || (expected != kAnyCharacter && fileName.front() != expected)) return false;
    fileName = withoutFirstCharacter(fileName);
  }
  return fileName.empty();
}
