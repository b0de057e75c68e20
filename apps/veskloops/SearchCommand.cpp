#include "SearchCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "English.h"
#include "KeywordList.h"
#include "LoopColumns.h"
#include "LoopJSON.h"
#include "Output.h"
#include "SearchFilters.h"
#include "VeskLoopManagement/platform/Text.h"

#include <fmt/format.h>

#include <algorithm>
#include <limits>
#include <memory>

namespace {

struct SearchArguments {
  SearchFilters filters;
  std::optional<std::string> sort;
  bool isRandom = false;
  int64_t limit = 0;
  int64_t offset = 0;
  std::string layout = "desktop";
  std::optional<std::string> columns;
  bool onlyCount = false;
  bool facets = false;
  bool print0 = false;
  bool failWhenEmpty = false;
};

std::string choices(const std::vector<std::string>& words) {
  return fmt::format("{}", fmt::join(words, ", "));
}

struct SortWord {
  std::string_view word;
  LCSortField field;
};
constexpr SortWord kSortWords[] = {{"name", LCSortField::name},
                                   {"path", LCSortField::path},
                                   {"tempo", LCSortField::tempo},
                                   {"beats", LCSortField::beats},
                                   {"key", LCSortField::key},
                                   {"length", LCSortField::length},
                                   {"type", LCSortField::type},
                                   {"favorite", LCSortField::favorite},
                                   {"rating", LCSortField::rating},
                                   {"genre", LCSortField::genre},
                                   {"instrument", LCSortField::instrument},
                                   {"id", LCSortField::id}};

std::vector<std::string> sortWords() {
  std::vector<std::string> words;
  for (const auto& entry : kSortWords) words.emplace_back(entry.word);
  return words;
}

// "tempo", "tempo:desc"; nullopt for anything else.
std::optional<LCSortKey> sortKeyFor(const std::string& text) {
  const auto pieces = vesk::text::split(text, ':');
  const bool hasDirection = pieces.size() == 2 && (pieces[1] == "asc" || pieces[1] == "desc");
  const auto* entry = std::find_if(std::begin(kSortWords), std::end(kSortWords),
                                   [&](const SortWord& known) { return known.word == pieces[0]; });
  if (entry == std::end(kSortWords) || (pieces.size() > 1 && !hasDirection)) return std::nullopt;
  return LCSortKey{.field = entry->field, .isDescending = pieces.back() == "desc"};
}

std::vector<LCSortKey> orderFor(const SearchArguments& arguments) {
  if (arguments.isRandom) return {{.field = LCSortField::random}};
  std::vector<LCSortKey> order;
  if (!arguments.sort) return order;
  for (const auto& part : vesk::text::split(*arguments.sort, ',')) {
    const auto key = sortKeyFor(part);
    if (!key) {
      throw usageFailure(fmt::format("loops cannot be sorted by \"{}\"", part),
                         fmt::format("One of {}, with :desc for the other direction.", choices(sortWords())));
    }
    order.push_back(*key);
  }
  return order;
}

class SearchRun {
 public:
  SearchRun(Context& context, const SearchArguments& arguments)
      : m_context(context), m_output(context.output), m_arguments(arguments) {}

  int run();

 private:
  void search();
  // Hands on every loop of the page until the output takes no more.
  void forEachLoop(const std::function<void(const LCCatalogLoop&)>& handler) const;
  void printText();
  void printTable();
  void printFields();
  void printPaths();
  void printJSON();
  void printLoops();
  void printFacets();

  Context& m_context;
  Output& m_output;
  const SearchArguments& m_arguments;
  LoopColumns m_columns;  // none: not asked for
  LCPageRequest m_page;
  std::unique_ptr<LCCatalog> m_catalog;
  std::optional<LCLoopResult> m_result;
  std::vector<LCFacet> m_facets;
};

int SearchRun::run() {
  if (m_arguments.columns) m_columns = columnsForWords(*m_arguments.columns);
  m_page = {.offset = m_arguments.offset, .limit = m_arguments.limit};
  search();
  if (m_output.isText()) {
    printText();
  } else {
    printJSON();
  }
  return m_result->count() == 0 && m_arguments.failWhenEmpty ? kExitNotFound : kExitDone;
}

void SearchRun::search() {
  LCLoopQuery query = queryFor(m_arguments.filters);
  query.order = orderFor(m_arguments);
  const bool isMobile = m_arguments.layout == "mobile";
  m_catalog = openForReading(m_context, isMobile ? LCCatalogLayout::mobile : LCCatalogLayout::desktop);
  m_result = valueOf(m_catalog->search(query));
  if (m_arguments.facets) m_facets = valueOf(m_result->facets());
}

void SearchRun::forEachLoop(const std::function<void(const LCCatalogLoop&)>& handler) const {
  valueOf(m_result->forEachLoop(m_page, [&](const LCCatalogLoop& loop) {
    handler(loop);
    return m_output.canWrite();
  }));
}

// --- Text ---

void SearchRun::printText() {
  if (m_arguments.onlyCount) {
    m_output.text(std::to_string(m_result->count()));
    return;
  }
  const bool isForPeople = m_output.resultIsOnTerminal() && !m_arguments.print0;
  if (m_arguments.facets) {
    printKeywords(m_output, m_facets);
  } else if (m_result->count() > 0 && isForPeople) {
    printTable();
  } else if (!m_columns.empty()) {
    printFields();
  } else {
    printPaths();
  }
  if (isForPeople) m_output.note(fmt::format("{} found", counted(m_result->count(), "loop")));
}

void SearchRun::printTable() {
  const LoopTable table(m_output, m_columns);
  table.printHeader();
  forEachLoop([&](const LCCatalogLoop& loop) { table.printRow(loop); });
}

void SearchRun::printFields() {
  forEachLoop([&](const LCCatalogLoop& loop) { m_output.text(tabSeparated(m_columns, loop)); });
}

void SearchRun::printPaths() {
  const std::string end(1, m_arguments.print0 ? '\0' : '\n');
  const auto handed = m_result->forEachPlace(m_page, [&](const LCLoopPlace& place) {
    m_output.rawText(place.path() + end);
    return m_output.canWrite();
  });
  valueOf(handed);
}

// --- JSON ---

void SearchRun::printJSON() {
  m_output.beginDocument("veskloops.search/1",
                         m_arguments.onlyCount ? Output::Summary::alsoAsLastLine : Output::Summary::inDocumentOnly);
  m_output.field("total", m_result->count());
  if (!m_arguments.onlyCount) {
    m_output.field("offset", m_arguments.offset);
    printLoops();
    if (m_arguments.facets) printFacets();
  }
  m_output.endDocument();
}

void SearchRun::printLoops() {
  m_output.beginList("loops");
  forEachLoop([&](const LCCatalogLoop& loop) { m_output.item(jsonOfLoop(loop)); });
  m_output.endList();
}

// Among lines of loops, those of facets have a name around them.
void SearchRun::printFacets() {
  m_output.beginList("facets");
  for (const auto& facet : m_facets) m_output.item(jsonOfKeyword(facet), "facet");
  m_output.endList();
}

}  // namespace

CommandRunner addSearchCommand(CLI::App& app) {
  auto arguments = std::make_shared<SearchArguments>();
  constexpr int64_t kMost = std::numeric_limits<int64_t>::max();
  addArguments(
      app, "TEXT", arguments->filters.words,
      "Words of the file name, or a part of the comment, title, author, collection, theme, or of the path below "
      "the folder that was indexed");
  addSearchFilters(app, arguments->filters);
  auto* sort = addText(app, "--sort", arguments->sort,
                       "Order: " + choices(sortWords()) + "; with :desc; several with commas", "KEY[:desc],…");
  auto* random =
      app.add_flag("--random", arguments->isRandom, "In random order, with --limit a random choice")->excludes(sort);
  auto* limit = app.add_option("--limit", arguments->limit, "At most N loops; 0: all")
                    ->type_name("N")
                    ->check(CLI::Range(int64_t{0}, kMost))
                    ->capture_default_str();
  app.add_option("--offset", arguments->offset, "Pass over the first N")
      ->type_name("N")
      ->check(CLI::Range(int64_t{0}, kMost))
      ->capture_default_str()
      ->excludes(random);
  app.add_option("--layout", arguments->layout, "The engine's variant")
      ->type_name("WORD")
      ->check(CLI::IsMember({"desktop", "mobile"}))
      ->capture_default_str();
  auto* columns = addText(
      app, "--columns", arguments->columns,
      "As text, show this of every loop, between tabs when piped: " + choices(columnWords()) + "; several with commas",
      "COLUMN,…");
  auto* count = app.add_flag("--count", arguments->onlyCount, "Only how many loops there are")->excludes(columns);
  auto* facets = app.add_flag("--facets", arguments->facets,
                              "The keywords that would narrow the result, with the number of its loops that carry "
                              "them: as text instead of the loops, in JSON behind them")
                     ->excludes(columns)
                     ->excludes(count)
                     ->excludes(limit);
  app.add_flag("--print0", arguments->print0, "End every path with a NUL character")
      ->excludes(columns)
      ->excludes(count)
      ->excludes(facets);
  app.add_flag("--fail-empty", arguments->failWhenEmpty, "Exit with 3 when nothing is found");
  return [arguments](Context& context) {
    if (arguments->print0 && context.options.format != ResultFormat::text) {
      throw usageFailure("--print0 excludes --json and --jsonl");
    }
    return SearchRun(context, *arguments).run();
  };
}
