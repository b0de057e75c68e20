#include "fileio/LCMetaDataParser.h"

#include "platform/Path.h"

LCMetaDataParser::LCMetaDataParser(const vesk::URL& url) : LCFileParser(url, true), m_url(url) {
  m_fileData.reset();
}

const LCFileData* LCMetaDataParser::fileData() {
  constexpr size_t kLargestFile = size_t{256} << 20;
  m_fileData.reset();
  const auto contents = vesk::path::readFile(m_url.path(), kLargestFile);
  if (contents) m_fileData = LCFileData::unarchived(std::as_bytes(std::span(*contents)));
  return m_fileData ? &*m_fileData : nullptr;
}
