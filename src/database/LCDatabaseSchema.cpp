#include "VeskLoopManagement/database/LCDatabaseSchema.h"

#include "VeskLoopManagement/platform/Text.h"

#include <vector>

// The layout of databases that are out in the world: these texts are never reworded, their blanks included. Columns
// that came later are added to the table afterwards, so that an older file gains them in place.

constexpr std::string_view kCreateLoopsTableFormatString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (id INTEGER PRIMARY KEY AUTOINCREMENT, fileURL TEXT, fileName TEXT, "
    "key INTEGER, numberOfBeats INTEGER, timeSignatureTop INTEGER, timeSignatureBottom INTEGER, "
    "tempo INTEGER, keyType INTEGER, fileType INTEGER, hasMidi INTEGER, theme TEXT, collection TEXT, "
    "comment TEXT, copyright TEXT, author TEXT, title TEXT, isWebLoop INTEGER, lengthInSeconds FLOAT, "
    "instrumentTypeId INTEGER, instrumentSubTypeId INTEGER, genreId INTEGER, "
    "singleEnsembleKeywordId INTEGER, partFillKeywordId INTEGER, acousticElectricKeywordId INTEGER, "
    "dryProcessedKeywordId INTEGER, cleanDistortedKeywordId INTEGER, cheerfulDarkKeywordId INTEGER, "
    "relaxedIntenseKeywordId INTEGER, groovingArrhythmicKeywordId INTEGER, "
    "melodicDissonantKeywordId INTEGER );";

constexpr std::string_view kCreateTaggingTable =
    "CREATE %@ TABLE IF NOT EXISTS %@ (loopId INTEGER, keywordId INTEGER, PRIMARY KEY(loopId, keywordId));";

constexpr std::string_view kCreateLoopsKeywordsTableString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (loopId INTEGER PRIMARY KEY, instrumentType TEXT, "
    "instrumentSubType TEXT, genre TEXT, descriptors TEXT)";

constexpr std::string_view kCreateKeywordTableString =
    "CREATE %@ TABLE  IF NOT EXISTS  %@ (id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, "
    "categoryId INTEGER);";

constexpr std::string_view kCreateCrateTableString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (identifier TEXT PRIMARY KEY, crateName TEXT, manufacturer TEXT, "
    "isVirtualCrate INTEGER);";

constexpr std::string_view kCreateCrateRelationTableString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (crateId TEXT, loopId INTEGER, "
    "UNIQUE (crateId, loopId) ON CONFLICT REPLACE);";

constexpr std::string_view kCreateUserDataTableString =
    "CREATE TABLE IF NOT EXISTS UserData (loopId INTEGER PRIMARY KEY, isFavorite INTEGER, rating INTEGER, "
    "userComment TEXT);";

constexpr std::string_view kCreateDatabaseMigrationInfosTableString =
    "CREATE TABLE IF NOT EXISTS DatabaseMigrationInfos (id INTEGER PRIMARY KEY, key TEXT, "
    "integerValue INTEGER, floatValue FLOAT, textValue TEXT, blobValue BLOB);";

constexpr std::string_view kCreateLoudnessDatabaseMigrationInfosTableString =
    "CREATE TABLE IF NOT EXISTS DatabaseMigrationInfos (id INTEGER PRIMARY KEY AUTOINCREMENT, key TEXT, "
    "integerValue INTEGER, floatValue FLOAT, textValue TEXT, blobValue BLOB);";

constexpr std::string_view kCreateKeywordDistriubtionTableString =
    "CREATE TABLE IF NOT EXISTS keyword_distribution(keywordId INTEGER,count INTEGER)";

constexpr std::string_view kCreateLoopsLoudnessTableString =
    "CREATE TABLE IF NOT EXISTS LoopsLoudnessV4 (id INTEGER PRIMARY KEY AUTOINCREMENT, filename TEXT, "
    "integratedLoudness FLOAT, globalMaxTruePeak FLOAT, targetIntegratedLoudness FLOAT);";

constexpr std::string_view kCreateLoopsMetaInfoTableString =
    "CREATE TABLE IF NOT EXISTS LoopsMetaInfos (loopId INTEGER, stringValue TEXT, doubleValue FLOAT, "
    "integerValue INTEGER, type INTEGER, PRIMARY KEY (loopId, stringValue, doubleValue, integerValue, type), "
    "FOREIGN KEY (loopId) REFERENCES Loops (id) );";

constexpr std::string_view kCreateLoopsMetaInfoTriggerString =
    "CREATE TRIGGER IF NOT EXISTS trigger_delete_loops_references_LoopsMetaInfos "
    "AFTER DELETE ON Loops "
    "BEGIN DELETE FROM LoopsMetaInfos WHERE loopId = OLD.id; END;";

constexpr std::string_view kCreateLoopsResultTableFormatString =
    "CREATE %@ TABLE IF NOT EXISTS %@ (id INTEGER,fileURL TEXT,fileName TEXT,tempo INTEGER,"
    "numberOfBeats INTEGER,keyType INTEGER,key INTEGER,timeSignatureTop INTEGER,timeSignatureBottom INTEGER,"
    "fileType INTEGER,hasMidi INTEGER,isFavorite INTEGER,theme TEXT,collection TEXT,comment TEXT,"
    "copyright TEXT,author TEXT,title TEXT,isWebLoop INTEGER,lengthInSeconds FLOAT,instrumentTypeId INTEGER,"
    "instrumentSubTypeId INTEGER,genreId INTEGER,singleEnsembleKeywordId INTEGER,partFillKeywordId INTEGER,"
    "acousticElectricKeywordId INTEGER,dryProcessedKeywordId INTEGER,cleanDistortedKeywordId INTEGER,"
    "cheerfulDarkKeywordId INTEGER,relaxedIntenseKeywordId INTEGER,groovingArrhythmicKeywordId INTEGER,"
    "melodicDissonantKeywordId INTEGER,contentIdentifier TEXT,ksLoopType INTEGER);";

constexpr std::string_view kCreateLoopsResultTableFormatStringMobile =
    "CREATE %@ TABLE IF NOT EXISTS %@ (id INTEGER,fileURL TEXT,fileName TEXT,tempo INTEGER,"
    "numberOfBeats INTEGER,key INTEGER,hasMidi INTEGER,lengthInSeconds FLOAT,isFavorite INTEGER,"
    "instrumentTypeId INTEGER,instrumentSubTypeId INTEGER,genreId INTEGER,singleEnsembleKeywordId INTEGER,"
    "partFillKeywordId INTEGER,acousticElectricKeywordId INTEGER,dryProcessedKeywordId INTEGER,"
    "cleanDistortedKeywordId INTEGER,cheerfulDarkKeywordId INTEGER,relaxedIntenseKeywordId INTEGER,"
    "groovingArrhythmicKeywordId INTEGER,melodicDissonantKeywordId INTEGER#PLACEHOLDER# );";

constexpr std::array<std::string_view, 4> kCreateLoopsTriggerStrings = {
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

constexpr std::string_view kCreateLoopsIndexString =
    "CREATE INDEX IF NOT EXISTS index_loops_fileName_isWebLoop ON Loops (fileName,isWebLoop);";

// Columns are qualified throughout, the one of the ON clause included: a search joins further tables with a loopId of
// their own. The columns stand in the order of the result table, which is filled without naming them. NOT INDEXED
// changes no row: it keeps SQLite from visiting every loop in the order of its file name, one seek each, when it could
// scan the table or look up the few loops of a keyword by id.
constexpr std::string_view kSelectLoopsFormatString =
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

constexpr std::string_view kSelectLoopsFormatStringMobile =
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
