// veskloops import: a ready-made loop database merged into the user's.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addImportCommand(CLI::App& app);
