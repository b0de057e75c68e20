#include <cstdio>

#include "VeskLoopManagement/indexing/LCFileIndexing.h"
#include "VeskLoopManagement/resources/VeskLoopManagementVersion.h"
#include "VeskLoopManagement/search/LCSearchEngineDesktop.h"

// host DATABASE: makes an empty database and searches it.
int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const LCDatabaseConfiguration configuration(argv[1], false, 100930);
  if (!LCFileIndexing::initWithDatabaseConfiguration(configuration)) return 1;
  const auto engine = LCSearchEngineDesktop::initWithDatabaseConfiguration(configuration);
  if (!engine) return 1;
  engine->doSearch();
  std::printf("%s: %lld loops\n", VeskLoopManagementVersionString, static_cast<long long>(engine->numberOfLoops()));
  return engine->numberOfLoops() == 0 ? 0 : 1;
}
