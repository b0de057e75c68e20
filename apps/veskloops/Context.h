// What every command is given: the options that all commands share, and where to print.
#pragma once

#include "OutputOptions.h"

#include <functional>
#include <optional>
#include <string>

class Output;

struct GlobalOptions : OutputOptions {
  std::optional<std::string> database;  // from the option or the environment
};

struct Context {
  const GlobalOptions& options;
  Output& output;
};

// Runs a command whose arguments are already parsed; answers the exit code or throws a Failure.
using CommandRunner = std::function<int(Context&)>;
