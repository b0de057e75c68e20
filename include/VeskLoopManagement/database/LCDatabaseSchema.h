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

extern const std::string kDefaultLoopsTablename;
extern const std::string kDefaultTaggingTablename;
extern const std::string kDefaultLoopsKeywordsTablename;
extern const std::string kDefaultKeywordsTablename;
extern const std::string kDefaultCratesTableName;
extern const std::string kDefaultCrateLoopRelationTablename;
extern const std::string kDefaultUserDataTablename;
extern const std::string kDefaultMetaInfoRelationTablename;

// Columns that came to the loops table after its first layout.
extern const std::string kLoopsContentIdentifierColumn;
extern const std::string kLoopsChineseTranscriptColumn;
extern const std::string kLoopsPatchInfoColumn;
extern const std::string kLoopsKSLoopTypeColumn;
extern const std::string kLoopsDefaultLoopTypeColumn;

extern const std::string kCurrentDatabaseSchemaVersionString;
extern const std::string kLCCurrentDatabaseSchemaVersionStringKey;
extern const std::string kCorruptDatabaseFileIndicatorName;
extern const std::string kLoudnessDatabaseFileName;
extern const std::string kLoudnessDatabaseExtension;

inline constexpr int64_t kDefaultDatabaseSchemaVersion = 100930;  // patchInfo and ksLoopType are created from here on
inline constexpr int64_t kPatchInfoListedSchemaVersion = 100926;  // … and listed from here on

extern const std::string kCreateLoopsTableFormatString;
extern const std::string kCreateTaggingTable;
extern const std::string kCreateLoopsKeywordsTableString;
extern const std::string kCreateKeywordTableString;
extern const std::string kCreateCrateTableString;
extern const std::string kCreateCrateRelationTableString;
extern const std::string kCreateUserDataTableString;
extern const std::string kCreateDatabaseMigrationInfosTableString;
extern const std::string kCreateLoudnessDatabaseMigrationInfosTableString;
extern const std::string kCreateKeywordDistriubtionTableString;  // spelled so
extern const std::string kCreateLoopsLoudnessTableString;
extern const std::string kCreateLoopsMetaInfoTableString;
extern const std::string kCreateLoopsMetaInfoTriggerString;
extern const std::array<std::string, 4> kCreateLoopsTriggerStrings;  // a placeholder goes, relations go with their loop
extern const std::string kCreateLoopsIndexString;
extern const std::string kCreateLoopsResultTableFormatString;
extern const std::string kCreateLoopsResultTableFormatStringMobile;
extern const std::string kSelectLoopsFormatString;  // desktop base SELECT, "%@" is the loops table; ends in a blank
extern const std::string kSelectLoopsFormatStringMobile;  // the same for the mobile layout, with "#PLACEHOLDER#"

namespace lc {

// `format` with its "%@" replaced by `arguments` in order and "%%" by "%". Arguments are not looked at again.
// A "%@" without an argument stays, so that the statement does not compile.
std::string sqlFormat(std::string_view format, std::initializer_list<std::string_view> arguments);
std::string sqlFormat(std::string_view format, std::span<const std::string> arguments);
std::string sqlFormat(std::string_view format, std::span<const std::string_view> arguments);
// Apostrophes doubled, for texts between single quotes.
std::string sqlEscaped(std::string_view text);
// Double quotes doubled, for texts between double quotes.
std::string sqlDoubleQuoteEscaped(std::string_view text);

}  // namespace lc
