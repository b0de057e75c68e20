#include "LoopDatabases.h"

#include "BenchFolder.h"

#include "platform/Path.h"
#include "VeskLoopManagement/database/LCDatabaseConfiguration.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"
#include "VeskLoopManagement/indexing/LCFileIndexing.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"

#include <fmt/format.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

namespace {

constexpr size_t kLoopsInAPack = 200;

const std::vector<std::string> kWords = {
    "Amber",  "Broken", "Copper", "Dusty",  "Early",  "Faded", "Golden", "Hollow", "Inner",    "Jaded",
    "Kindly", "Lonely", "Mellow", "Narrow", "Ocean",  "Paper", "Quiet",  "Rusty",  "Silver",   "Tender",
    "Upper",  "Velvet", "Winter", "Yellow", "Zenith", "Funky", "Heavy",  "Lucky",  "Midnight", "Static"};

// What the taxonomy offers, the common ones first.
struct Taxonomy {
  std::vector<std::string> types = {
      "Drums",        "Bass",    "Keyboards",          "Guitars", "Percussion",      "Strings", "Vocals", "Horn/Wind",
      "Sound Effect", "Mallets", "Texture/Atmosphere", "Mixed",   "Other Instrument"};
  std::vector<std::string> genres = {"Hip Hop", "Electronic/Dance", "Rock/Blues", "Deep House", "Cinematic/New Age"};

  Taxonomy() {
    for (const std::string& genre : LCKeywordHelper::keywordsForCategory(kCategoryGenre)) {
      const bool isListed = std::find(genres.begin(), genres.end(), genre) != genres.end();
      if (!isListed && LCKeywordHelper::keywordIdForKeyword(genre) != 0) genres.push_back(genre);
    }
  }
};

struct Loop {
  int64_t id = 0;
  std::string fileName, fileURL, crate;
  std::string type, subType, genre;
  std::vector<std::string> descriptors;
};

Loop randomLoop(Random& random, const Taxonomy& taxonomy, size_t number) {
  Loop loop;
  loop.id = static_cast<int64_t>(random.number());
  loop.type = taxonomy.types[random.skewed(taxonomy.types.size())];
  const auto subTypes = LCKeywordHelper::subKeywordsForKeyword(loop.type);
  if (subTypes && random.chance(90)) loop.subType = (*subTypes)[random.skewed(subTypes->size())];
  if (random.chance(85)) loop.genre = taxonomy.genres[random.skewed(taxonomy.genres.size())];
  for (const auto& [first, second] : LCKeywordHelper::descriptorPairs()) {
    if (random.chance(25)) loop.descriptors.push_back(random.chance(65) ? first : second);
  }
  const size_t pack = number / kLoopsInAPack;
  loop.crate = fmt::format("pack{}", pack);
  loop.fileName = fmt::format("{} {} {} {:02}.caf", random.oneOf(kWords), random.oneOf(kWords),
                              loop.subType.empty() ? loop.type : loop.subType, random.below(20) + 1);
  std::replace(loop.fileName.begin(), loop.fileName.end(), '/', '-');
  const std::string path = fmt::format("/Loops/Maker {}/Pack {:04}/{}/{}", pack % 12, pack, number, loop.fileName);
  loop.fileURL = vesk::URL::fileURLWithPath(path, false).absoluteString();
  return loop;
}

// The prepared statements of one database under construction.
class Writer {
 public:
  explicit Writer(sqlite3* connection) {
    std::string columns, places;
    const auto names =
        LCDatabaseConfiguration::loopsTableColumnNamesForDatabaseSchemaVersion(kDefaultDatabaseSchemaVersion);
    for (const std::string& name : names) {
      if (name == kLoopsChineseTranscriptColumn) continue;
      m_parameters[name] = static_cast<int>(m_parameters.size()) + 1;
      columns += (columns.empty() ? "" : ", ") + name;
      places += places.empty() ? "?" : ", ?";
    }
    m_loop = LCStatement(connection, fmt::format("INSERT OR REPLACE INTO Loops ({}) VALUES ({})", columns, places));
    m_tagging = LCStatement(connection, "INSERT OR IGNORE INTO Tagging (loopId, keywordId) VALUES (?1, ?2)");
    m_keywords = LCStatement(connection, "INSERT OR REPLACE INTO LoopsKeywords VALUES (?1, ?2, ?3, ?4, ?5)");
    m_relation = LCStatement(connection, "INSERT INTO CrateLoopRelation (crateId, loopId) VALUES (?1, ?2)");
    m_crate = LCStatement(connection, "INSERT OR IGNORE INTO Crates VALUES (?1, ?1, 'Maker', 0)");
    m_marks = LCStatement(connection, "INSERT OR REPLACE INTO UserData VALUES (?1, ?2, ?3, '')");
  }

  void write(const Loop& loop, Random& random) {
    writeLoop(loop, random);
    writeKeywords(loop);
    m_crate.bind(1, loop.crate);
    run(m_crate);
    m_relation.bind(1, loop.crate);
    m_relation.bind(2, loop.id);
    run(m_relation);
    if (!random.chance(3)) return;
    m_marks.bind(1, loop.id);
    m_marks.bind(2, int64_t{random.chance(66)});
    m_marks.bind(3, static_cast<int64_t>(random.below(6)));
    run(m_marks);
  }

 private:
  static void run(LCStatement& statement) {
    if (statement.run()) return;
    std::fprintf(stderr, "cannot write the database of the benchmark\n");
    std::exit(1);
  }

  template <typename T>
  void set(std::string_view column, const T& value) {
    m_loop.bind(m_parameters.at(std::string(column)), value);
  }

  void writeLoop(const Loop& loop, Random& random) {
    static const std::vector<int64_t> tempi = {120, 128, 90, 100, 110, 125, 140, 85, 95, 174, 70, 80};
    m_loop.clearBindings();
    const bool isLoop = random.chance(85);
    const int64_t beats = isLoop ? int64_t{4} << random.below(4) : 0;
    const int64_t tempo = isLoop ? tempi[random.skewed(tempi.size())] : -1;
    set("id", loop.id);
    set("fileURL", loop.fileURL);
    set("fileName", loop.fileName);
    set("key", random.chance(70) ? int64_t{48} + static_cast<int64_t>(random.below(12)) : int64_t{0});
    set("numberOfBeats", beats);
    set("timeSignatureTop", random.chance(90) ? int64_t{4} : int64_t{3});
    set("timeSignatureBottom", int64_t{4});
    set("tempo", tempo);
    set("keyType", static_cast<int64_t>(random.below(4)));
    set("fileType", isLoop ? int64_t{1} : int64_t{2});
    set("hasMidi", random.chance(80) ? int64_t{0} : int64_t{1});
    set("author", std::string("Vesk Bench"));
    set("isWebLoop", int64_t{0});
    set("lengthInSeconds", isLoop ? static_cast<double>(beats) * 60 / static_cast<double>(tempo) : 1.5);
    set("patchInfo", int64_t{0});
    set("ksLoopType", random.chance(80) ? int64_t{0} : int64_t{1});
    for (const std::string& keyword : keywordsOf(loop)) {
      if (const auto column = LCKeywordHelper::columnNameForKeyword(keyword)) set(*column, idOf(keyword));
    }
    run(m_loop);
  }

  void writeKeywords(const Loop& loop) {
    std::string descriptors;
    for (const std::string& word : loop.descriptors) descriptors += (descriptors.empty() ? "" : ",") + word;
    m_keywords.clearBindings();
    m_keywords.bind(1, loop.id);
    m_keywords.bind(2, loop.type);
    if (!loop.subType.empty()) m_keywords.bind(3, loop.subType);
    if (!loop.genre.empty()) m_keywords.bind(4, loop.genre);
    if (!descriptors.empty()) m_keywords.bind(5, descriptors);
    run(m_keywords);
    for (const std::string& keyword : keywordsOf(loop)) {
      m_tagging.bind(1, loop.id);
      m_tagging.bind(2, idOf(keyword));
      run(m_tagging);
    }
  }

  static std::vector<std::string> keywordsOf(const Loop& loop) {
    std::vector<std::string> keywords = loop.descriptors;
    for (const std::string& tag : {loop.type, loop.subType, loop.genre}) {
      if (!tag.empty()) keywords.push_back(tag);
    }
    return keywords;
  }

  static int64_t idOf(const std::string& keyword) { return LCKeywordHelper::keywordIdForKeyword(keyword); }

  std::map<std::string, int> m_parameters;  // of m_loop, by column
  LCStatement m_loop, m_tagging, m_keywords, m_relation, m_crate, m_marks;
};

void makeDatabase(const std::string& path, size_t loopCount) {
  const auto indexer = LCFileIndexing::initWithDatabaseConfiguration({path, false, kDefaultDatabaseSchemaVersion});
  if (!indexer) {
    std::fprintf(stderr, "%s cannot be opened\n", path.c_str());
    std::exit(1);
  }
  Random random(loopCount);
  const Taxonomy taxonomy;
  Writer writer(indexer->sqlite3Connection());
  indexer->beginBatch();
  for (size_t number = 0; number < loopCount; ++number) writer.write(randomLoop(random, taxonomy, number), random);
  indexer->commitBatch();
  indexer->finishIndexingInBlock(true);
}

}  // namespace

std::string loopDatabase(size_t loopCount) {
  const std::string path = vesk::path::appending(benchFolder(), fmt::format("loops-1-{}.db", loopCount));
  if (vesk::path::exists(path)) return path;
  std::fprintf(stderr, "making a database of %zu loops in %s\n", loopCount, path.c_str());
  const std::string unfinished = path + ".unfinished";
  std::error_code error;
  std::filesystem::remove(unfinished, error);
  makeDatabase(unfinished, loopCount);
  std::filesystem::rename(unfinished, path, error);
  return path;
}
