#include "KeywordsCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "English.h"
#include "KeyNames.h"
#include "KeywordList.h"
#include "KeywordRows.h"
#include "LoopRows.h"
#include "Output.h"
#include "SearchFilters.h"
#include "VeskLoopManagement/platform/Text.h"
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include <fmt/format.h>

#include <memory>

namespace {

struct KeywordsArguments {
  std::vector<std::string> words;
  std::optional<std::string> category;
  bool all = false;
  bool available = false;
  SearchFilters filters;  // only with `available`
};

std::vector<KeywordRow> availableKeywords(LCSearchEngine& engine, LoopRows& rows, const SearchFilters& filters) {
  if (searchWithFilters(engine, rows, filters) == 0) return {};
  return rowsOfKeywords(rows, engine.availableKeywordsWithCounts());
}

std::vector<KeywordRow> keywordsOfDatabase(LoopRows& rows, bool withUnused) {
  auto keywords = rows.keywords({});
  if (!withUnused) std::erase_if(keywords, [](const KeywordRow& keyword) { return keyword.loopCount == 0; });
  return keywords;
}

bool isAskedFor(const KeywordRow& keyword, const KeywordsArguments& arguments) {
  if (arguments.category && keywordCategoryWord(keyword.category) != *arguments.category) return false;
  const std::string text = vesk::text::lowercase(fmt::format("{}", fmt::join(arguments.words, " ")));
  return vesk::text::lowercase(keyword.name).find(text) != std::string::npos;
}

int runKeywords(Context& context, const KeywordsArguments& arguments) {
  Output& output = context.output;
  const auto engine = openForReading(context);
  LoopRows rows(engine->sqlite3Connection());
  auto keywords = arguments.available ? availableKeywords(*engine, rows, arguments.filters)
                                      : keywordsOfDatabase(rows, arguments.all);
  std::erase_if(keywords, [&](const KeywordRow& keyword) { return !isAskedFor(keyword, arguments); });
  sortForReading(keywords);

  output.beginDocument("veskloops.keywords/1");
  output.field("total", keywords.size());
  output.beginList("keywords");
  for (const auto& keyword : keywords) output.item(jsonOfKeyword(keyword));
  output.endList();
  output.endDocument();
  printKeywords(output, keywords);
  if (output.isText() && output.resultIsOnTerminal()) {
    output.note(counted(keywords.size(), "keyword"));
  }
  return kExitDone;
}

}  // namespace

CommandRunner addKeywordsCommand(CLI::App& app) {
  auto arguments = std::make_shared<KeywordsArguments>();
  addArguments(app, "TEXT", arguments->words, "Only keywords with this text in their name");
  addText(app, "--category", arguments->category,
          fmt::format("Only of this category: {}", fmt::join(keywordCategoryWords(), ", ")), "WORD")
      ->check(CLI::IsMember(keywordCategoryWords()));
  auto* all = app.add_flag("--all", arguments->all, "Also the keywords that no loop carries");
  auto* available = app.add_flag("--available", arguments->available,
                                 "Those that would narrow a search, and how many of its loops carry them; all options "
                                 "below say what is searched for")
                        ->excludes(all);
  auto filters = addSearchFilters(app, arguments->filters);
  filters.push_back(addTexts(app, "--text", arguments->filters.words,
                             "What search takes as TEXT: words of the file name, or a part of the path, comment, "
                             "title, author, collection or theme"));
  for (auto* filter : filters) filter->needs(available)->group("Filters of --available");
  return [arguments](Context& context) { return runKeywords(context, *arguments); };
}
