#include "fileio/LCSDIIParser.h"

std::unique_ptr<LCSDIIParser> LCSDIIParser::initWithURL(const vesk::URL& url, bool isBigEndian,
                                                        LCParserFailure* failure) {
  return parserOverFile<LCSDIIParser>(url, isBigEndian, failure);
}
