#include "VeskLoopManagement/VeskLoopManagement.h"

int main() {
  return VeskLoopManagementVersionString == nullptr;
}
