// tag: changes the tags of loop files, one or all that a search finds, tells what earlier runs changed, and takes them
// back.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addTagCommand(CLI::App& app);
