#include "SearchCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "JSON.h"
#include "KeyNames.h"
#include "LoopArguments.h"
#include "LoopRows.h"
#include "model/LCKeywordHelper.h"
#include "Output.h"
#include "platform/Text.h"
#include "search/LCSearchEngine.h"
#include "Similarity.h"
#include "TerminalText.h"

#include <fmt/format.h>
#include <unistd.h>

#include <charconv>
#include <map>
#include <memory>

namespace {

// Keywords that are not in the taxonomy have this category.
constexpr int64_t kCategoryUnknown = 0;

struct SearchArguments {
  std::vector<std::string> words;
  std::vector<std::string> keywords;
  std::optional<std::string> genre;
  std::optional<std::string> instrument;
  std::optional<std::string> key;
  std::string keyMatch = "near";
  std::optional<std::string> scale;
  std::optional<std::string> signature;
  std::vector<std::string> types;
  std::optional<std::string> crate;
  std::optional<std::string> folder;
  std::optional<std::string> name;
  std::optional<std::string> sort;
  int64_t limit = 0;
  int64_t offset = 0;
  std::string layout = "desktop";
  bool print0 = false;
  bool failWhenEmpty = false;
};

std::string choices(const std::vector<std::string>& words) {
  return fmt::format("{}", fmt::join(words, ", "));
}

// --- Settings ---

class SearchSettings {
 public:
  SearchSettings(LCSearchEngine& engine, LoopRows& rows, const SearchArguments& arguments)
      : m_engine(engine), m_rows(rows), m_arguments(arguments) {}

  // Puts the arguments into the engine. False when no loop can match, whatever the engine would answer.
  bool apply();

 private:
  void applyTexts();
  void applyKey();
  void applySignature();
  void applyTypes();
  void applySort();
  bool applyKeywords();
  KeywordRow requiredKeyword(const std::string& word, std::vector<int64_t> categories, std::string_view what);

  LCSearchEngine& m_engine;
  LoopRows& m_rows;
  const SearchArguments& m_arguments;
};

bool SearchSettings::apply() {
  applyTexts();
  applyKey();
  applySignature();
  applyTypes();
  applySort();
  if (m_arguments.crate)
    m_engine.setEnabledCrateIdentifier(vesk::StringSet{requiredCrate(m_rows, *m_arguments.crate).identifier});
  return applyKeywords();
}

void SearchSettings::applyTexts() {
  if (!m_arguments.words.empty()) m_engine.setSearchString(fmt::format("{}", fmt::join(m_arguments.words, " ")));
  if (m_arguments.name) m_engine.setSpecialNameSearchString(m_arguments.name);
  if (m_arguments.folder) m_engine.setPathPrefix(absolutePath(*m_arguments.folder));
}

void SearchSettings::applyKey() {
  // The engine counts its root keys an octave above the column.
  constexpr int64_t kEngineOffset = 12;
  std::optional<int64_t> scale;
  if (m_arguments.key) {
    const auto choice = keyForWord(*m_arguments.key);
    if (!choice)
      throw usageFailure(fmt::format("\"{}\" is no key", *m_arguments.key), "Keys look like C, F#, Bb or Am.");
    m_engine.setRootKey(choice->note + kEngineOffset);
    m_engine.setFilterForMoreRelevantResults(m_arguments.keyMatch == "near");
    scale = choice->scale;
  }
  if (m_arguments.scale) {
    const auto named = scaleForWord(*m_arguments.scale);
    if (!named)
      throw usageFailure(fmt::format("\"{}\" is no scale", *m_arguments.scale),
                         fmt::format("One of {}.", choices(scaleWords())));
    if (scale && *scale != *named) throw usageFailure("--key and --scale name different scales");
    scale = named;
  }
  if (scale) m_engine.setKeyType(*scale);
}

void SearchSettings::applySignature() {
  if (!m_arguments.signature) return;
  const std::string& text = *m_arguments.signature;
  int64_t top = 0;
  int64_t bottom = 0;
  const char* end = text.data() + text.size();
  const auto [slash, topError] = std::from_chars(text.data(), end, top);
  const bool hasTop = topError == std::errc{} && slash != end && *slash == '/' && top > 0;
  const auto [rest, bottomError] = std::from_chars(hasTop ? slash + 1 : end, end, bottom);
  if (!hasTop || bottomError != std::errc{} || rest != end || bottom < 1) {
    throw usageFailure(fmt::format("\"{}\" is no time signature", text), "Signatures look like 4/4.");
  }
  m_engine.setTimeSignatureTop(top, bottom);
}

void SearchSettings::applyTypes() {
  std::set<int64_t> types;
  for (const auto& word : m_arguments.types) {
    const auto type = loopTypeForWord(word);
    if (!type)
      throw usageFailure(fmt::format("\"{}\" is no loop type", word),
                         fmt::format("One of {}.", choices(loopTypeWords())));
    types.insert(*type);
  }
  if (!types.empty()) m_engine.setEnabledLoopTypes(types);
}

void SearchSettings::applySort() {
  if (!m_arguments.sort) return;
  std::vector<LCSortDescriptor> descriptors;
  for (const auto& part : vesk::text::split(*m_arguments.sort, ',')) {
    const auto pieces = vesk::text::split(part, ':');
    const auto column = columnForSortWord(pieces[0]);
    const bool hasDirection = pieces.size() == 2 && (pieces[1] == "asc" || pieces[1] == "desc");
    if (!column || pieces.size() > 2 || (pieces.size() == 2 && !hasDirection)) {
      throw usageFailure(fmt::format("\"{}\" is nothing to sort by", part),
                         fmt::format("One of {}, with :desc for the other direction.", choices(sortWords())));
    }
    descriptors.push_back({.key = *column, .ascending = pieces.back() != "desc"});
  }
  descriptors.push_back({.key = "fileName"});  // what is alike stands in the order of names
  m_engine.setSortDescriptors(descriptors);
}

// The engine takes keywords that no loop has for no keywords at all and finds everything; people mean the opposite.
bool SearchSettings::applyKeywords() {
  std::vector<KeywordRow> found;
  for (const auto& word : m_arguments.keywords) found.push_back(requiredKeyword(word, {}, "keyword"));
  if (m_arguments.genre) {
    found.push_back(requiredKeyword(*m_arguments.genre, {kCategoryGenre, kCategoryUnknown}, "genre"));
  }
  if (m_arguments.instrument) {
    found.push_back(requiredKeyword(
        *m_arguments.instrument,
        {kCategoryInstrumentTypeWithSubTypes, kCategoryInstrumentType, kCategoryInstrumentSubType, kCategoryUnknown},
        "instrument"));
  }
  vesk::StringSet names;
  bool canMatch = true;
  for (const auto& keyword : found) {
    names.insert(keyword.name);
    canMatch = canMatch && keyword.loopCount > 0;
  }
  m_engine.setSearchKeywords(names);
  return canMatch;
}

KeywordRow SearchSettings::requiredKeyword(const std::string& word, std::vector<int64_t> categories,
                                           std::string_view what) {
  const auto known = m_rows.keywords(categories);
  const KeywordRow* found = nullptr;
  for (const auto& keyword : known) {
    if (keyword.name == word) return keyword;
    if (found == nullptr && vesk::text::equalIgnoringCase(keyword.name, word)) found = &keyword;
  }
  if (found != nullptr) return *found;
  SimilarNames similar(word);
  for (const auto& keyword : known) similar.consider(keyword.name);
  throw Failure{.code = kExitNotFound,
                .kind = "notFound",
                .message = fmt::format("no such {}", what),
                .subject = word,
                .suggestions = similar.best()};
}

// --- Results ---

// The table on a terminal: the name takes what the other columns leave.
class ResultTable {
 public:
  explicit ResultTable(Output& output) : m_output(output) {
    const size_t width = terminalWidth(STDOUT_FILENO);
    for (const auto& column : kColumns) {
      if (fixedWidth() + column.width + kGap + kNarrowestName > width) break;
      m_columns.push_back(column);
    }
    m_nameWidth = std::max(kNarrowestName, width - std::min(width, fixedWidth()) - 1);
  }

  void printHeader() const {
    std::string line = paddedToWidth("Name", m_nameWidth);
    for (const auto& column : m_columns) line += "  " + padded(column.title, column);
    m_output.text(m_output.emphasized(line));
  }

  void printRow(const LoopRow& row) const {
    const std::map<std::string_view, std::string> texts = {
        {"Tempo", row.tempo > 0 ? std::to_string(row.tempo) : ""},
        {"Key", keyText(row)},
        {"Beats", row.beatCount > 0 ? std::to_string(row.beatCount) : ""},
        {"Sig.", row.signatureTop > 0 ? fmt::format("{}/{}", row.signatureTop, row.signatureBottom) : ""},
        {"Length", row.lengthInSeconds > 0 ? fmt::format("{:.1f} s", row.lengthInSeconds) : ""},
        {"Type", loopTypeName(row.loopType).value_or("")},
        {"Instrument", row.subInstrument.value_or(row.instrument.value_or(""))},
        {"Genre", row.genre.value_or("")},
    };
    std::string line = paddedToWidth(printable(row.fileName), m_nameWidth);
    for (const auto& column : m_columns) line += "  " + padded(printable(texts.at(column.title)), column);
    m_output.text(line.erase(line.find_last_not_of(' ') + 1));
  }

 private:
  struct Column {
    std::string_view title;
    size_t width;
    bool isNumber;
  };
  static constexpr size_t kGap = 2;
  static constexpr size_t kNarrowestName = 20;
  static constexpr Column kColumns[] = {{"Tempo", 5, true},   {"Key", 8, false},         {"Length", 7, true},
                                        {"Beats", 5, true},   {"Instrument", 18, false}, {"Sig.", 4, false},
                                        {"Genre", 18, false}, {"Type", 13, false}};

  size_t fixedWidth() const {
    size_t width = 0;
    for (const auto& column : m_columns) width += column.width + kGap;
    return width;
  }

  static std::string padded(std::string_view text, const Column& column) {
    return column.isNumber ? paddedLeftToWidth(text, column.width) : paddedToWidth(text, column.width);
  }

  static std::string keyText(const LoopRow& row) {
    const std::string name = keyNameForNote(row.rootNote).value_or("");
    const std::string scale = scaleName(row.keyType).value_or("");
    return scale == "minor" || scale == "major" ? fmt::format("{} {}", name, scale.substr(0, 3)) : name;
  }

  Output& m_output;
  std::vector<Column> m_columns;
  size_t m_nameWidth = kNarrowestName;
};

void printTable(Output& output, LoopRows& rows, const SearchArguments& arguments) {
  const ResultTable table(output);
  table.printHeader();
  rows.forEachResult(arguments.offset, arguments.limit, [&](const LoopRow& row) {
    table.printRow(row);
    return output.canWrite();
  });
}

void printPaths(Output& output, LoopRows& rows, const SearchArguments& arguments) {
  const std::string end(1, arguments.print0 ? '\0' : '\n');
  rows.forEachResultPlace(arguments.offset, arguments.limit, [&](const LoopPlace& place) {
    output.rawText(pathOfURLText(place.urlText) + end);
    return output.canWrite();
  });
}

void printJSON(Output& output, LoopRows* rows, const SearchArguments& arguments, int64_t total) {
  output.beginDocument("veskloops.search/1");
  output.field("total", total);
  output.field("offset", arguments.offset);
  output.beginList("loops");
  if (rows != nullptr) {
    rows->forEachResult(arguments.offset, arguments.limit, [&](const LoopRow& row) {
      output.item(jsonOfRow(row));
      return output.canWrite();
    });
  }
  output.endList();
  output.endDocument();
}

int runSearch(Context& context, const SearchArguments& arguments) {
  Output& output = context.output;
  const auto layout = arguments.layout == "mobile" ? EngineLayout::mobile : EngineLayout::desktop;
  const auto engine = openForReading(context, layout);
  LoopRows rows(engine->sqlite3Connection());
  const bool canMatch = SearchSettings(*engine, rows, arguments).apply();
  if (canMatch) engine->doSearch();
  const int64_t total = canMatch ? engine->numberOfLoops() : 0;

  const bool wantsTable = output.resultIsOnTerminal() && !arguments.print0;
  if (!output.isText()) {
    printJSON(output, total > 0 ? &rows : nullptr, arguments, total);
  } else if (total > 0 && wantsTable) {
    printTable(output, rows, arguments);
  } else if (total > 0) {
    printPaths(output, rows, arguments);
  }
  if (output.isText() && wantsTable) output.note(fmt::format("{} {} found", total, total == 1 ? "loop" : "loops"));
  return total == 0 && arguments.failWhenEmpty ? kExitNotFound : kExitDone;
}

}  // namespace

CommandRunner addSearchCommand(CLI::App& app) {
  auto arguments = std::make_shared<SearchArguments>();
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  addArguments(app, "TEXT", arguments->words,
               "Words of the file name, or a part of the path, comment, title, author, collection or theme");
  addTexts(app, "-k,--keyword", arguments->keywords, "Tagged with this keyword; repeated: with all of them", "KW");
  addText(app, "--genre", arguments->genre, "Of this genre");
  addText(app, "--instrument", arguments->instrument, "Of this instrument or kind of instrument");
  addText(app, "--key", arguments->key, "In this key (Am, F#, C) or without one", "KEY");
  app.add_option("--key-match", arguments->keyMatch, "Only this key, or also two semitones up and down")
      ->type_name("WORD")
      ->check(CLI::IsMember({"exact", "near"}))
      ->capture_default_str();
  addText(app, "--scale", arguments->scale, "Scale: " + choices(scaleWords()), "SCALE");
  addText(app, "--signature", arguments->signature, "In this time signature (4/4) or without one", "N/N");
  addTexts(app, "--type", arguments->types, "Kind of loop: " + choices(loopTypeWords()) + "; repeated: any of them",
           "TYPE");
  addText(app, "--crate", arguments->crate, "Of this content package", "ID|NAME");
  addText(app, "--folder", arguments->folder, "Below this folder", "DIR");
  addText(app, "--name", arguments->name, "With this text in the file name");
  addText(app, "--sort", arguments->sort, "Order: " + choices(sortWords()) + "; with :desc; several with commas",
          "KEY[:desc],…");
  app.add_option("--limit", arguments->limit, "At most N loops; 0: all")
      ->type_name("N")
      ->check(CLI::Range(int64_t{0}, kMost))
      ->capture_default_str();
  app.add_option("--offset", arguments->offset, "Pass over the first N")
      ->type_name("N")
      ->check(CLI::Range(int64_t{0}, kMost))
      ->capture_default_str();
  app.add_option("--layout", arguments->layout, "The engine's variant")
      ->type_name("WORD")
      ->check(CLI::IsMember({"desktop", "mobile"}))
      ->capture_default_str();
  app.add_flag("--print0", arguments->print0, "End every path with a NUL character");
  app.add_flag("--fail-empty", arguments->failWhenEmpty, "Exit with 3 when nothing is found");
  return [arguments](Context& context) { return runSearch(context, *arguments); };
}
