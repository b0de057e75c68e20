// veskloops crates: the content packages of the database.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addFoldersCommand(CLI::App& app);
