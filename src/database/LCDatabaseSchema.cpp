#include "VeskLoopManagement/database/LCDatabaseSchema.h"

#include "VeskLoopManagement/platform/Text.h"

#include <vector>

const std::string kDefaultLoopsTablename = "Loops";
const std::string kDefaultTaggingTablename = "Tagging";
const std::string kDefaultLoopsKeywordsTablename = "LoopsKeywords";
const std::string kDefaultKeywordsTablename = "Keywords";
const std::string kDefaultCratesTableName = "Crates";
const std::string kDefaultCrateLoopRelationTablename = "CrateLoopRelation";
const std::string kDefaultUserDataTablename = "UserData";
const std::string kDefaultMetaInfoRelationTablename = "LoopsMetaInfos";

const std::string kLoopsContentIdentifierColumn = "contentIdentifier";
const std::string kLoopsChineseTranscriptColumn = "chineseTranscript";
const std::string kLoopsPatchInfoColumn = "patchInfo";
const std::string kLoopsKSLoopTypeColumn = "ksLoopType";
const std::string kLoopsDefaultLoopTypeColumn = "hasMidi";

const std::string kCurrentDatabaseSchemaVersionString = "313089";
const std::string kLCCurrentDatabaseSchemaVersionStringKey = "LCCurrentDatabaseSchemaVersionStringV09";
const std::string kCorruptDatabaseFileIndicatorName = "LoopsDatabaseV10.db-isDamaged";
const std::string kLoudnessDatabaseFileName = "LoudnessDatabaseV04";
const std::string kLoudnessDatabaseExtension = "sqlite";

// The layout of databases that are out in the world: these texts are never reworded, their blanks included. Columns
// that came later are added to the table afterwards, so that an older file gains them in place.

const std::string kCreateLoopsTableFormatString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (id INTEGER PRIMARY KEY AUTOINCREMENT, fileURL TEXT, fileName TEXT, "
    "key INTEGER, numberOfBeats INTEGER, timeSignatureTop INTEGER, timeSignatureBottom INTEGER, "
    "tempo INTEGER, keyType INTEGER, fileType INTEGER, hasMidi INTEGER, theme TEXT, collection TEXT, "
    "comment TEXT, copyright TEXT, author TEXT, title TEXT, isWebLoop INTEGER, lengthInSeconds FLOAT, "
    "instrumentTypeId INTEGER, instrumentSubTypeId INTEGER, genreId INTEGER, "
    "singleEnsembleKeywordId INTEGER, partFillKeywordId INTEGER, acousticElectricKeywordId INTEGER, "
    "dryProcessedKeywordId INTEGER, cleanDistortedKeywordId INTEGER, cheerfulDarkKeywordId INTEGER, "
    "relaxedIntenseKeywordId INTEGER, groovingArrhythmicKeywordId INTEGER, "
    "melodicDissonantKeywordId INTEGER );";

const std::string kCreateTaggingTable =
    "CREATE %@ TABLE IF NOT EXISTS %@ (loopId INTEGER, keywordId INTEGER, PRIMARY KEY(loopId, keywordId));";

const std::string kCreateLoopsKeywordsTableString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (loopId INTEGER PRIMARY KEY, instrumentType TEXT, "
    "instrumentSubType TEXT, genre TEXT, descriptors TEXT)";

const std::string kCreateKeywordTableString =
    "CREATE %@ TABLE  IF NOT EXISTS  %@ (id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, "
    "categoryId INTEGER);";

const std::string kCreateCrateTableString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (identifier TEXT PRIMARY KEY, crateName TEXT, manufacturer TEXT, "
    "isVirtualCrate INTEGER);";

const std::string kCreateCrateRelationTableString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (crateId TEXT, loopId INTEGER, "
    "UNIQUE (crateId, loopId) ON CONFLICT REPLACE);";

const std::string kCreateUserDataTableString =
    "CREATE TABLE IF NOT EXISTS UserData (loopId INTEGER PRIMARY KEY, isFavorite INTEGER, rating INTEGER, "
    "userComment TEXT);";

const std::string kCreateDatabaseMigrationInfosTableString =
    "CREATE TABLE IF NOT EXISTS DatabaseMigrationInfos (id INTEGER PRIMARY KEY, key TEXT, "
    "integerValue INTEGER, floatValue FLOAT, textValue TEXT, blobValue BLOB);";

const std::string kCreateLoudnessDatabaseMigrationInfosTableString =
    "CREATE TABLE IF NOT EXISTS DatabaseMigrationInfos (id INTEGER PRIMARY KEY AUTOINCREMENT, key TEXT, "
    "integerValue INTEGER, floatValue FLOAT, textValue TEXT, blobValue BLOB);";

const std::string kCreateKeywordDistriubtionTableString =
    "CREATE TABLE IF NOT EXISTS keyword_distribution(keywordId INTEGER,count INTEGER)";

const std::string kCreateLoopsLoudnessTableString =
    "CREATE TABLE IF NOT EXISTS LoopsLoudnessV4 (id INTEGER PRIMARY KEY AUTOINCREMENT, filename TEXT, "
    "integratedLoudness FLOAT, globalMaxTruePeak FLOAT, targetIntegratedLoudness FLOAT);";

const std::string kCreateLoopsMetaInfoTableString =
    "CREATE TABLE IF NOT EXISTS LoopsMetaInfos (loopId INTEGER, stringValue TEXT, doubleValue FLOAT, "
    "integerValue INTEGER, type INTEGER, PRIMARY KEY (loopId, stringValue, doubleValue, integerValue, type), "
    "FOREIGN KEY (loopId) REFERENCES Loops (id) );";

const std::string kCreateLoopsMetaInfoTriggerString =
    "CREATE TRIGGER IF NOT EXISTS trigger_delete_loops_references_LoopsMetaInfos "
    "AFTER DELETE ON Loops "
    "BEGIN DELETE FROM LoopsMetaInfos WHERE loopId = OLD.id; END;";

const std::string kCreateLoopsResultTableFormatString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (id INTEGER,fileURL TEXT,fileName TEXT,tempo INTEGER,"
    "numberOfBeats INTEGER,keyType INTEGER,key INTEGER,timeSignatureTop INTEGER,timeSignatureBottom INTEGER,"
    "fileType INTEGER,hasMidi INTEGER,isFavorite INTEGER,theme TEXT,collection TEXT,comment TEXT,"
    "copyright TEXT,author TEXT,title TEXT,isWebLoop INTEGER,lengthInSeconds FLOAT,instrumentTypeId INTEGER,"
    "instrumentSubTypeId INTEGER,genreId INTEGER,singleEnsembleKeywordId INTEGER,partFillKeywordId INTEGER,"
    "acousticElectricKeywordId INTEGER,dryProcessedKeywordId INTEGER,cleanDistortedKeywordId INTEGER,"
    "cheerfulDarkKeywordId INTEGER,relaxedIntenseKeywordId INTEGER,groovingArrhythmicKeywordId INTEGER,"
    "melodicDissonantKeywordId INTEGER,contentIdentifier TEXT,ksLoopType INTEGER);";

const std::string kCreateLoopsResultTableFormatStringMobile =
    "CREATE %@ TABLE IF NOT EXISTS %@ (id INTEGER,fileURL TEXT,fileName TEXT,tempo INTEGER,"
    "numberOfBeats INTEGER,key INTEGER,hasMidi INTEGER,lengthInSeconds FLOAT,isFavorite INTEGER,"
    "instrumentTypeId INTEGER,instrumentSubTypeId INTEGER,genreId INTEGER,singleEnsembleKeywordId INTEGER,"
    "partFillKeywordId INTEGER,acousticElectricKeywordId INTEGER,dryProcessedKeywordId INTEGER,"
    "cleanDistortedKeywordId INTEGER,cheerfulDarkKeywordId INTEGER,relaxedIntenseKeywordId INTEGER,"
    "groovingArrhythmicKeywordId INTEGER,melodicDissonantKeywordId INTEGER#PLACEHOLDER# );";

const std::array<std::string, 4> kCreateLoopsTriggerStrings = {
    "CREATE TRIGGER IF NOT EXISTS trigger_delete_bundle_placeholder_loops "
    "BEFORE INSERT ON Loops "
    "BEGIN DELETE FROM Loops WHERE Loops.fileName = NEW.fileName AND Loops.isWebLoop = 1; END;",
    "CREATE TRIGGER IF NOT EXISTS trigger_delete_loops_references_tagging "
    "AFTER DELETE ON Loops "
    "BEGIN DELETE FROM Tagging WHERE loopId = OLD.id; END;",
    "CREATE TRIGGER IF NOT EXISTS trigger_delete_loops_references_keywords "
    "AFTER DELETE ON Loops "
    "BEGIN DELETE FROM LoopsKeywords WHERE loopId = OLD.id; END;",
    "CREATE TRIGGER IF NOT EXISTS trigger_delete_loops_references_crates "
    "AFTER DELETE ON Loops "
    "BEGIN DELETE FROM CrateLoopRelation WHERE loopId = OLD.id; END;"};

const std::string kCreateLoopsIndexString =
    "CREATE INDEX IF NOT EXISTS index_loops_fileName_isWebLoop ON Loops (fileName,isWebLoop);";

// Columns are qualified throughout, the one of the ON clause included: a search joins further tables with a loopId of
// their own. The columns stand in the order of the result table, which is filled without naming them. NOT INDEXED
// changes no row: it keeps SQLite from visiting every loop in the order of its file name, one seek each, when it could
// scan the table or look up the few loops of a keyword by id.
const std::string kSelectLoopsFormatString =
    "SELECT %@.id as id, %@.fileURL as fileURL, %@.fileName as fileName, %@.tempo as tempo, "
    "%@.numberOfBeats as numberOfBeats, %@.keyType as keyType, %@.key as key, "
    "%@.timeSignatureTop as timeSignatureTop, %@.timeSignatureBottom as timeSignatureBottom, "
    "%@.fileType as fileType, %@.hasMidi as hasMidi, UserData.isFavorite as isFavorite, %@.theme as theme, "
    "%@.collection as collection, %@.comment as comment, %@.copyright as copyright, %@.author as author, "
    "%@.title as title, %@.isWebLoop as isWebLoop, %@.lengthInSeconds as lengthInSeconds, "
    "%@.instrumentTypeId as instrumentTypeId, %@.instrumentSubTypeId as instrumentSubTypeId, "
    "%@.genreId as genreId, %@.singleEnsembleKeywordId as singleEnsembleKeywordId, "
    "%@.partFillKeywordId as partFillKeywordId, %@.acousticElectricKeywordId as acousticElectricKeywordId, "
    "%@.dryProcessedKeywordId as dryProcessedKeywordId, "
    "%@.cleanDistortedKeywordId as cleanDistortedKeywordId, "
    "%@.cheerfulDarkKeywordId as cheerfulDarkKeywordId, "
    "%@.relaxedIntenseKeywordId as relaxedIntenseKeywordId, "
    "%@.groovingArrhythmicKeywordId as groovingArrhythmicKeywordId, "
    "%@.melodicDissonantKeywordId as melodicDissonantKeywordId, %@.contentIdentifier as contentIdentifier, "
    "%@.ksLoopType as ksLoopType "
    "FROM %@ NOT INDEXED "
    "LEFT JOIN UserData ON UserData.loopId = %@.id ";

const std::string kSelectLoopsFormatStringMobile =
    "SELECT %@.id as id, %@.fileURL as fileURL, %@.fileName as fileName, %@.tempo as tempo, "
    "%@.numberOfBeats as numberOfBeats, %@.key as key, %@.hasMidi as hasMidi, "
    "%@.lengthInSeconds as lengthInSeconds, UserData.isFavorite as isFavorite, "
    "%@.instrumentTypeId as instrumentTypeId, %@.instrumentSubTypeId as instrumentSubTypeId, "
    "%@.genreId as genreId, %@.singleEnsembleKeywordId as singleEnsembleKeywordId, "
    "%@.partFillKeywordId as partFillKeywordId, %@.acousticElectricKeywordId as acousticElectricKeywordId, "
    "%@.dryProcessedKeywordId as dryProcessedKeywordId, "
    "%@.cleanDistortedKeywordId as cleanDistortedKeywordId, "
    "%@.cheerfulDarkKeywordId as cheerfulDarkKeywordId, "
    "%@.relaxedIntenseKeywordId as relaxedIntenseKeywordId, "
    "%@.groovingArrhythmicKeywordId as groovingArrhythmicKeywordId, "
    "%@.melodicDissonantKeywordId as melodicDissonantKeywordId#PLACEHOLDER# "
    "FROM %@ NOT INDEXED "
    "LEFT JOIN UserData ON UserData.loopId = %@.id ";

std::string lc::sqlFormat(std::string_view format, std::span<const std::string_view> arguments) {
  std::string sql;
  auto argument = arguments.begin();
  for (size_t i = 0; i < format.size(); ++i) {
    const std::string_view mark = format.substr(i, 2);
    if (mark == "%%") {
      sql += '%';
      ++i;
    } else if (mark == "%@" && argument != arguments.end()) {
      sql += *argument++;
      ++i;
    } else {
      sql += format[i];
    }
  }
  return sql;
}

std::string lc::sqlFormat(std::string_view format, std::initializer_list<std::string_view> arguments) {
  return lc::sqlFormat(format, std::span<const std::string_view>(arguments.begin(), arguments.size()));
}

std::string lc::sqlFormat(std::string_view format, std::span<const std::string> arguments) {
  const std::vector<std::string_view> views(arguments.begin(), arguments.end());
  return lc::sqlFormat(format, std::span<const std::string_view>(views));
}

std::string lc::sqlEscaped(std::string_view text) {
  return vesk::text::replacingAll(text, "'", "''");
}

std::string lc::sqlDoubleQuoteEscaped(std::string_view text) {
  return vesk::text::replacingAll(text, "\"", "\"\"");
}
