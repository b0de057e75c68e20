// LCSDIIParser reads Sound Designer II loops just as LCWAVParser reads WAV loops. The factory never picks it by
// extension; a caller that classifies such files itself makes one.
#pragma once

#include "fileio/LCWAVParser.h"

#include <memory>

class LCSDIIParser : public LCWAVParser {
 public:
  // Null when the file does not open; `failure` (may be null) then says why.
  [[nodiscard]] static std::unique_ptr<LCSDIIParser> initWithURL(const vesk::URL& url, bool isBigEndian,
                                                                 LCParserFailure* failure = nullptr);
  using LCWAVParser::LCWAVParser;
};
