// Tags of files are changed one by one, refused with a reason, journaled and taken back; the database follows.
#include "CatalogTest.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"

#include <fmt/format.h>

namespace {

namespace fs = std::filesystem;
using fixture::Bytes;
using fixture::chunk;
using Kind = LCTagChange::Kind;
using enum LCTagField;

LCTagChange setting(LCTagField field, const std::string& text) {
  return {.kind = Kind::set, .field = field, .text = text};
}

LCTagChange clearing(LCTagField field) {
  return {.kind = Kind::clear, .field = field};
}

// What a run told: of each file "name: genre=Jazz …", "name: -" unchanged, or "name: problem".
struct TagLog : LCTagObserver {
  void fileDone(const LCTagReport& report) override {
    std::string told = vesk::path::lastComponent(report.path) + ":";
    for (const auto& [name, change] : report.fields) told += " " + name + "=" + change.to.value_or("");
    if (report.problem) told += " " + lc::tagProblemName(*report.problem);
    if (!report.problem && !report.isChanged) told += " -";
    files.push_back(told);
    last = report;
  }
  void noted(const std::string& text) override { notes.push_back(text); }
  void warned(const std::string& text, const std::string&) override { notes.push_back(text); }
  bool shouldContinue() override { return files.size() < mostFiles; }

  Rows files, notes;
  LCTagReport last;
  size_t mostFiles = 1000;
};

struct TagRun : CatalogTest {
  LCOutcome<LCTagRunReport> tryToTag(const Rows& names, const std::vector<LCTagChange>& changes,
                                     LCTagOptions options = {}) {
    size_t next = 0;
    options.nextEdit = [&]() -> std::optional<LCTagEdit> {
      if (next == names.size()) return std::nullopt;
      return LCTagEdit{.path = path(names[next++]), .changes = changes};
    };
    told.files.clear();
    return LCTagRun::run(options, told);
  }
  Rows tag(const Rows& names, const std::vector<LCTagChange>& changes, const LCTagOptions& options = {}) {
    valueOf(tryToTag(names, changes, options));
    return told.files;
  }
  Rows undo(std::optional<int64_t> run = std::nullopt, const LCTagOptions& options = {}) {
    told.files.clear();
    valueOf(LCTagRun::undo(run, options, told));
    return told.files;
  }
  // Of each run: files, of them undone, and whether it came to its end.
  static Rows history() {
    Rows runs;
    for (const auto& run : valueOf(LCTagRun::history())) {
      runs.push_back(fmt::format("{} {} {}", run.files, run.undone, run.isFinished));
    }
    return runs;
  }
  std::string bytes(const std::string& name) const { return vesk::path::readFile(path(name)).value_or(""); }
  void write(const std::string& name, const std::string& contents) const { folder.addFile(name, contents); }
  std::string journal() const { return environment->stateFolder() + "/tag-journal.db"; }

  TagLog told;
};

// Two comments, a category of version 2, reserved bytes and a pad byte that are not 0, bytes behind the form.
Bytes oddLoop(const std::string& genre) {
  Bytes category = fixture::cateV2Payload("Drums", "Drum Kit", genre, {"Dry", "Grooving"}, "Mine", "Night");
  category[160] = category[321] = std::byte{7};
  Bytes basic = fixture::bascPayload(8, 48, 2, 4, 4, 1);
  basic[40] = std::byte{9};
  fixture::Chunk odd = chunk("odd ", "abc");
  odd.pad = 5;
  return fixture::formFile(
      "FORM", "AIFF",
      {fixture::commChunk(1, 400, 8, fixture::extended(100)), chunk("cate", category), odd, fixture::ssndChunk(400),
       chunk("COMT", fixture::comtPayload({"one", "two"})), chunk("basc", basic)},
      {.trailing = fixture::bytesOf("tail")});
}

Bytes cafLoop() {
  return fixture::cafFile({fixture::cafInfoChunk({{"title", "T"}, {"other", "O"}}),
                           chunk("uuid", fixture::searchInfoPayload({{"genre", "Funk"},
                                                                     {"category", "Drums"},
                                                                     {"beat count", "8"},
                                                                     {"time signature", "4/4"},
                                                                     {"unknown", "stays"}})),
                           chunk("free", "   ")});
}

Bytes wavLoop() {
  return fixture::wavFile({chunk("acid", fixture::acidPayload(0, 60, 8, 4, 4, 120)), chunk("cue ", "odd")});
}

TEST_F(TagRun, ChangesNothingButTheField) {
  add("A.aif", oddLoop("Funk"));
  add("expected.aif", oddLoop("Jazz"));
  const auto options = LCTagOptions{.keepsModificationTime = true};
  fs::last_write_time(path("A.aif"), fs::file_time_type{});
  EXPECT_EQ(tag({"A.aif"}, {setting(genre, "Jazz")}, options), Rows{"A.aif: genre=Jazz"});
  EXPECT_TRUE(bytes("A.aif") == bytes("expected.aif"));
  EXPECT_EQ(fs::last_write_time(path("A.aif")), fs::file_time_type{});
  EXPECT_NE(told.last.oldId, told.last.newId);
  EXPECT_EQ(tag({"A.aif"}, {setting(genre, "Jazz"), clearing(title)}), Rows{"A.aif: -"});
  EXPECT_EQ(history(), Rows{"1 0 true"});    // no run without a file
  add("Jazz/Dark.caf", fixture::cafFile());  // words of the path become the file's when they are given, and not else
  EXPECT_EQ(tag({"Jazz/Dark.caf"}, {{.kind = Kind::removeDescriptor, .text = "Dry"}, clearing(instrument)}),
            Rows{"Dark.caf: -"});
  EXPECT_EQ(tag({"Jazz/Dark.caf"}, {setting(genre, "Jazz")}), Rows{"Dark.caf: fileType=one-shot"});
  EXPECT_EQ(told.last.oldId, told.last.newId);
}

TEST_F(TagRun, RefusesWithTheReasonAndLeavesTheFileAlone) {
  add("A.aif");
  add("P.aif", fixture::loopFile({}, {chunk("PTCH", "x")}));
  add("C.caf", cafLoop());
  add("long.caf", fixture::cafFile({fixture::cafInfoChunk({{"title", std::string(70000, 'x')}})}));
  add("W.wav", wavLoop());
  add("text.txt", fixture::bytesOf("no audio"));
  add("L.loopdata", fixture::bytesOf("no archive"));
  add("cut.aif", fixture::formFile("FORM", "AIFF",
                                   {fixture::commChunk(1, 400, 8, fixture::extended(100)),
                                    {.id = "SSND", .payload = Bytes(20), .declaredSize = 4000}}));
  add("two.aif");
  fs::create_hard_link(path("two.aif"), path("names.aif"));
  add("closed.aif");
  fs::permissions(path("closed.aif"), fs::perms::owner_read);
  const struct {
    std::string name;
    LCTagChange change;
    std::string problem;
    std::string detail;  // a part of it
    bool allowsUnknown = false;
  } cases[] = {
      {"A.aif", setting(genre, "Jaz"), "unknownKeyword", "unknown genre \"Jaz\""},
      {"A.aif", setting(genre, "Drums"), "unknownKeyword", "a keyword, but no genre"},
      {"A.aif", {.kind = Kind::addDescriptor, .text = "Wet"}, "unknownKeyword", "Wet"},
      {"A.aif", setting(beats, "many"), "invalidValue", "beats: \"many\""},
      {"A.aif", setting(genre, std::string(60, 'x')), "notCarried", "it would read back as \"xx", true},
      {"P.aif", clearing(patchInfo), "notCarried", "would read back as \"1\""},
      {"long.caf", {.kind = Kind::addDescriptor, .text = "Dark"}, "irregular", "may not be whole"},
      {"C.caf", setting(theme, "Night"), "notCarried", "theme"},
      {"C.caf", setting(fileType, "one-shot"), "notCarried", "fileType"},
      {"C.caf", setting(key, "69"), "notCarried", "48"},
      {"W.wav", setting(genre, "Jazz"), "notCarried", "genre"},
      {"text.txt", setting(genre, "Jazz"), "unsupported", "AIFF, WAV and CAF"},
      {"L.loopdata", setting(genre, "Jazz"), "unsupported", "of this kind"},
      {"cut.aif", setting(genre, "Jazz"), "irregular", "not safe to rewrite"},
      {"names.aif", setting(genre, "Jazz"), "hasOtherNames", "hard links"},
      {"closed.aif", setting(genre, "Jazz"), "readOnly", "read-only"},
      {"gone.aif", setting(genre, "Jazz"), "notFound", ""},
  };
  for (const auto& [name, change, problem, detail, allowsUnknown] : cases) {
    const std::string before = bytes(name);
    tag({name}, {change}, {.allowsUnknownKeywords = allowsUnknown});
    EXPECT_EQ(told.last.problem ? lc::tagProblemName(*told.last.problem) : "", problem) << name << told.last.detail;
    EXPECT_NE(told.last.detail.find(detail), std::string::npos) << name << ": " << told.last.detail;
    EXPECT_TRUE(bytes(name) == before) << name;
  }
  tag({"A.aif"}, {setting(genre, "Jaz")});
  EXPECT_EQ(told.last.nearNames.at(0), "Jazz");
  tag({"A.aif"}, {setting(subInstrument, "Kick"), setting(instrument, "Bass")}, {.isDryRun = true});
  EXPECT_EQ(told.last.notes, Rows{"Kick is a kind of Drums, and the instrument is Bass"});
  EXPECT_TRUE(history().empty());
  tag({"names.aif"}, {setting(genre, "Jazz")}, {.copiesBack = true});
  EXPECT_TRUE(bytes("two.aif") == bytes("names.aif") && bytes("two.aif") != bytes("A.aif"));
  EXPECT_EQ(undo(), Rows{"names.aif: hasOtherNames"});
  undo(std::nullopt, {.copiesBack = true});
  EXPECT_TRUE(bytes("two.aif") == bytes("A.aif"));
}

TEST_F(TagRun, GivesFilesTheirFormerBytesBack) {
  add("A.aif", oddLoop("Funk"));
  add("C.caf", cafLoop());
  add("D.caf", fixture::cafFile());
  add("W.wav", wavLoop());
  add("E.wav", fixture::wavFile({}, 2, 0));  // chunks go in front of empty audio
  fs::create_symlink("A.aif", path("link.aif"));
  const Rows names = {"A.aif", "C.caf", "D.caf", "W.wav", "E.wav", "link.aif"};
  Rows before;
  for (const auto& name : names) before.push_back(bytes(name));
  const std::vector<LCTagChange> changes = {setting(integratedLoudness, "-14.5"), setting(iconId, "7")};
  EXPECT_EQ(tag({"A.aif", "C.caf", "D.caf", "W.wav", "E.wav"}, changes).size(), 5u);
  EXPECT_EQ(tag({"link.aif", "C.caf"}, {setting(comment, "mine"), {.kind = Kind::addDescriptor, .text = "Dark, Dry"}}),
            (Rows{"A.aif: comment=mine descriptors=Dark, Dry, Grooving", "C.caf: comment=mine descriptors=Dark, Dry"}));
  EXPECT_EQ(tag({"C.caf"}, {clearing(genre), clearing(title)}), Rows{"C.caf: genre= title="});
  EXPECT_EQ(undo(), Rows{"C.caf: genre=Funk title=T"});
  EXPECT_EQ(undo(), (Rows{"C.caf: comment= descriptors=", "A.aif: comment=one descriptors=Dry, Grooving"}));
  EXPECT_EQ(undo(std::nullopt, {.isDryRun = true}).size(), 5u);
  EXPECT_EQ(history(), (Rows{"1 1 true", "2 2 true", "5 0 true"}));
  for (const auto& each : undo()) EXPECT_NE(each.find(": iconId= integratedLoudness="), std::string::npos) << each;
  for (size_t i = 0; i < names.size(); ++i) EXPECT_TRUE(bytes(names[i]) == before[i]) << names[i];
  EXPECT_EQ(kindOf(LCTagRun::undo(std::nullopt, {}, told)), "notFound");
  EXPECT_EQ(kindOf(LCTagRun::filesOfRun(9)), "notFound");
}

TEST_F(TagRun, UndoesOnlyWhatIsAsTheEditLeftIt) {
  const Rows names = {"audio.aif", "gone.aif", "longer.aif", "restored.aif", "tags.aif"};
  for (const auto& name : names) add(name, oddLoop("Funk"));
  tag(names, {setting(genre, "Jazz")});
  std::string changed = bytes("audio.aif");
  changed[changed.find("SSND") + 50] = 1;
  write("audio.aif", changed);
  fs::remove(path("gone.aif"));
  write("longer.aif", bytes("longer.aif") + "more");
  add("restored.aif", oddLoop("Funk"));
  add("tags.aif", oddLoop("Rock"));
  EXPECT_EQ(undo(), (Rows{"tags.aif: changed", "restored.aif: -", "longer.aif: changed", "gone.aif: notFound",
                          "audio.aif: changed"}));
  EXPECT_TRUE(bytes("audio.aif") == changed);
  EXPECT_EQ(history(), Rows{"5 1 true"});
}

// Ended between two files, killed before one was written, and killed before what was written was read again.
TEST_F(TagRun, TellsHowFarARunCameThatWasEndedHalfWay) {
  for (const char* name : {"A.aif", "B.aif", "C.aif"}) add(name, oddLoop("Funk"));
  const std::string before = bytes("A.aif");
  told.mostFiles = 2;
  const auto report = valueOf(tryToTag({"A.aif", "B.aif", "C.aif"}, {setting(genre, "Jazz")}));
  EXPECT_TRUE(report.isInterrupted);
  EXPECT_EQ(history(), Rows{"2 0 false"});
  execute("UPDATE Files SET status = 0, latterModified = NULL", journal());
  EXPECT_EQ(history(), Rows{"2 0 false"});
  write("B.aif", before);
  EXPECT_EQ(history(), Rows{"1 0 false"});
  EXPECT_EQ(valueOf(LCTagRun::filesOfRun(report.runId)).at(0).path, path("A.aif"));
  tag({"B.aif"}, {setting(genre, "Rock/Blues")});  // from the former bytes on
  EXPECT_EQ(history(), (Rows{"1 0 true", "1 0 false"}));
  told.mostFiles = 1000;
  EXPECT_EQ(undo(report.runId), Rows{"A.aif: genre=Funk"});
  EXPECT_TRUE(bytes("A.aif") == before);
}

TEST_F(TagRun, TheDatabaseFollowsWithWhatTheUserHasPutToTheLoops) {
  add("A.aif", oddLoop("Funk"));
  add("out.aif", oddLoop("Funk"));
  EXPECT_EQ(tag({"out.aif"}, {setting(title, "T")}, {.databaseFile = file}), Rows{"out.aif: title=T"});
  EXPECT_EQ(told.notes.size(), 1u);  // no database
  scan({.paths = {"A.aif"}, .package = "Mine"});
  execute(
      "INSERT INTO UserData SELECT id, 1, 4, 'mine' FROM Loops;"
      "INSERT INTO LoopsLoudnessV4 SELECT id, fileName, -9, -1, -18 FROM Loops");
  const auto everything = [this] {
    return rows(
        "SELECT fileURL LIKE '%/A.aif', title, rating, userComment, LoopsLoudnessV4.integratedLoudness, "
        "count(crateId) FROM Loops LEFT JOIN "
        "UserData ON UserData.loopId = id LEFT JOIN LoopsLoudnessV4 USING (id) LEFT JOIN CrateLoopRelation ON "
        "CrateLoopRelation.loopId = id GROUP BY id");
  };
  const LCTagOptions options{.databaseFile = file};
  tag({"A.aif", "out.aif"}, {setting(genre, "Jazz")}, options);
  EXPECT_EQ(everything(), Rows{"1|NULL|4|mine|-9.0|1"});
  EXPECT_EQ(names({.keywords = {"Jazz"}}), Rows{"A.aif"});
  tag({"A.aif"}, {setting(title, "T")}, options);
  EXPECT_EQ(told.last.oldId, told.last.newId);
  EXPECT_EQ(everything(), Rows{"1|T|4|mine|-9.0|1"});
  undo(std::nullopt, options);
  execute(
      "CREATE TRIGGER refusing BEFORE INSERT ON UserData BEGIN SELECT RAISE(ABORT, 'x'); END;"
      "CREATE TRIGGER refusingToo BEFORE UPDATE ON UserData BEGIN SELECT RAISE(ABORT, 'x'); END");
  EXPECT_EQ(kindOf(LCTagRun::undo(std::nullopt, options, told)), "database");
  EXPECT_EQ(told.files.back(), "A.aif: genre=Funk");  // and the next scan follows
  execute("DROP TRIGGER refusing; DROP TRIGGER refusingToo");
  scan({.paths = {"A.aif"}});
  EXPECT_EQ(everything(), Rows{"1|NULL|4|mine|-9.0|1"});
}

TEST_F(TagRun, ADryRunTellsTheSameAndWritesNothing) {
  add("A.aif", oddLoop("Funk"));
  const std::string before = bytes("A.aif");
  const std::vector<LCTagChange> changes = {setting(genre, "Jazz"), setting(beats, "16")};
  const Rows dry = tag({"A.aif"}, changes, {.backupFolder = path("backup"), .isDryRun = true});
  EXPECT_TRUE(bytes("A.aif") == before);
  EXPECT_FALSE(fs::exists(path("backup")) || fs::exists(environment->stateFolder()));
  EXPECT_EQ(tag({"A.aif"}, changes), dry);
  const std::string after = bytes("A.aif");
  EXPECT_EQ(undo(std::nullopt, {.isDryRun = true}), Rows{"A.aif: beats=8 genre=Funk tempo=120"});
  EXPECT_TRUE(bytes("A.aif") == after);
}

TEST_F(TagRun, BackupsNeverReplaceWhatIsThere) {
  add("A.aif", oddLoop("Funk"));
  add("sub/A.aif", oddLoop("Rock"));
  const std::string before = bytes("A.aif");
  tag({"A.aif", "sub/A.aif"}, {setting(genre, "Jazz")}, {.backupFolder = path("backup/new")});
  EXPECT_EQ(told.last.backup, path("backup/new/A 2.aif"));
  EXPECT_TRUE(bytes("backup/new/A.aif") == before);
  EXPECT_EQ(tag({"A.aif"}, {setting(genre, "Funk")}, {.backupFolder = path("sub/A.aif")}), Rows{"A.aif: backupFailed"});
}

TEST_F(TagRun, NothingIsTaggedWithoutItsJournal) {
  add("A.aif", oddLoop("Funk"));
  const std::string before = bytes("A.aif");
  const auto kindWith = [&](const std::string& sql, const std::string& contents = {}) {
    fs::remove_all(journal());
    fs::create_directories(environment->stateFolder());
    if (sql.empty()) {
      folder.addFile("damaged", contents);
      fs::copy_file(path("damaged"), journal(), fs::copy_options::overwrite_existing);
    } else {
      execute(sql, journal());
    }
    return kindOf(tryToTag({"A.aif"}, {setting(genre, "Jazz")}));
  };
  EXPECT_EQ(kindWith("CREATE TABLE Runs (id); PRAGMA user_version = 2"), "databaseNewer");
  EXPECT_EQ(kindWith("CREATE TABLE Others (id)"), "databaseForeign");
  EXPECT_EQ(kindWith("", std::string(4096, 'x')), "databaseDamaged");
  EXPECT_EQ(vesk::path::readFile(journal()), std::string(4096, 'x'));
  fs::remove(journal());
  fs::create_directories(journal());
  EXPECT_EQ(kindOf(tryToTag({"A.aif"}, {setting(genre, "Jazz")})), "databaseUnopenable");
  EXPECT_TRUE(bytes("A.aif") == before);
  fs::remove(journal());
  EXPECT_EQ(tag({"A.aif"}, {setting(genre, "Jazz")}), Rows{"A.aif: genre=Jazz"});
  EXPECT_EQ(fs::status(journal()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
  constexpr uint64_t kTooMuch = uint64_t{300} << 20;  // that is no audio; none of it is on the disk
  add("huge.caf", fixture::cafFile({{.id = "free", .declaredSize = kTooMuch}}));
  fs::resize_file(path("huge.caf"), fs::file_size(path("huge.caf")) + kTooMuch);
  EXPECT_EQ(tag({"huge.caf"}, {setting(title, "T")}), Rows{"huge.caf: journalFailed"});
  execute("CREATE TRIGGER refusing BEFORE INSERT ON Files BEGIN SELECT RAISE(ABORT, 'x'); END", journal());
  EXPECT_EQ(tag({"A.aif"}, {setting(genre, "Funk")}), Rows{"A.aif: journalFailed"});
}

}  // namespace
