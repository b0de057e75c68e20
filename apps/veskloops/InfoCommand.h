// veskloops info: what a file says of itself, and what the database knows of it.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addInfoCommand(CLI::App& app);
