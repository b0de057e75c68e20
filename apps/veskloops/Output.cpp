#include "Output.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::string_view kRed = "\x1b[1;31m";
constexpr std::string_view kYellow = "\x1b[1;33m";
constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kFaint = "\x1b[2m";
constexpr std::string_view kPlain = "\x1b[0m";
constexpr std::string_view kClearLine = "\r\x1b[K";

void writeMessage(std::string_view text) {
  if (!text.empty()) std::fwrite(text.data(), 1, text.size(), stderr);
}

bool hasValue(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

JSON errorObject(const Failure& failure) {
  JSON error = {{"code", failure.code}, {"kind", failure.kind}, {"message", failure.message}};
  if (!failure.subject.empty()) error["subject"] = failure.subject;
  if (!failure.suggestions.empty()) error["suggestions"] = failure.suggestions;
  if (!failure.nextStep.empty()) error["nextStep"] = failure.nextStep;
  return error;
}

std::string messageText(const Failure& failure) {
  return failure.subject.empty() ? failure.message : fmt::format("{}: {}", failure.message, failure.subject);
}

std::string nextStepText(const Failure& failure) {
  if (failure.suggestions.empty()) return failure.nextStep;
  std::string text = "Did you mean ";
  for (size_t index = 0; index < failure.suggestions.size(); ++index) {
    if (index > 0) text += index + 1 == failure.suggestions.size() ? " or " : ", ";
    text += fmt::format("\"{}\"", failure.suggestions[index]);
  }
  text += "?";
  return failure.nextStep.empty() ? text : text + " " + failure.nextStep;
}

}  // namespace

bool isWantedOn(int descriptor, When when) {
  if (when != When::automatic) return when == When::always;
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal != nullptr && std::string_view(terminal) == "dumb";
  return isatty(descriptor) && !hasValue("NO_COLOR") && !isDumb;
}

std::string compactJSON(const JSON& value) {
  return value.dump(-1, ' ', false, JSON::error_handler_t::replace);
}

Output::Output(const GlobalOptions& options)
    : m_options(options),
      m_resultIsOnTerminal(isatty(STDOUT_FILENO)),
      m_colorsResult(isWantedOn(STDOUT_FILENO, options.color)),
      m_colorsMessages(isWantedOn(STDERR_FILENO, options.color)) {}

void Output::writeResult(std::string_view text) {
  if (text.empty() || m_writeError != 0) return;
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) m_writeError = errno;
}

// --- Results as text ---

void Output::text(std::string_view line) {
  rawText(line);
  rawText("\n");
}

void Output::rawText(std::string_view text) {
  if (!isText()) return;
  setStatusLine({});
  writeResult(text);
}

std::string Output::emphasized(std::string_view text) const {
  return m_colorsResult ? fmt::format("{}{}{}", kBold, text, kPlain) : std::string(text);
}

std::string Output::faint(std::string_view text) const {
  return m_colorsResult ? fmt::format("{}{}{}", kFaint, text, kPlain) : std::string(text);
}

// --- Results as JSON ---

void Output::beginDocument(std::string_view schema, Summary summary) {
  m_summary = summary;
  m_documentIsOpen = !isText();
  if (m_options.format == ResultFormat::json) writeResult("{");
  field("schema", schema);
}

void Output::field(std::string_view name, JSON value) {
  if (m_options.format == ResultFormat::jsonLines) m_lastLine[std::string(name)] = std::move(value);
  if (m_options.format != ResultFormat::json) return;
  writeName(name);
  writeResult(compactJSON(value));
}

void Output::beginList(std::string_view name) {
  m_listIsOpen = true;
  m_listNeedsComma = false;
  if (m_options.format != ResultFormat::json) return;
  writeName(name);
  writeResult("[");
}

void Output::item(const JSON& value) {
  if (isText()) return;
  const bool isLine = m_options.format == ResultFormat::jsonLines;
  if (!isLine && m_listNeedsComma) writeResult(",");
  m_listNeedsComma = true;
  writeResult(compactJSON(value));
  if (isLine) writeResult("\n");
}

void Output::endList() {
  if (m_options.format == ResultFormat::json) writeResult("]");
  m_listIsOpen = false;
}

void Output::endDocument() {
  if (m_options.format == ResultFormat::json) writeResult("}\n");
  if (m_options.format == ResultFormat::jsonLines && m_summary == Summary::alsoAsLastLine) {
    writeResult(compactJSON(m_lastLine) + "\n");
  }
  m_documentIsOpen = false;
}

void Output::writeName(std::string_view name) {
  if (m_needsComma) writeResult(",");
  m_needsComma = true;
  writeResult(compactJSON(JSON(name)) + ":");
}

// --- Messages ---

void Output::message(std::string_view label, std::string_view color, std::string_view text, std::string_view nextStep) {
  setStatusLine({});
  const std::string shownLabel =
      m_colorsMessages ? fmt::format("{}{}:{}", color, label, kPlain) : fmt::format("{}:", label);
  std::string lines = fmt::format("veskloops: {} {}\n", shownLabel, text);
  if (!nextStep.empty()) lines += fmt::format("  {}\n", nextStep);
  writeMessage(lines);
}

void Output::error(std::string_view text, std::string_view nextStep) {
  message("error", kRed, text, nextStep);
}
void Output::warning(std::string_view text, std::string_view nextStep) {
  message("warning", kYellow, text, nextStep);
}

void Output::note(std::string_view text) {
  if (!m_options.quiet) message("note", kBold, text, {});
}

void Output::comment(std::string_view text) {
  if (m_options.verbose) note(text);
}

void Output::eventLine(const JSON& event) {
  plainLine(compactJSON(event));
}
void Output::plainLine(std::string_view line) {
  writeMessage(std::string(line) + "\n");
}

void Output::setStatusLine(std::string_view line) {
  if (line.empty() && !m_hasStatusLine) return;
  m_hasStatusLine = !line.empty();
  writeMessage(kClearLine);
  writeMessage(line);
  std::fflush(stderr);
}

int Output::fail(const Failure& failure) {
  error(messageText(failure), nextStepText(failure));
  if (isText()) return failure.code;
  if (m_listIsOpen) endList();
  if (m_documentIsOpen) {
    field("error", errorObject(failure));
    endDocument();
  } else {
    writeResult(compactJSON({{"error", errorObject(failure)}}) + "\n");
  }
  return failure.code;
}

bool Output::canAsk() const {
  return !m_options.noInput && isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
}

bool Output::confirm(std::string_view question) {
  if (!canAsk()) return false;
  setStatusLine({});
  writeMessage(fmt::format("{} [y/N] ", question));
  std::fflush(stderr);
  char answer[16] = {};
  if (std::fgets(answer, sizeof answer, stdin) == nullptr) return false;
  return answer[0] == 'y' || answer[0] == 'Y';
}

int Output::finish(int code) {
  setStatusLine({});
  if (m_writeError == 0 && std::fflush(stdout) != 0) m_writeError = errno;
  if (m_writeError == 0) return code;
  // A reader that had enough has closed the pipe on purpose.
  if (m_writeError != EPIPE) error(fmt::format("the result could not be written: {}", std::strerror(m_writeError)));
  return code == kExitDone ? static_cast<int>(kExitFailed) : code;
}
