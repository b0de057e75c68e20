#include "VeskLoopManagement/catalog/LCLoopFile.h"

#include "fileio/LCAIFParser.h"
#include "fileio/LCSDIIParser.h"
#include "platform/Path.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/fileio/LCRexFileParser.h"
#include "VeskLoopManagement/model/LCNodeTypesHelper.h"

namespace {

LCFileProblem problemFor(LCParserFailure::Reason reason) {
  using Reason = LCParserFailure::Reason;
  switch (reason) {
    case Reason::unsupported:
    case Reason::notAllowed:
      return LCFileProblem::unsupported;
    case Reason::notFound:
      return LCFileProblem::notFound;
    case Reason::malformed:
      return LCFileProblem::malformed;
    case Reason::unreadable:
    case Reason::none:
      break;
  }
  return LCFileProblem::unreadable;
}

bool isAIFC(const std::string& path) {
  return vesk::path::lowercaseExtension(path) == "aifc";
}

bool isSoundDesigner2Name(const std::string& path) {
  const std::string extension = vesk::path::lowercaseExtension(path);
  return LCFileParser::allowsSDIIFiles() && (extension == "sd2" || extension == "sdii");
}

// Such files often have no extension: their resource fork makes them what they are.
bool isSoundDesigner2File(const std::string& path) {
  if (!LCFileParser::allowsSDIIFiles() || LCNodeTypesHelper::nodeTypeFromPath(path) != kNodeUnknown) return false;
  return isSoundDesigner2Name(path) || vesk::AudioFile::soundDesigner2ForkBeside(path);
}

// The parsers' factory goes by extensions that compressed AIFF and Sound Designer II files do not have, and takes
// files without tags only together with words of their paths.
std::unique_ptr<LCFileParser> parserFor(const std::string& path, LCParserFailure& failure) {
  const vesk::URL url = vesk::URL::fileURLWithPath(path, false);
  if (isAIFC(path) && !vesk::path::isDirectory(path)) return LCAIFParser::initWithURL(url, true, &failure);
  if (isSoundDesigner2File(path)) return LCSDIIParser::initWithURL(url, true, &failure);
  LCFileTypes types = LCFileParser::defaultAllowedFileTypes() | kFileTypeWAV;
  if (LCRexFileParser::rexFileAdapterRegistered()) types |= kFileTypeREX;
  auto parser = LCFileParser::fileParserForURL(url, types, &failure);
  if (failure.reason == LCParserFailure::Reason::notAllowed)
    failure.detail = "REX files need an adapter, and the host has none";
  return parser;
}

}  // namespace

LCLoopFile LCLoopFile::read(const std::string& resolvedPath, const vesk::URL& url, bool isEnhanced) {
  LCLoopFile file;
  file.failure.path = url.path();
  LCParserFailure failure;
  const auto parser = parserFor(resolvedPath, failure);
  if (!parser) {
    file.failure.problem = problemFor(failure.reason);
    file.failure.detail = failure.detail;
    return file;
  }
  const LCFileData* record = isEnhanced ? parser->enhancedFileData() : parser->fileData();
  if (record == nullptr) {
    file.failure.problem = LCFileProblem::malformed;
    file.failure.detail = "its metadata cannot be decoded";
    return file;
  }
  file.record = parser->takeFileData();
  file.notes = parser->notes();
  file.isSelfContained = dynamic_cast<const LCSDIIParser*>(parser.get()) == nullptr &&
                         dynamic_cast<const LCRexFileParser*>(parser.get()) == nullptr;
  file.record->storedFileURL = url;
  return file;
}

LCLoopFile LCLoopFile::read(const LCLoopPlace& place, bool isEnhanced) {
  const auto url = vesk::URL::fromString(place.urlText);
  const std::string path = place.path();
  return read(vesk::path::resolvingSymlinks(path), url ? *url : vesk::URL::fileURLWithPath(path, false), isEnhanced);
}

bool LCLoopFile::isNameOfLoopFile(const std::string& name) {
  switch (LCNodeTypesHelper::nodeTypeFromFileName(name)) {
    case kNodeAIFF:
    case kNodeCAF:
    case kNodeLoopData:
    case kNodeWAV:
      return true;
    case kNodeREX:
      return LCRexFileParser::rexFileAdapterRegistered();
    default:
      return isAIFC(name) || isSoundDesigner2Name(name);
  }
}

std::string lc::fileProblemName(LCFileProblem problem) {
  switch (problem) {
    case LCFileProblem::unsupported:
      return "unsupported";
    case LCFileProblem::notFound:
      return "notFound";
    case LCFileProblem::unreadable:
      return "unreadable";
    case LCFileProblem::malformed:
      return "malformed";
    case LCFileProblem::destinationExists:
      return "destinationExists";
    case LCFileProblem::copyFailed:
      return "copyFailed";
    case LCFileProblem::databaseRefused:
      return "database";
  }
  return "unreadable";
}
