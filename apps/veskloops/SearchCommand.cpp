#include "SearchCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "English.h"
#include "KeyNames.h"
#include "KeywordList.h"
#include "KeywordRows.h"
#include "LoopColumns.h"
#include "LoopJSON.h"
#include "LoopRows.h"
#include "Output.h"
#include "SearchFilters.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <fmt/format.h>

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

std::vector<LCSortDescriptor> sortDescriptors(const std::string& words) {
  std::vector<LCSortDescriptor> descriptors;
  for (const auto& part : vesk::text::split(words, ',')) {
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
  return descriptors;
}

void applyOrder(LCSearchEngine& engine, const SearchArguments& arguments) {
  if (arguments.sort) engine.setSortDescriptors(sortDescriptors(*arguments.sort));
  if (arguments.isRandom) engine.setSortDescriptors({{LCSortDescriptor::random()}});
}

class SearchRun {
 public:
  SearchRun(Context& context, const SearchArguments& arguments)
      : m_context(context), m_output(context.output), m_arguments(arguments) {}

  int run();

 private:
  void search();
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
  std::unique_ptr<LCSearchEngine> m_engine;
  std::unique_ptr<LoopRows> m_rows;
  int64_t m_total = 0;  // when 0 there may be no result to read
  std::vector<KeywordRow> m_facets;
};

int SearchRun::run() {
  if (m_arguments.columns) m_columns = columnsForWords(*m_arguments.columns);
  search();
  if (m_output.isText()) {
    printText();
  } else {
    printJSON();
  }
  return m_total == 0 && m_arguments.failWhenEmpty ? kExitNotFound : kExitDone;
}

void SearchRun::search() {
  m_engine = openForReading(m_context, m_arguments.layout == "mobile" ? EngineLayout::mobile : EngineLayout::desktop);
  m_rows = std::make_unique<LoopRows>(m_engine->sqlite3Connection());
  applyOrder(*m_engine, m_arguments);
  m_total = searchWithFilters(*m_engine, *m_rows, m_arguments.filters);
  if (!m_arguments.facets || m_total == 0) return;
  m_facets = rowsOfKeywords(*m_rows, m_engine->availableKeywordsWithCounts());
  sortForReading(m_facets);
}

// --- Text ---

void SearchRun::printText() {
  if (m_arguments.onlyCount) {
    m_output.text(std::to_string(m_total));
    return;
  }
  const bool isForPeople = m_output.resultIsOnTerminal() && !m_arguments.print0;
  if (m_arguments.facets) {
    printKeywords(m_output, m_facets);
  } else if (m_total > 0 && isForPeople) {
    printTable();
  } else if (m_total > 0 && !m_columns.empty()) {
    printFields();
  } else if (m_total > 0) {
    printPaths();
  }
  if (isForPeople) m_output.note(fmt::format("{} found", counted(m_total, "loop")));
}

void SearchRun::printTable() {
  const LoopTable table(m_output, m_columns);
  table.printHeader();
  m_rows->forEachResult(m_arguments.offset, m_arguments.limit, [&](const LoopRow& row) {
    table.printRow(row);
    return m_output.canWrite();
  });
}

void SearchRun::printFields() {
  m_rows->forEachResult(m_arguments.offset, m_arguments.limit, [&](const LoopRow& row) {
    m_output.text(tabSeparated(m_columns, row));
    return m_output.canWrite();
  });
}

void SearchRun::printPaths() {
  const std::string end(1, m_arguments.print0 ? '\0' : '\n');
  m_rows->forEachResultPlace(m_arguments.offset, m_arguments.limit, [&](const LoopPlace& place) {
    m_output.rawText(pathOfURLText(place.urlText) + end);
    return m_output.canWrite();
  });
}

// --- JSON ---

void SearchRun::printJSON() {
  m_output.beginDocument("veskloops.search/1",
                         m_arguments.onlyCount ? Output::Summary::alsoAsLastLine : Output::Summary::inDocumentOnly);
  m_output.field("total", m_total);
  if (!m_arguments.onlyCount) {
    m_output.field("offset", m_arguments.offset);
    printLoops();
    if (m_arguments.facets) printFacets();
  }
  m_output.endDocument();
}

void SearchRun::printLoops() {
  m_output.beginList("loops");
  if (m_total > 0) {
    m_rows->forEachResult(m_arguments.offset, m_arguments.limit, [&](const LoopRow& row) {
      m_output.item(jsonOfLoop(row));
      return m_output.canWrite();
    });
  }
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
  addArguments(app, "TEXT", arguments->filters.words,
               "Words of the file name, or a part of the path, comment, title, author, collection or theme");
  addSearchFilters(app, arguments->filters);
  auto* sort = addText(app, "--sort", arguments->sort,
                       "Order: " + choices(sortWords()) + "; with :desc; several with commas", "KEY[:desc],…");
  auto* random =
      app.add_flag("--random", arguments->isRandom, "In random order, with --limit a random choice")->excludes(sort);
  app.add_option("--limit", arguments->limit, "At most N loops; 0: all")
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
                     ->excludes(count);
  app.add_flag("--print0", arguments->print0, "End every path with a NUL character")
      ->excludes(columns)
      ->excludes(count)
      ->excludes(facets);
  app.add_flag("--fail-empty", arguments->failWhenEmpty, "Exit with 3 when nothing is found");
  return [arguments](Context& context) { return SearchRun(context, *arguments).run(); };
}
