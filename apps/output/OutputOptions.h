// What whoever asks for an answer says about its form.
#pragma once

enum class When { automatic, always, never };  // automatic: where the stream is decorated
enum class ProgressStyle { automatic, always, never, json };
enum class ResultFormat { text, json, jsonLines };

struct OutputOptions {
  ResultFormat format = ResultFormat::text;
  bool quiet = false;    // no notes
  bool verbose = false;  // comments, too
  bool noInput = false;  // nobody is asked
  When color = When::automatic;
  ProgressStyle progress = ProgressStyle::automatic;
};
