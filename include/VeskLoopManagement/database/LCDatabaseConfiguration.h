// Says which database file the indexer and the search engine share, whether it may be written, and with which schema
// version tables are created. An immutable value; nothing here opens a database.
#pragma once

#include "VeskLoopManagement/LCExport.h"

#include <cstdint>
#include <string>
#include <vector>

class LC_EXPORT LCDatabaseConfiguration {
 public:
  // initWithDatabaseFile:readOnly:schemaVersion: – the path is not checked.
  LCDatabaseConfiguration(std::string databaseFile, bool readOnly, int64_t schemaVersion);

  const std::string& databaseFile() const { return m_databaseFile; }
  bool readonly() const { return m_readonly; }
  int64_t schemaVersion() const { return m_schemaVersion; }
  std::string description() const;

  // Writable, on LCSQLiteUtilities::databaseFile(), with the current schema version.
  static LCDatabaseConfiguration defaultDatabaseConfiguration();
  // The current database file below the user's music folder. Older files are copied forward on the way, never moved.
  static std::string defaultDatabaseFile();
  // Where that is. Makes no folder and copies nothing.
  static std::string defaultDatabasePlace();
  // Whether defaultDatabaseFile() would find an older file to copy.
  static bool hasOlderDefaultDatabase();
  static std::vector<std::string> loopsTableColumnNamesForDatabaseSchemaVersion(int64_t schemaVersion);

 private:
  std::string m_databaseFile;
  bool m_readonly;
  int64_t m_schemaVersion;
};
