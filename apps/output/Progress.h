// Tells among the messages how far a long command is: a line of the terminal, plain lines, or lines of JSON; at most
// ten a second, the first and the last of every phase always. Says nothing when nobody wants it.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

class Output;

class Progress {
 public:
  explicit Progress(Output& output);  // borrowed

  bool isShown() const { return m_style != Style::none; }
  // `phase` is "scan", "index", "remove", "tag", "undo" or "finish"; `total` is unknown when the work is not counted
  // beforehand.
  void begin(std::string_view phase, std::optional<int64_t> total);
  void step(int64_t done, std::string_view path);
  void end();  // of the phase

 private:
  using Clock = std::chrono::steady_clock;
  enum class Style { none, statusLine, lines, json };

  static Style styleFor(const Output& output);
  void show();
  std::string line() const;

  Output& m_output;
  Style m_style;
  std::string m_phase;
  std::optional<int64_t> m_total;
  int64_t m_done = 0;
  std::string m_path;
  Clock::time_point m_phaseBegan;
  Clock::time_point m_lastShown;
  bool m_isCurrentShown = false;
};
