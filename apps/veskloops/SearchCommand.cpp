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
                         fmt::format("Sort by {}, with :desc for the other direction.", listed(sortWords(), "or")));
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
  addArguments(
      app, "TEXT", arguments->filters.words,
      "Words in the file name, or a text in the comment, title, author, collection, theme, or in the path below "
      "the folder that was indexed");
  addSearchFilters(app, arguments->filters);
  auto* sort = addText(app, "--sort", arguments->sort,
                       "Sort by " + listed(sortWords(), "or") + ", with :desc the other way round; several with commas",
                       "KEY[:desc],…");
  auto* random =
      app.add_flag("--random", arguments->isRandom, "In random order; with --limit a random choice")->excludes(sort);
  auto* limit = addNumber(app, "--limit", {}, "Show at most N loops; 0 shows all",
                          [=](int64_t number) { arguments->limit = number; });
  addNumber(app, "--offset", {}, "Leave out the first N loops", [=](int64_t number) {
    arguments->offset = number;
  })->excludes(random);
  addChoice(app, "--layout", {"desktop", "mobile"}, "Variant of the search engine: desktop or mobile",
            [=](const std::string& word) { arguments->layout = word; })
      ->default_str(arguments->layout);
  auto* columns = addText(
      app, "--columns", arguments->columns,
      "Show these columns, between tabs when piped, several with commas: " + listed(columnWords(), "or"), "COLUMN,…");
  auto* count = app.add_flag("--count", arguments->onlyCount, "Print only how many loops are found")->excludes(columns);
  auto* facets = app.add_flag("--facets", arguments->facets,
                              "List the keywords that would narrow the result and how many of its loops carry each: "
                              "as text instead of the loops, in JSON after them")
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
      throw usageFailure("--print0 does not go together with --json or --jsonl");
    }
    return SearchRun(context, *arguments).run();
  };
}
