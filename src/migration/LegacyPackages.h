// Where legacy index files lie, and which of the packages that they name are taken over. Never throws; any thread.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace lc::legacy {

inline constexpr std::string_view kManufacturer = "Vireo Inc.";

// The paths of the legacy index files in `folder`, sorted; "~" is the home folder. None when it cannot be listed.
std::vector<std::string> indexFilesIn(const std::string& folder);
// Whether the audio folder of a package holds what has folders of its own that are indexed anyway, or is missing.
bool isLeftOut(const std::string& audioPath);

}  // namespace lc::legacy
