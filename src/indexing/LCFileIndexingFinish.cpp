// The statements at the end of a run. Failures are passed over: each statement stands for itself.
#include "indexing/EndOfRun.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/database/LCSQLiteUtilities.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"
#include "VeskLoopManagement/platform/Notifications.h"

namespace {

// Without them every statement below reads all of Tagging. They are gone again when the tables are made, so that the
// file keeps to its schema.
constexpr const char* kCreateKeywordIndex = "CREATE INDEX IF NOT EXISTS index_keywords_name ON Keywords (name)";
constexpr const char* kCreateTaggingIndex =
    "CREATE INDEX IF NOT EXISTS index_tagging_keywordId ON Tagging (keywordId, loopId)";
constexpr const char* kDropKeywordIndex = "DROP INDEX IF EXISTS index_keywords_name";
constexpr const char* kDropTaggingIndex = "DROP INDEX IF EXISTS index_tagging_keywordId";

// Loops with a keyword of a group get the group's keyword: Brass, Woodwind, All Effects, Effects, Boom, House, Hip
// Hop/RnB. The fifth names 'Impacts & Crahes', which no loop has; databases are made so, and searches rely on their
// counts.
constexpr const char* kGroupKeywordStatements[] = {
    "INSERT OR IGNORE INTO Tagging select Tagging.loopId as loopId, 10001 as keywordId FROM Tagging JOIN Keywords ON "
    "Keywords.id = Tagging.keywordId WHERE Keywords.name = 'Trumpet'  OR Keywords.name = 'Trombone' OR Keywords.name = "
    "'French Horn' OR Keywords.name = 'Tuba' OR Keywords.name = 'Harmonica'",

    "INSERT OR IGNORE INTO Tagging select Tagging.loopId as loopId, 10002 as keywordId FROM Tagging JOIN Keywords ON "
    "Keywords.id = Tagging.keywordId WHERE Keywords.name = 'Saxophone' OR Keywords.name = 'Flute'  OR Keywords.name = "
    "'Oboe' OR Keywords.name = 'Recorder' OR Keywords.name = 'Clarinet' OR Keywords.name = 'Pan Flute' OR "
    "Keywords.name = 'Bassoon' OR Keywords.name = 'Bagpipe'",

    "INSERT OR IGNORE INTO Tagging select Tagging.loopId as loopId, 10003 as keywordId FROM Tagging JOIN Keywords ON "
    "Keywords.id = Tagging.keywordId WHERE Keywords.name = 'Ambience'  OR Keywords.name = 'People' OR Keywords.name = "
    "'Transportation' OR Keywords.name = 'Weapons' OR Keywords.name = 'Explosions' OR Keywords.name = 'Impacts & "
    "Crashes' OR Keywords.name = 'Animals' OR Keywords.name = 'Sports & Leisure' OR Keywords.name = 'Mech/Tech' OR "
    "Keywords.name = 'Work/Home' OR Keywords.name = 'Misc.' OR Keywords.name = 'Foley' OR Keywords.name = 'Sci-Fi' OR "
    "Keywords.name = 'Texture/Atmosphere' OR Keywords.name = 'Vocals' OR Keywords.name = 'Mixed' OR Keywords.name = "
    "'Motions & Transitions'",

    "INSERT OR IGNORE INTO Tagging select Tagging.loopId as loopId, 10004 as keywordId FROM Tagging JOIN Keywords ON "
    "Keywords.id = Tagging.keywordId WHERE Keywords.name = 'Ambience'  OR Keywords.name = 'People' OR Keywords.name = "
    "'Transportation' OR Keywords.name = 'Weapons' OR Keywords.name = 'Explosions' OR Keywords.name = 'Impacts & "
    "Crashes' OR Keywords.name = 'Animals' OR Keywords.name = 'Sports & Leisure' OR Keywords.name = 'Mech/Tech' OR "
    "Keywords.name = 'Work/Home' OR Keywords.name = 'Misc.' OR Keywords.name = 'Foley' OR Keywords.name = 'Sci-Fi' OR "
    "Keywords.name = 'Texture/Atmosphere' OR Keywords.name = 'Vocals'",

    "INSERT OR IGNORE INTO Tagging select Tagging.loopId as loopId, 10005 as keywordId FROM Tagging JOIN Keywords ON "
    "Keywords.id = Tagging.keywordId WHERE Keywords.name = 'Impacts & Crahes' OR Keywords.name = 'Explosions'",

    "INSERT OR IGNORE INTO Tagging select Tagging.loopId as loopId, 10006 as keywordId FROM Tagging JOIN Keywords ON "
    "Keywords.id = Tagging.keywordId WHERE Keywords.name = 'Deep House' OR Keywords.name = 'Tech House' OR "
    "Keywords.name = 'Electro House'",

    "INSERT OR IGNORE INTO Tagging select Tagging.loopId as loopId, 10007 as keywordId FROM Tagging JOIN Keywords ON "
    "Keywords.id = Tagging.keywordId WHERE Keywords.name = 'Hip Hop' OR Keywords.name = 'Modern RnB' OR Keywords.name "
    "= "
    "'Urban'",
};

constexpr std::string_view kDropCachingTable = "drop table if exists %@";
constexpr std::string_view kCreateCachingTable =
    "create table %@ (loopId integer primary key); insert into %@ (loopId) select loopId from tagging where "
    "keywordId=%@";

constexpr const char* kDropKeywordDistribution = "drop table if exists keyword_distribution";
constexpr const char* kCreateKeywordDistribution =
    "create table keyword_distribution as select keywordId, count(*) as count from tagging group by keywordId order by "
    "count ASC";

constexpr const char* kRemoveEmptyCrates =
    "DELETE FROM Crates WHERE identifier IN (SELECT identifier FROM Crates LEFT OUTER JOIN CrateLoopRelation ON "
    "CrateLoopRelation.crateId = identifier GROUP BY identifier HAVING count(loopId) = 0)";

}  // namespace

std::span<const char* const> lc::groupKeywordStatements() {
  return kGroupKeywordStatements;
}

void lc::doEndOfRunWork(LCFileIndexing& indexer) {
  indexer.executeStatementWithNoReturnValue(kCreateKeywordIndex);
  indexer.executeStatementWithNoReturnValue(kCreateTaggingIndex);
  indexer.addSpecialCategoriesKeywords();
  indexer.createOptimizationTables();
  indexer.removeEmptyCrates();
}

void LCFileIndexing::finishIndexingInBlock(bool inBlock) {
  if (inBlock) beginBatch();
  lc::doEndOfRunWork(*this);
  if (inBlock) commitBatch();
  vesk::NotificationCenter::shared().postOnMainThread(LCFileIndexingDidFinishNotification);
}

void LCFileIndexing::addSpecialCategoriesKeywords() {
  for (const char* statement : kGroupKeywordStatements) executeStatementWithNoReturnValue(statement);
}

void LCFileIndexing::createOptimizationTables() {
  executeStatementWithNoReturnValue(kCreateTaggingIndex);
  // The ids are collected first: a table cannot be dropped while a statement of the connection stands on a row.
  LCResultDictionary keywords;
  executeStatementWithGenericReturnValue("select id from keywords", &keywords);
  for (const LCCell& cell : keywords["id"]) {
    const std::string id = lc::cellText(cell);
    const std::string table = std::string(lc::kCachingTablePrefix) + id;
    executeStatementWithNoReturnValue(lc::sqlFormat(kDropCachingTable, {table}));
    executeStatementWithNoReturnValue(lc::sqlFormat(kCreateCachingTable, {table, table, id}));
  }
  executeStatementWithNoReturnValue(kDropKeywordDistribution);
  executeStatementWithNoReturnValue(kCreateKeywordDistribution);
  executeStatementWithNoReturnValue(kDropTaggingIndex);
  executeStatementWithNoReturnValue(kDropKeywordIndex);
}

void LCFileIndexing::removeEmptyCrates() {
  executeStatementWithNoReturnValue(kRemoveEmptyCrates);
}
