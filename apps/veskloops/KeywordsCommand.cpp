#include "KeywordsCommand.h"

#include "Arguments.h"
#include "Database.h"
#include "English.h"
#include "KeywordList.h"
#include "Output.h"
#include "SearchFilters.h"
#include "VeskLoopManagement/platform/Text.h"

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

std::vector<LCFacet> keywordsAskedFor(Context& context, const KeywordsArguments& arguments) {
  const LCLoopQuery query = queryFor(arguments.filters);
  const auto catalog = openForReading(context);
  if (!arguments.available) return valueOf(catalog->keywords(arguments.all));
  return valueOf(valueOf(catalog->search(query)).facets(LCFacetScope::all));
}

bool isAskedFor(const LCFacet& facet, const KeywordsArguments& arguments) {
  if (arguments.category && keywordKindWord(facet.kind()) != *arguments.category) return false;
  const std::string text = vesk::text::lowercase(fmt::format("{}", fmt::join(arguments.words, " ")));
  return vesk::text::lowercase(facet.keyword.name).find(text) != std::string::npos;
}

int runKeywords(Context& context, const KeywordsArguments& arguments) {
  Output& output = context.output;
  auto facets = keywordsAskedFor(context, arguments);
  std::erase_if(facets, [&](const LCFacet& facet) { return !isAskedFor(facet, arguments); });

  output.beginDocument("veskloops.keywords/1");
  output.field("total", facets.size());
  output.beginList("keywords");
  for (const auto& facet : facets) output.item(jsonOfKeyword(facet));
  output.endList();
  output.endDocument();
  printKeywords(output, facets);
  if (output.isText() && output.resultIsOnTerminal()) output.note(counted(std::ssize(facets), "keyword"));
  return kExitDone;
}

}  // namespace
CommandRunner addKeywordsCommand(CLI::App& app) {
  auto arguments = std::make_shared<KeywordsArguments>();
  addArguments(app, "TEXT", arguments->words, "Only keywords with this text in their name");
  addChoice(app, "--category", keywordKindWords(),
            fmt::format("Only of this category: {}", listed(keywordKindWords(), "or")),
            [=](const std::string& word) { arguments->category = word; });
  auto* all = app.add_flag("--all", arguments->all, "Also list keywords that no loop carries");
  auto* available =
      app.add_flag("--available", arguments->available,
                   "List those of the loops that a search finds, and how many of them carry each; the filters "
                   "below say what is searched for")
          ->excludes(all);
  auto filters = addSearchFilters(app, arguments->filters);
  filters.push_back(addTexts(app, "--text", arguments->filters.words, "As TEXT of search; repeatable"));
  for (auto* filter : filters) filter->needs(available)->group("Filters of --available");
  return [arguments](Context& context) { return runKeywords(context, *arguments); };
}
