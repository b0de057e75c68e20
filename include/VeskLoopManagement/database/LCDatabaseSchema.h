// Table and column names and creation statements of the loop database. Every table is named through these constants.
// In statements with two "%@" the first takes "" (or "TEMPORARY"), the second the table's name: see sqlFormat().
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>

#include "VeskLoopManagement/fileio/LCChunkIDs.h"  // kGenInstContentIdentifierSeparator
#include "VeskLoopManagement/LCExport.h"

LC_EXPORT extern const std::string kDefaultLoopsTablename;
LC_EXPORT extern const std::string kDefaultTaggingTablename;
LC_EXPORT extern const std::string kDefaultLoopsKeywordsTablename;
LC_EXPORT extern const std::string kDefaultKeywordsTablename;
LC_EXPORT extern const std::string kDefaultCratesTableName;
LC_EXPORT extern const std::string kDefaultCrateLoopRelationTablename;
LC_EXPORT extern const std::string kDefaultUserDataTablename;
LC_EXPORT extern const std::string kDefaultMetaInfoRelationTablename;

// Columns that came to the loops table after its first layout.
LC_EXPORT extern const std::string kLoopsContentIdentifierColumn;
LC_EXPORT extern const std::string kLoopsChineseTranscriptColumn;
LC_EXPORT extern const std::string kLoopsPatchInfoColumn;
LC_EXPORT extern const std::string kLoopsKSLoopTypeColumn;
LC_EXPORT extern const std::string kLoopsDefaultLoopTypeColumn;

LC_EXPORT extern const std::string kCurrentDatabaseSchemaVersionString;
LC_EXPORT extern const std::string kLCCurrentDatabaseSchemaVersionStringKey;
LC_EXPORT extern const std::string kCorruptDatabaseFileIndicatorName;
LC_EXPORT extern const std::string kLoudnessDatabaseFileName;
LC_EXPORT extern const std::string kLoudnessDatabaseExtension;

inline constexpr int64_t kDefaultDatabaseSchemaVersion = 100930;  // patchInfo and ksLoopType are created from here on
inline constexpr int64_t kPatchInfoListedSchemaVersion = 100926;  // … and listed from here on

LC_EXPORT extern const std::string kCreateLoopsTableFormatString;
LC_EXPORT extern const std::string kCreateTaggingTable;
LC_EXPORT extern const std::string kCreateLoopsKeywordsTableString;
LC_EXPORT extern const std::string kCreateKeywordTableString;
LC_EXPORT extern const std::string kCreateCrateTableString;
LC_EXPORT extern const std::string kCreateCrateRelationTableString;
LC_EXPORT extern const std::string kCreateUserDataTableString;
LC_EXPORT extern const std::string kCreateDatabaseMigrationInfosTableString;
LC_EXPORT extern const std::string kCreateLoudnessDatabaseMigrationInfosTableString;
LC_EXPORT extern const std::string kCreateKeywordDistriubtionTableString;  // spelled so
LC_EXPORT extern const std::string kCreateLoopsLoudnessTableString;
LC_EXPORT extern const std::string kCreateLoopsMetaInfoTableString;
LC_EXPORT extern const std::string kCreateLoopsMetaInfoTriggerString;
LC_EXPORT extern const std::array<std::string, 4>
    kCreateLoopsTriggerStrings;  // a placeholder goes, relations go with their loop
LC_EXPORT extern const std::string kCreateLoopsIndexString;
LC_EXPORT extern const std::string kCreateLoopsResultTableFormatString;
LC_EXPORT extern const std::string kCreateLoopsResultTableFormatStringMobile;
LC_EXPORT extern const std::string
    kSelectLoopsFormatString;  // desktop base SELECT, "%@" is the loops table; ends in a blank
LC_EXPORT extern const std::string
    kSelectLoopsFormatStringMobile;  // the same for the mobile layout, with "#PLACEHOLDER#"

namespace lc {

// `format` with its "%@" replaced by `arguments` in order and "%%" by "%". Arguments are not looked at again.
// A "%@" without an argument stays, so that the statement does not compile.
LC_EXPORT std::string sqlFormat(std::string_view format, std::initializer_list<std::string_view> arguments);
LC_EXPORT std::string sqlFormat(std::string_view format, std::span<const std::string> arguments);
LC_EXPORT std::string sqlFormat(std::string_view format, std::span<const std::string_view> arguments);
// Apostrophes doubled, for texts between single quotes.
LC_EXPORT std::string sqlEscaped(std::string_view text);
// Double quotes doubled, for texts between double quotes.
LC_EXPORT std::string sqlDoubleQuoteEscaped(std::string_view text);

}  // namespace lc
