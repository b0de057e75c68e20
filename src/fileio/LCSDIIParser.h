// LCSDIIParser reads Sound Designer II loops just as LCWAVParser reads WAV loops. The factory never picks it by
// extension; a caller that classifies such files itself makes one.
#pragma once

#include "fileio/LCWAVParser.h"

#include <memory>

class LCSDIIParser : public LCWAVParser {
 public:
  LCSDIIParser(const vesk::URL& url, std::unique_ptr<vesk::AudioFile> audioFile, bool isBigEndian);
};
