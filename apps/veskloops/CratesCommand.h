// veskloops crates: the content packages of the database, listed, made and removed.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addCratesCommand(CLI::App& app);
