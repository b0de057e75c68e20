// The version of the library, for hosts that show it.
#pragma once

extern const char* const VeskLoopManagementVersionString;  // "0.1.0"
extern const double VeskLoopManagementVersionNumber;       // major.minor, 0.1
