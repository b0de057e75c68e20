#include "BenchFolder.h"

#include "platform/Path.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

std::string benchFolder() {
  const char* given = std::getenv("VESK_BENCH_DIR");
  const std::string folder =
      given && *given ? std::string(given) : vesk::path::appending(vesk::Environment::shared().cacheFolder(), "bench");
  std::string error;
  if (!vesk::path::createDirectories(folder, &error)) {
    std::fprintf(stderr, "%s: %s\n", folder.c_str(), error.c_str());
    std::exit(1);
  }
  return folder;
}

bool takeLargeOption(int& argc, char**& argv) {
  if (argc < 2 || std::string_view(argv[1]) != "--large") return false;
  argv[1] = argv[0];
  ++argv;
  --argc;
  return true;
}

size_t Random::skewed(size_t count) {
  const double position = static_cast<double>(below(1u << 30)) / (1u << 30);
  const auto index = static_cast<size_t>(std::pow(static_cast<double>(count) + 1, position)) - 1;
  return index < count ? index : count - 1;
}
