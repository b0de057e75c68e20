// What every command is given: the options that all commands share, and where to print.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

class Output;

enum class When { automatic, always, never };
enum class ProgressStyle { automatic, always, never, json };
enum class ResultFormat { text, json, jsonLines };

struct GlobalOptions {
  std::optional<std::string> database;  // from the option or the environment
  ResultFormat format = ResultFormat::text;
  bool quiet = false;
  bool verbose = false;
  bool noInput = false;
  When color = When::automatic;
  ProgressStyle progress = ProgressStyle::automatic;
};

struct Context {
  const GlobalOptions& options;
  Output& output;
};

// Runs a command whose arguments are already parsed; answers the exit code or throws a Failure.
using CommandRunner = std::function<int(Context&)>;
