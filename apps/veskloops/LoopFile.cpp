#include "LoopFile.h"

#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

namespace {

using Reason = LCParserFailure::Reason;

std::string reasonName(Reason reason) {
  switch (reason) {
    case Reason::unsupported:
    case Reason::notAllowed:
      return "unsupported";
    case Reason::notFound:
      return "notFound";
    case Reason::malformed:
      return "malformed";
    case Reason::unreadable:
    case Reason::none:
      break;
  }
  return "unreadable";
}

std::string reasonInWords(const std::string& reason) {
  if (reason == "notFound") return "not found";
  if (reason == "unsupported") return "no kind of file that is read here";
  if (reason == "destinationExists") return "another file is there already";
  if (reason == "copyFailed") return "could not be copied";
  if (reason == "database") return "could not be written to the database";
  return reason;
}

}  // namespace

LoopFileReading readLoopFile(const std::string& resolvedPath, const vesk::URL& url, bool enhanced) {
  LCParserFailure failure;
  const auto parser = LCFileParser::fileParserForURL(vesk::URL::fileURLWithPath(resolvedPath, false),
                                                     LCFileParser::defaultAllowedFileTypes(), &failure);
  if (!parser) return {.reason = reasonName(failure.reason), .detail = failure.detail};
  const LCFileData* record = enhanced ? parser->enhancedFileData() : parser->fileData();
  if (record == nullptr) return {.reason = "malformed", .detail = "its metadata cannot be decoded"};
  LoopFileReading reading{.record = *record};
  reading.record->storedFileURL = url;
  return reading;
}

JSON jsonOfFailure(const std::string& path, const std::string& reason, const std::string& detail) {
  JSON object = {{"path", vesk::text::lossyUTF8(path)}};
  if (!vesk::text::isValidUTF8(path)) object["pathIsExact"] = false;
  object["reason"] = reason;
  object["detail"] = detail.empty() ? reasonInWords(reason) : detail;
  return object;
}

std::string failureText(const std::string& path, const std::string& reason, const std::string& detail) {
  const std::string text = fmt::format("{}: {}", path, reasonInWords(reason));
  return detail.empty() ? text : fmt::format("{} ({})", text, detail);
}
