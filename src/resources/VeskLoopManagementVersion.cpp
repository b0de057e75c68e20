#include "VeskLoopManagement/resources/VeskLoopManagementVersion.h"

const char* const VeskLoopManagementVersionString = VESK_VERSION;
const double VeskLoopManagementVersionNumber = VESK_VERSION_NUMBER;
