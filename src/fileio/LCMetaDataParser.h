// LCMetaDataParser reads a loop metadata file ("loopdata"), which is the keyed archive of one loop record. The record
// is answered as it was archived: no tempo, no keywords from the path and no hash are added.
#pragma once

#include "VeskLoopManagement/fileio/LCFileParser.h"

class LCMetaDataParser : public LCFileParser {
 public:
  explicit LCMetaDataParser(const vesk::URL& url);

  // nullptr when the file cannot be read or is no such archive.
  const LCFileData* fileData() override;
  const LCFileData* enhancedFileData() override { return fileData(); }

 private:
  vesk::URL m_url;
};
