#include "Progress.h"

#include "Output.h"
#include "TerminalText.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace {

constexpr auto kInterval = std::chrono::milliseconds(100);
constexpr size_t kBarWidth = 20;

std::string titleOf(std::string_view phase) {
  if (phase == "scan") return "Counting";
  if (phase == "index") return "Indexing";
  if (phase == "remove") return "Removing";
  if (phase == "tag") return "Tagging";
  if (phase == "undo") return "Taking back";
  return "Finishing";
}

std::string bar(double fraction) {
  const auto filled = std::min(kBarWidth, static_cast<size_t>(fraction * static_cast<double>(kBarWidth)));
  std::string text(filled, '=');
  if (filled < kBarWidth) text += '>';
  text.resize(kBarWidth, ' ');
  return "[" + text + "]";
}

std::string clockText(int64_t seconds) {
  return fmt::format("{}:{:02}", seconds / 60, seconds % 60);
}

}  // namespace

Progress::Style Progress::styleFor(const Output& output) {
  switch (output.options().progress) {
    case ProgressStyle::json:
      return Style::json;
    case ProgressStyle::never:
      return Style::none;
    case ProgressStyle::always:
      return output.messageTraits().isTerminal ? Style::statusLine : Style::lines;
    case ProgressStyle::automatic:
      break;
  }
  return !output.options().quiet && output.messageTraits().isDecorated ? Style::statusLine : Style::none;
}

Progress::Progress(Output& output) : m_output(output), m_style(styleFor(output)) {}

void Progress::begin(std::string_view phase, std::optional<int64_t> total) {
  m_phase = phase;
  m_total = total;
  m_done = 0;
  m_path.clear();
  m_phaseBegan = Clock::now();
  show();
}

void Progress::step(int64_t done, std::string_view path) {
  if (!isShown()) return;
  m_done = done;
  m_path = path;
  m_isCurrentShown = false;
  if (Clock::now() - m_lastShown >= kInterval) show();
}

void Progress::end() {
  if (isShown() && !m_isCurrentShown) show();
  m_output.setStatusLine({});
}

void Progress::show() {
  m_lastShown = Clock::now();
  m_isCurrentShown = true;
  if (m_style == Style::statusLine) {
    m_output.setStatusLine(cutToWidth(line(), m_output.messageTraits().columns - 1));
  } else if (m_style == Style::lines) {
    m_output.plainLine(line());
  } else if (m_style == Style::json) {
    JSON event = {{"event", "progress"}, {"phase", m_phase}, {"done", m_done}};
    if (m_total) event["total"] = *m_total;
    if (!m_path.empty()) event["path"] = m_path;
    m_output.eventLine(event);
  }
}

// As in: Indexing  [=====>    ]  512/1200  42%  95/s  ETA 0:07  Funky Beat 01.caf
std::string Progress::line() const {
  std::string text = titleOf(m_phase);
  const double seconds = std::chrono::duration<double>(Clock::now() - m_phaseBegan).count();
  const double rate = seconds > 0 ? static_cast<double>(m_done) / seconds : 0;
  if (m_total && *m_total > 0) {
    const double fraction = std::min(1.0, static_cast<double>(m_done) / static_cast<double>(*m_total));
    text += fmt::format("  {}  {}/{}  {:.0f}%", bar(fraction), m_done, *m_total, fraction * 100);
  } else if (m_done > 0) {
    text += fmt::format("  {}", m_done);
  }
  if (rate >= 1) {
    text += fmt::format("  {:.0f}/s", rate);
    if (m_total && *m_total > m_done) {
      text += "  ETA " + clockText(static_cast<int64_t>(static_cast<double>(*m_total - m_done) / rate) + 1);
    }
  }
  if (!m_path.empty()) text += "  " + printable(std::filesystem::path(m_path).filename().string());
  return text;
}
