// The version of the library, for hosts that show it.
#pragma once

#include "VeskLoopManagement/LCExport.h"

LC_EXPORT extern const char* const VeskLoopManagementVersionString;  // "0.1.0"
LC_EXPORT extern const double VeskLoopManagementVersionNumber;       // major.minor, 0.1
