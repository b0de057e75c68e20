#include "VeskLoopManagement/search/LCSearchEngineMobile.h"

#include "search/LocalizedCollation.h"
#include "VeskLoopManagement/database/LCDatabaseSchema.h"

namespace {

// Where the Chinese transcript column goes in, for people who sort by it.
constexpr std::string_view kPlaceholder = "#PLACEHOLDER#";

constexpr std::string_view kDeleteLoopsWithREDEdition =
    "DELETE FROM Loops WHERE fileName IN (SELECT fileName FROM Loops WHERE Loops.fileName IN  "
    "(SELECT replace(fileName, ' (RED)', '') AS fileName FROM Loops WHERE fileURL LIKE '%(RED).caf%'))";

}  // namespace

std::unique_ptr<LCSearchEngineMobile> LCSearchEngineMobile::initWithDatabaseConfiguration(
    const LCDatabaseConfiguration& configuration) {
  std::unique_ptr<LCSearchEngineMobile> engine(new LCSearchEngineMobile(configuration));
  return engine->setupWithDatabaseFile() ? std::move(engine) : nullptr;
}

std::unique_ptr<LCSearchEngineMobile> LCSearchEngineMobile::initWithConnection(
    LCConnection connection, const LCDatabaseConfiguration& configuration) {
  std::unique_ptr<LCSearchEngineMobile> engine(new LCSearchEngineMobile(configuration));
  engine->setupWithConnection(std::move(connection));
  return engine;
}

// Of a loop and its edition "Name (RED)" only the edition stays.
void LCSearchEngineMobile::fixDuplicateLoopsFromREDContent() {
  utilities().executeStatementWithNoReturnValue(std::string(kDeleteLoopsWithREDEdition));
}

// Registered anew at each question, because the locale may have changed.
std::string LCSearchEngineMobile::textSearchCollate() const {
  if (useMacOSSorting() || !sqlite3Connection()) return "NOCASE";
  if (!LCSQLiteUtilities::isChina() && !useLocalizedSorting()) return "NOCASE";
  return lc::registerLocalizedCollation(sqlite3Connection()) ? "LC_LocalizedSortingCollate" : "NOCASE";
}

std::string LCSearchEngineMobile::textSearchLikeFunction() const {
  return "LIKE";
}

std::string LCSearchEngineMobile::createLoopsResultTableFormatString() const {
  const std::string column =
      LCSQLiteUtilities::isChina() ? lc::sqlFormat(", %@ ", {kLoopsChineseTranscriptColumn}) : " ";
  return vesk::text::replacingAll(kCreateLoopsResultTableFormatStringMobile, kPlaceholder, column);
}

std::string LCSearchEngineMobile::selectBaseString() const {
  const std::string column = LCSQLiteUtilities::isChina()
                                 ? lc::sqlFormat(" ,%@.%@ as %@", {loopsTablename(), kLoopsChineseTranscriptColumn,
                                                                   kLoopsChineseTranscriptColumn})
                                 : " ";
  return vesk::text::replacingAll(formattedWithLoopsTable(kSelectLoopsFormatStringMobile), kPlaceholder, column);
}

std::vector<std::string> LCSearchEngineMobile::columnKeysToQuery() const {
  std::vector<std::string> keys = {
      "id",         "fileURL",        "fileName", "key", "numberOfBeats", "tempo", vireoLoopTypeColumnName(),
      "isFavorite", "lengthInSeconds"};
  if (LCSQLiteUtilities::isChina()) keys.emplace_back(kLoopsChineseTranscriptColumn);
  return keys;
}

std::optional<vesk::StringSet> LCSearchEngineMobile::instrumentsKeywordsToPresent() const {
  return vesk::StringSet{"Drums",
                         "Single",
                         "Ensemble",
                         "Electronic Beats",
                         "Clean",
                         "Distorted",
                         "Rock/Blues",
                         "Percussion",
                         "Acoustic",
                         "Electric",
                         "Urban",
                         "Drum Kit",
                         "Relaxed",
                         "Intense",
                         "World/Ethnic",
                         "Bass",
                         "Cheerful",
                         "Dark",
                         "Electronic/Dance",
                         "Guitars",
                         "Dry",
                         "Processed",
                         "Country/Folk",
                         "Piano",
                         "Grooving",
                         "Arrhythmic",
                         "Jazz",
                         "Synthesizer",
                         "Melodic",
                         "Dissonant",
                         "Orchestral",
                         "Strings",
                         "Part",
                         "Fill",
                         "Cinematic/New Age",
                         "Vocals",
                         "Tambourine",
                         "Celesta",
                         "Texture/Atmosphere",
                         "Electric Piano",
                         "Brass",
                         "Harp",
                         "Experimental",
                         "Slide Guitar",
                         "Woodwind",
                         "Harpsichord",
                         "Sound Effect",
                         "Organ",
                         "Bongo",
                         "Conga",
                         "Vinyl/Scratch",
                         "Shaker",
                         "English Horn",
                         "French Horn",
                         "Mallets",
                         "Vibraphone",
                         "Clavinet",
                         "Harmonica",
                         "Motions & Transitions",
                         "Mixed",
                         "Sci-Fi",
                         "Transportation",
                         "People",
                         "Ambience",
                         "Boom",
                         "Animals",
                         "Mech/Tech",
                         "Foley",
                         "Work/Home",
                         "Sports & Leisure"};
}
