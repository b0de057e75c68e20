// A loop database made by scanning small files, all in a folder of their own, and short ways to scan and to ask.
#pragma once

#include "platform/Path.h"
#include "support/AudioFixture.h"
#include "support/Rows.h"
#include "support/TestEnvironment.h"
#include "VeskLoopManagement/catalog/LCCatalog.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"
#include "VeskLoopManagement/database/LCConnection.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <thread>

using fixture::loopFile;

// The value; ends the test when there is none.
template <typename T>
T valueOf(LCOutcome<T> outcome) {
  if (!outcome) throw std::runtime_error(outcome.failure().message + ": " + outcome.failure().subject);
  return *std::move(outcome);
}

// "notFound", …; "" for a value.
template <typename T>
std::string kindOf(const LCOutcome<T>& outcome) {
  return outcome ? "" : lc::failureKindName(outcome.failure().kind);
}

// What a scan told.
struct ScanLog : LCScanObserver {
  void fileFailed(const LCFileFailure& failure) override {
    failures.push_back(vesk::path::lastComponent(failure.path) + ": " + lc::fileProblemName(failure.problem));
  }
  void noted(const std::string& text) override { notes.push_back(text); }
  void warned(const std::string& text, const std::string&) override { warnings.push_back(text); }
  void advanced(int64_t count, const std::string&) override { done = count; }

  Rows failures, notes, warnings;
  int64_t done = 0;
};

class CatalogTest : public testing::Test {
 protected:
  // Paths are below the folder, those of a scan, too.
  std::string path(std::string_view relative) const { return folder.path(relative); }
  std::string add(std::string_view relative, const fixture::Bytes& bytes = loopFile()) const {
    return folder.addFile(relative, bytes);
  }
  void rename(const std::string& from, const std::string& to) const { std::filesystem::rename(path(from), path(to)); }

  LCOutcome<LCScanReport> tryToScan(LCScanRequest request) {
    for (auto& each : request.paths) each = path(each);
    if (request.copyTo) request.copyTo = path(*request.copyTo);
    log.failures.clear();
    // What was just written may be written again unseen, and is read again.
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
    return LCLibraryScan::run(file, request, log);
  }
  LCScanReport scan(const LCScanRequest& request) { return valueOf(tryToScan(request)); }
  // Files, loops, files without tags, failures, files of other types.
  static Rows figures(const LCScanReport& report) {
    return {fmt::format("{} {} {} {} {}", report.indexed, report.loops, report.untagged, report.failed,
                        report.unsupported)};
  }

  std::unique_ptr<LCCatalog> open(const LCCatalogOptions& options = {}) const {
    return valueOf(LCCatalog::open(file, options));
  }
  static Rows names(LCCatalog& catalog, const LCLoopQuery& query = {}) {
    Rows names;
    for (const auto& loop : valueOf(valueOf(catalog.search(query)).page({})).loops) names.push_back(loop.fileName);
    return names;
  }
  Rows names(const LCLoopQuery& query = {}) const { return names(*open(), query); }
  // Where they lie below the folder.
  Rows paths(const LCLoopQuery& query = {}) const {
    Rows paths;
    for (const auto& loop : valueOf(valueOf(open()->search(query)).page({})).loops) {
      paths.push_back(loop.place.path().substr(folder.path().size() + 1));
    }
    return paths;
  }
  LCLoopPlace place(std::string_view name) const { return valueOf(open()->placesWithName(name)).at(0); }

  // Another program's connection, and what it does and sees.
  LCConnection connection() const { return lc::openConnection(file, LCOpenMode::readWriteCreate); }
  void execute(const std::string& sql) const { execute(sql, file); }
  static void execute(const std::string& sql, const std::string& file) {
    const LCConnection other = lc::openConnection(file, LCOpenMode::readWriteCreate);
    EXPECT_TRUE(LCSQLiteUtilities(other.get()).executeStatementWithNoReturnValue(sql)) << sql;
  }
  Rows rows(const std::string& sql) const { return rowsOf(connection().get(), sql); }

  const TestEnvironment::Guard environment = TestEnvironment::install();
  const TemporaryFolder folder;
  std::string file = path("loops.db");
  ScanLog log;  // its failures are those of the last scan
};
