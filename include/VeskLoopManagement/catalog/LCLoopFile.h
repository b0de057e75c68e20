// Reading one loop file as the catalog does: every container, one opening, and a reason where there is no record. Here
// ".aifc" is an AIFF file, too; with LCFileParser::setAllowsSDIIFiles(true) a resource fork makes a Sound Designer II
// file; WAV files, and REX files where the host has registered an adapter, are read with and without words of their
// paths.
#pragma once

#include "VeskLoopManagement/catalog/LCCatalogLoop.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"
#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/platform/URL.h"

#include <optional>
#include <string>
#include <vector>

struct LC_EXPORT LCLoopFile {
  std::optional<LCFileData> record;
  std::vector<std::string> notes;  // what of the tags was cut or left out for its size, a sentence each
  bool isSelfContained = true;     // false when more than the file decides: what stands beside it, or an adapter
  LCFileFailure failure;           // without a record; `failure.path` is the path of the URL

  // Opens the file at `resolvedPath`. The record carries `url`, which may name the file through links. Enhanced: with
  // MIDI, generated-instrument, event and step-sequencer data.
  static LCLoopFile read(const std::string& resolvedPath, const vesk::URL& url, bool isEnhanced = false);
  // The file that stands at a place, links followed.
  static LCLoopFile read(const LCLoopPlace& place, bool isEnhanced = false);
  // Whether a file of this name, which need not be there, is one to read.
  static bool isNameOfLoopFile(const std::string& name);
};
