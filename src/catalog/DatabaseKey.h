// What is kept beside loop databases in the cache and state folders is named after the place of its database.
#pragma once

#include <string>

namespace lc {

// Sixteen hexadecimal digits; the same whatever links lead to the database. Never changes: files are found by it.
std::string databaseKey(const std::string& databaseFile);

}  // namespace lc
