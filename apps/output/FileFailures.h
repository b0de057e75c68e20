// Files that are not in the database, and why, as JSON and in words.
#pragma once

#include "JSON.h"
#include "VeskLoopManagement/catalog/LCLibraryScan.h"

#include <string>

JSON jsonOfFileFailure(const LCFileFailure& failure);
// "PATH: unreadable (permission denied)".
std::string fileFailureText(const LCFileFailure& failure);

// The groups as a list of lists of paths.
JSON jsonOfIdentityGroups(const LCIdentityGroups& groups);
// The first groups, in words; "" without any.
std::string identityGroupsText(const LCIdentityGroups& groups);
