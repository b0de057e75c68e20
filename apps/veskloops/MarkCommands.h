// "favorite", "rate" and "comment": the user's own marks on loops. Each command changes one mark and keeps the others.
#pragma once

#include "Context.h"

#include <CLI/App.hpp>

CommandRunner addFavoriteCommand(CLI::App& app);
CommandRunner addRateCommand(CLI::App& app);
CommandRunner addCommentCommand(CLI::App& app);
