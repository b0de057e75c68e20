-- The loop database at schema version 100930, without the Chinese transcript. A second database is made from this text and
-- compared with the one that the library makes.
CREATE  TABLE IF NOT EXISTS Loops (id INTEGER PRIMARY KEY AUTOINCREMENT, fileURL TEXT, fileName TEXT, key INTEGER, numberOfBeats INTEGER, timeSignatureTop INTEGER, timeSignatureBottom INTEGER, tempo INTEGER, keyType INTEGER, fileType INTEGER, hasMidi INTEGER, theme TEXT, collection TEXT, comment TEXT, copyright TEXT, author TEXT, title TEXT, isWebLoop INTEGER, lengthInSeconds FLOAT, instrumentTypeId INTEGER, instrumentSubTypeId INTEGER, genreId INTEGER, singleEnsembleKeywordId INTEGER, partFillKeywordId INTEGER, acousticElectricKeywordId INTEGER, dryProcessedKeywordId INTEGER, cleanDistortedKeywordId INTEGER, cheerfulDarkKeywordId INTEGER, relaxedIntenseKeywordId INTEGER, groovingArrhythmicKeywordId INTEGER, melodicDissonantKeywordId INTEGER );
ALTER TABLE main.Loops ADD COLUMN contentIdentifier TEXT;
ALTER TABLE main.Loops ADD COLUMN patchInfo INTEGER;
ALTER TABLE main.Loops ADD COLUMN ksLoopType INTEGER;
CREATE  TABLE IF NOT EXISTS Tagging (loopId INTEGER, keywordId INTEGER, PRIMARY KEY(loopId, keywordId));
CREATE  TABLE IF NOT EXISTS LoopsKeywords (loopId INTEGER PRIMARY KEY, instrumentType TEXT, instrumentSubType TEXT, genre TEXT, descriptors TEXT);
CREATE  TABLE  IF NOT EXISTS  Keywords (id INTEGER PRIMARY KEY AUTOINCREMENT, name TEXT, categoryId INTEGER);
CREATE  TABLE IF NOT EXISTS Crates (identifier TEXT PRIMARY KEY, crateName TEXT, manufacturer TEXT, isVirtualCrate INTEGER);
CREATE  TABLE IF NOT EXISTS CrateLoopRelation (crateId TEXT, loopId INTEGER, UNIQUE (crateId, loopId) ON CONFLICT REPLACE);
CREATE TABLE IF NOT EXISTS UserData (loopId INTEGER PRIMARY KEY, isFavorite INTEGER, rating INTEGER, userComment TEXT);
CREATE TABLE IF NOT EXISTS DatabaseMigrationInfos (id INTEGER PRIMARY KEY, key TEXT, integerValue INTEGER, floatValue FLOAT, textValue TEXT, blobValue BLOB);
CREATE TABLE IF NOT EXISTS keyword_distribution(keywordId INTEGER,count INTEGER);
CREATE TRIGGER IF NOT EXISTS trigger_delete_bundle_placeholder_loops BEFORE INSERT ON Loops BEGIN DELETE FROM Loops WHERE Loops.fileName = NEW.fileName AND Loops.isWebLoop = 1; END;
CREATE TRIGGER IF NOT EXISTS trigger_delete_loops_references_tagging AFTER DELETE ON Loops BEGIN DELETE FROM Tagging WHERE loopId = OLD.id; END;
CREATE TRIGGER IF NOT EXISTS trigger_delete_loops_references_keywords AFTER DELETE ON Loops BEGIN DELETE FROM LoopsKeywords WHERE loopId = OLD.id; END;
CREATE TRIGGER IF NOT EXISTS trigger_delete_loops_references_crates AFTER DELETE ON Loops BEGIN DELETE FROM CrateLoopRelation WHERE loopId = OLD.id; END;
CREATE INDEX IF NOT EXISTS index_loops_fileName_isWebLoop ON Loops (fileName,isWebLoop);
