#include "catalog/CatalogTest.h"
#include "VeskLoopManagement/catalog/LCDatabaseImport.h"

namespace {

const Rows kLayouts = {"first-layout", "100925", "100926", "100929", "100930"};

// Everything by its name, tables with the names of their columns, whatever their order. Transcripts are up to a switch,
// and tables of keywords to the loops.
constexpr const char* kSchema =
    "SELECT type, name, (SELECT group_concat(name) FROM (SELECT name FROM pragma_table_info(each.name) WHERE name <> "
    "'chineseTranscript' ORDER BY name)) FROM sqlite_master AS each WHERE sql NOT NULL AND name NOT LIKE 'sqlite_%' "
    "AND "
    "name NOT LIKE 'tagging_cache_%' ORDER BY type, name";

}  // namespace

class DatabaseImportTest : public CatalogTest {
 protected:
  // A database of an older layout, with the loops 11 and -12, both tagged "Tuba" and "Zorp".
  std::string olderDatabase(const std::string& layout, const std::string& name = "maker.db") const {
    execute("BEGIN;" + vesk::path::readFile(TEST_DATA_DIR "/loops-" + layout + ".sql").value() + "COMMIT", path(name));
    return path(name);
  }
  LCOutcome<LCImportReport> import(LCImportRequest request = {}) const {
    if (request.source.empty()) request.source = path("maker.db");
    return LCDatabaseImport::run(file, request);
  }
  // Loops of the source, before, after; new ones.
  static std::string figures(const LCImportReport& report) {
    const auto& loops = report.tables.at(0);
    return fmt::format("{} {}: {} {} {} {}", loops.table, report.wasImportedBefore, loops.inSource, loops.before,
                       loops.after, report.newLoops);
  }
  std::map<std::string, int64_t> facets(const LCLoopQuery& query = {}) const {
    std::map<std::string, int64_t> counts;
    const auto catalog = open();
    for (const auto& facet : valueOf(valueOf(catalog->search(query)).facets(LCFacetScope::all))) {
      counts[facet.keyword.name] = facet.loopCount;
    }
    return counts;
  }
};

TEST_F(DatabaseImportTest, DatabasesOfOlderLayoutsOpenUpgradeAndAnswer) {
  file = path("new.db");
  open({.access = LCCatalogAccess::create});
  const Rows schema = rows(kSchema);
  for (const std::string& layout : kLayouts) {
    file = olderDatabase(layout, layout + ".db");
    EXPECT_EQ(kindOf(LCCatalog::open(file)), layout == "100930" ? "" : "databaseOlder") << layout;
    const auto catalog = open({.access = LCCatalogAccess::mark});
    EXPECT_EQ(names(*catalog, {.keywords = {"Tuba"}}), (Rows{"Old Tuba 01.caf", "Old Tuba 02.caf"})) << layout;
    EXPECT_EQ(valueOf(catalog->loop(LCLoopReference::ofId(11))).marks, (LCLoopMarks{true, 4, "kept"})) << layout;
    EXPECT_EQ(rows(kSchema), schema) << layout;
    if (layout < "100929" || layout == "first-layout") continue;
    EXPECT_EQ(rows("SELECT DISTINCT chineseTranscript FROM Loops"), Rows{"TUBA"}) << layout;
  }
}

TEST_F(DatabaseImportTest, EveryColumnComesOverByItsNameFromEveryLayout) {
  add("L/Own.aif");
  scan({.paths = {"L"}});
  const std::string own = file;
  for (const std::string& layout : kLayouts) {
    file = path("own " + layout + ".db");
    std::filesystem::copy_file(own, file);
    execute(
        "INSERT INTO Keywords (id, name) VALUES (10009, 'Blip'); INSERT INTO Loops (id, title) VALUES (-12, 'Mine')");
    const std::string source = olderDatabase(layout, layout + ".db");
    const auto bytes = vesk::path::readFile(source);
    EXPECT_EQ(figures(valueOf(import({.source = source, .isDryRun = true}))), "Loops false: 2 2 3 1") << layout;
    EXPECT_EQ(figures(valueOf(import({.source = source}))), "Loops false: 2 2 3 1") << layout;
    EXPECT_TRUE(valueOf(import({.source = source})).wasImportedBefore);
    EXPECT_EQ(vesk::path::readFile(source), bytes);

    const LCConnection maker = lc::openConnection(source, LCOpenMode::readOnly);
    for (const auto& column : rowsOf(maker.get(), "SELECT name FROM pragma_table_info('Loops')")) {
      if (column == "chineseTranscript") continue;  // not here
      const std::string values = "SELECT " + column + " FROM Loops WHERE id = 11";
      EXPECT_EQ(rows(values), rowsOf(maker.get(), values)) << layout;
    }
    EXPECT_EQ(rows("SELECT title FROM Loops WHERE id = -12"), Rows{"Mine"}) << layout;
    EXPECT_EQ(rows("SELECT name FROM Tagging JOIN Keywords ON id = keywordId WHERE loopId = 11 ORDER BY name"),
              (Rows{"Tuba", "Zorp"}))
        << layout << ": numbered by each database for itself";
    EXPECT_EQ(rows("SELECT crateName, count(*) FROM Crates JOIN CrateLoopRelation ON crateId = identifier"),
              Rows{"Pack|2"})
        << layout;
    EXPECT_EQ(rows("SELECT * FROM UserData"), Rows{}) << layout;
    const auto counts = facets();
    EXPECT_TRUE(counts.at("Tuba") == 2 && counts.at("Zorp") == 2) << layout;
    EXPECT_EQ(names({.keywords = {"Tuba", "Zorp"}}).size(), 2u) << layout;
  }
}

TEST_F(DatabaseImportTest, IsMadeWhenMissingAndPointsNewLoopsOnlyToThePlaceholder) {
  olderDatabase("100930");
  EXPECT_EQ(kindOf(import({.isDryRun = true})), "databaseMissing");
  valueOf(import({.identifier = "it's", .placeholder = "file:///P/"}));
  EXPECT_EQ(rows("SELECT fileURL FROM Loops ORDER BY id"),
            (Rows{"file:///P/Old%20Tuba%2002.caf", "file:///P/Old%20Tuba%2001.caf"}));
  const auto again = valueOf(import({.identifier = "other", .placeholder = "file:///Q/"}));
  EXPECT_EQ(again.warning, "no loop came over: all 2 loops of the imported database are here already");
  EXPECT_EQ(rows("SELECT count(*) FROM Loops WHERE fileURL LIKE 'file:///P/%'"), Rows{"2"});
  execute("DELETE FROM Loops", path("maker.db"));
  EXPECT_EQ(valueOf(import({.identifier = "third"})).warning, "no loop came over: the imported database has none");
}

TEST_F(DatabaseImportTest, WhatCannotComeOverIsNamedWithItsCauseAndNothingChanges) {
  add("L/Own.aif");
  scan({.paths = {"L"}});
  const std::string whole = vesk::path::readFile(olderDatabase("100930")).value();
  std::string damaged = whole;
  damaged.replace(damaged.size() / 2, 9000, 9000, 'x');
  folder.addFile("damaged.db", damaged);
  olderDatabase("100930", "newer.db");
  execute("UPDATE DatabaseMigrationInfos SET integerValue = 200000", path("newer.db"));
  olderDatabase("100930", "other.db");
  execute("ALTER TABLE Keywords DROP COLUMN categoryId", path("other.db"));
  folder.addFile("text.db", "no database");
  const Rows before = rows("SELECT * FROM Loops");
  for (const auto& [name, kind] : {std::pair("gone.db", "databaseMissing"),
                                   {"damaged.db", "databaseDamaged"},
                                   {"newer.db", "databaseNewer"},
                                   {"text.db", "databaseForeign"},
                                   {"loops.db", "usage"},
                                   {"other.db", "database"}}) {
    const auto outcome = import({.source = path(name)});
    EXPECT_EQ(kindOf(outcome), kind) << name;
    EXPECT_TRUE(outcome || outcome.failure().subject == path(name)) << name;
  }
  EXPECT_EQ(kindOf(import({.placeholder = "no URL"})), "usage");
  EXPECT_EQ(kindOf(import({.identifier = ""})), "usage");
  EXPECT_EQ(rows("SELECT * FROM Loops"), before);
  EXPECT_EQ(rows("SELECT count(*) FROM DatabaseMigrationInfos WHERE key LIKE '%.db%'"), Rows{"0"});
}
