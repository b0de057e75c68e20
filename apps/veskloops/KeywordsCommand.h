// veskloops keywords: what loops are tagged with, in the whole database or in what a search finds.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addKeywordsCommand(CLI::App& app);
