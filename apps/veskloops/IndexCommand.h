// veskloops index: puts the loops of files and folders into the database.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addIndexCommand(CLI::App& app);
