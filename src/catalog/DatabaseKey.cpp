#include "catalog/DatabaseKey.h"

#include "platform/Path.h"
#include "VeskLoopManagement/fileio/MurmurHash.h"

#include <fmt/format.h>

std::string lc::databaseKey(const std::string& databaseFile) {
  constexpr uint64_t kSeed = 7;
  const std::string path = vesk::path::resolvingSymlinks(databaseFile);
  return fmt::format("{:016x}", MurmurHash64A(path.data(), static_cast<uint32_t>(path.size()), kSeed));
}
