#include "VeskLoopManagement/catalog/LCLibraryVersions.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/resources/VeskLoopManagementVersion.h"

#include <sqlite3.h>
#include <unicode/uversion.h>

LCLibraryVersions LCLibraryVersions::current() {
  UVersionInfo icuVersion;
  char icuText[U_MAX_VERSION_STRING_LENGTH];
  u_getVersion(icuVersion);
  u_versionToString(icuVersion, icuText);
  return {.library = VeskLoopManagementVersionString,
          .databaseSchema = kDefaultDatabaseSchemaVersion,
          .sqlite = sqlite3_libversion(),
          .icu = icuText};
}
