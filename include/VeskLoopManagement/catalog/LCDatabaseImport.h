// LCDatabaseImport merges a ready-made loop database, such as a maker ships with content, into one of the user's. Loops
// come with their keywords, packages, loudness and meta infos; what the user's database has already stays as it is, and
// nobody's marks are touched. The source is only read. Keywords that each database has numbered for itself go by their
// names. All or nothing, in one transaction; nothing is printed, asked or thrown. On the caller's thread.
#pragma once

#include "VeskLoopManagement/catalog/LCFailure.h"
#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct LCImportRequest {
  std::string source = {};  // absolute path
  // An import is recorded under its identifier and happens once for it. Else that is the file's name with a number made
  // of its contents.
  std::optional<std::string> identifier = {};
  // What the URLs of the loops that come over begin with: the last part of their own follows it as it stands.
  std::optional<std::string> placeholder = {};
  bool isDryRun = false;  // does it all, tells, and takes it back; the database must exist
};

struct LCTableCounts {
  std::string table;
  int64_t inSource = 0;  // rows
  int64_t before = 0;
  int64_t after = 0;
  bool operator==(const LCTableCounts&) const = default;
};

struct LCImportReport {
  std::string identifier;
  bool wasImportedBefore = false;  // then nothing was done
  std::vector<LCTableCounts> tables;
  int64_t newLoops = 0;
  std::optional<std::string> warning;            // a sentence: why no loop came over
  std::optional<std::string> damagedFileKeptAs;  // where a damaged database of the user's was put
};

struct LC_EXPORT LCDatabaseImport {
  // The user's database is made when missing; a damaged one is put aside first. A source that cannot come over is the
  // failure's subject: missing, damaged, locked, of a later version, or no loop database.
  static LCOutcome<LCImportReport> run(const std::string& databaseFile, const LCImportRequest& request);
};
