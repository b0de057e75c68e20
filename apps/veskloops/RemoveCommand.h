// veskloops remove: takes loops out of the database. Audio files are never touched.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addRemoveCommand(CLI::App& app);
