// veskloops family: the numbered variants of a loop, such as "Funky Beat 01" and "Funky Beat 02".
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addFamilyCommand(CLI::App& app);
