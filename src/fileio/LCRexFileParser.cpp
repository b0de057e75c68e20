#include "VeskLoopManagement/fileio/LCRexFileParser.h"

#include <utility>

namespace {

LCREXFileAdapterClass& registeredClass() {
  static LCREXFileAdapterClass adapterClass;
  return adapterClass;
}

}  // namespace

void LCRexFileParser::registerREXFileAdapterClass(LCREXFileAdapterClass adapterClass) {
  registeredClass() = std::move(adapterClass);
}

bool LCRexFileParser::rexFileAdapterRegistered() {
  return registeredClass() != nullptr;
}

std::unique_ptr<LCRexFileParser> LCRexFileParser::parserWithURL(const vesk::URL& url, bool isBigEndian) {
  std::optional<LCFileData> fileData;
  if (rexFileAdapterRegistered()) {
    const auto adapter = registeredClass()();
    if (adapter) fileData = adapter->fileDataForURL(url);
    if (!fileData) return nullptr;
    fileData->storedFileURL = url;
  }
  return std::unique_ptr<LCRexFileParser>(new LCRexFileParser(url, isBigEndian, std::move(fileData)));
}

LCRexFileParser::LCRexFileParser(const vesk::URL& url, bool isBigEndian, std::optional<LCFileData> fileData)
    : LCFileParser(url, isBigEndian) {
  m_fileData = std::move(fileData);
}
