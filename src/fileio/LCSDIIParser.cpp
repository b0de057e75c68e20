#include "fileio/LCSDIIParser.h"

LCSDIIParser::LCSDIIParser(const vesk::URL& url, std::unique_ptr<vesk::AudioFile> audioFile, bool isBigEndian)
    : LCWAVParser(url, std::move(audioFile), isBigEndian) {}
