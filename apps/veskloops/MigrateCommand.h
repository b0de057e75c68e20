// veskloops migrate: what an earlier time knew, brought into the loop database of today.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addMigrateCommand(CLI::App& app);
