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

inline constexpr std::string_view kDefaultLoopsTablename = "Loops";
inline constexpr std::string_view kDefaultTaggingTablename = "Tagging";
inline constexpr std::string_view kDefaultLoopsKeywordsTablename = "LoopsKeywords";
inline constexpr std::string_view kDefaultKeywordsTablename = "Keywords";
inline constexpr std::string_view kDefaultCratesTableName = "Crates";
inline constexpr std::string_view kDefaultCrateLoopRelationTablename = "CrateLoopRelation";
inline constexpr std::string_view kDefaultUserDataTablename = "UserData";
inline constexpr std::string_view kDefaultMetaInfoRelationTablename = "LoopsMetaInfos";

// Columns that came to the loops table after its first layout.
inline constexpr std::string_view kLoopsContentIdentifierColumn = "contentIdentifier";
inline constexpr std::string_view kLoopsChineseTranscriptColumn = "chineseTranscript";
inline constexpr std::string_view kLoopsPatchInfoColumn = "patchInfo";
inline constexpr std::string_view kLoopsKSLoopTypeColumn = "ksLoopType";
inline constexpr std::string_view kLoopsDefaultLoopTypeColumn = "hasMidi";

inline constexpr std::string_view kCurrentDatabaseSchemaVersionString = "313089";
inline constexpr std::string_view kLCCurrentDatabaseSchemaVersionStringKey = "LCCurrentDatabaseSchemaVersionStringV09";
inline constexpr std::string_view kCorruptDatabaseFileIndicatorName = "LoopsDatabaseV10.db-isDamaged";
inline constexpr std::string_view kLoudnessDatabaseFileName = "LoudnessDatabaseV04";
inline constexpr std::string_view kLoudnessDatabaseExtension = "sqlite";

inline constexpr int64_t kDefaultDatabaseSchemaVersion = 100930;  // patchInfo and ksLoopType are created from here on
inline constexpr int64_t kPatchInfoListedSchemaVersion = 100926;  // … and listed from here on

LC_EXPORT extern const std::string_view kCreateLoopsTableFormatString;
LC_EXPORT extern const std::string_view kCreateTaggingTable;
LC_EXPORT extern const std::string_view kCreateLoopsKeywordsTableString;
LC_EXPORT extern const std::string_view kCreateKeywordTableString;
LC_EXPORT extern const std::string_view kCreateCrateTableString;
LC_EXPORT extern const std::string_view kCreateCrateRelationTableString;
LC_EXPORT extern const std::string_view kCreateUserDataTableString;
LC_EXPORT extern const std::string_view kCreateDatabaseMigrationInfosTableString;
LC_EXPORT extern const std::string_view kCreateLoudnessDatabaseMigrationInfosTableString;
LC_EXPORT extern const std::string_view kCreateKeywordDistriubtionTableString;  // spelled so
LC_EXPORT extern const std::string_view kCreateLoopsLoudnessTableString;
LC_EXPORT extern const std::string_view kCreateLoopsMetaInfoTableString;
LC_EXPORT extern const std::string_view kCreateLoopsMetaInfoTriggerString;
// A placeholder goes, relations go with their loop.
LC_EXPORT extern const std::array<std::string_view, 4> kCreateLoopsTriggerStrings;
LC_EXPORT extern const std::string_view kCreateLoopsIndexString;
LC_EXPORT extern const std::string_view kCreateLoopsResultTableFormatString;
LC_EXPORT extern const std::string_view kCreateLoopsResultTableFormatStringMobile;
// Desktop base SELECT, "%@" is the loops table; ends in a blank.
LC_EXPORT extern const std::string_view kSelectLoopsFormatString;
// The same for the mobile layout, with "#PLACEHOLDER#".
LC_EXPORT extern const std::string_view kSelectLoopsFormatStringMobile;

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
