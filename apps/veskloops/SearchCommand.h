// veskloops search: the loops that match, as a table, as paths or as JSON.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addSearchCommand(CLI::App& app);
