#include "Output.h"

#include "English.h"
#include "TerminalText.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr std::string_view kRed = "\x1b[1;31m";
constexpr std::string_view kYellow = "\x1b[1;33m";
constexpr std::string_view kBold = "\x1b[1m";
constexpr std::string_view kFaint = "\x1b[2m";
constexpr std::string_view kPlain = "\x1b[0m";
constexpr std::string_view kClearLine = "\r\x1b[K";

bool isWanted(When when, const StreamTraits& stream) {
  return when == When::automatic ? stream.isDecorated : when == When::always;
}

std::string messageText(const Failure& failure) {
  return failure.subject.empty() ? failure.message : fmt::format("{}: {}", failure.message, failure.subject);
}

std::string nextStepText(const Failure& failure) {
  if (failure.suggestions.empty()) return failure.nextStep;
  if (failure.isAmbiguous) return fmt::format("{}\n  {}", fmt::join(failure.suggestions, "\n  "), failure.nextStep);
  const std::string text = fmt::format("Did you mean {}?", quotedChoices(failure.suggestions));
  return failure.nextStep.empty() ? text : text + " " + failure.nextStep;
}

}  // namespace

JSON jsonOfFailure(const Failure& failure) {
  JSON error = {{"code", failure.code}, {"kind", failure.kind}, {"message", failure.message}};
  if (!failure.subject.empty()) error["subject"] = failure.subject;
  if (!failure.suggestions.empty()) error["suggestions"] = failure.suggestions;
  if (!failure.nextStep.empty()) error["nextStep"] = failure.nextStep;
  return error;
}

Output::Output(Sink& sink, const OutputOptions& options)
    : m_sink(sink),
      m_options(options),
      m_resultIsOnTerminal(sink.resultTraits().isTerminal),
      m_colorsResult(isWanted(options.color, sink.resultTraits())),
      m_colorsMessages(isWanted(options.color, sink.messageTraits())) {}

// --- Results as text ---

void Output::text(std::string_view line) {
  rawText(line);
  rawText("\n");
}

void Output::rawText(std::string_view text) {
  if (!isText()) return;
  setStatusLine({});
  m_sink.writeResult(text);
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
  m_document = Document::open;
  if (m_options.format == ResultFormat::json) m_sink.writeResult("{");
  field("schema", schema);
}

void Output::field(std::string_view name, JSON value) {
  if (m_options.format == ResultFormat::jsonLines) m_lastLine[std::string(name)] = std::move(value);
  if (m_options.format != ResultFormat::json) return;
  writeName(name);
  m_sink.writeResult(compactJSON(value));
}

void Output::beginList(std::string_view name) {
  m_listIsOpen = true;
  m_listNeedsComma = false;
  if (m_options.format != ResultFormat::json) return;
  writeName(name);
  m_sink.writeResult("[");
}

void Output::item(const JSON& value, std::string_view nameAsLine) {
  if (isText()) return;
  if (m_options.format == ResultFormat::jsonLines) {
    m_sink.writeResult(compactJSON(nameAsLine.empty() ? value : JSON{{nameAsLine, value}}) + "\n");
    return;
  }
  if (m_listNeedsComma) m_sink.writeResult(",");
  m_listNeedsComma = true;
  m_sink.writeResult(compactJSON(value));
}

void Output::endList() {
  if (m_options.format == ResultFormat::json) m_sink.writeResult("]");
  m_listIsOpen = false;
}

void Output::endDocument() {
  if (m_options.format == ResultFormat::json) m_sink.writeResult("}\n");
  if (m_options.format == ResultFormat::jsonLines && m_summary == Summary::alsoAsLastLine) {
    m_sink.writeResult(compactJSON(m_lastLine) + "\n");
  }
  m_document = Document::complete;
}

// Lines of JSON end with the error: in the summary where there is one, else by itself.
void Output::failDocument(const JSON& error) {
  const bool isLines = m_options.format == ResultFormat::jsonLines;
  if (m_document == Document::open && !(isLines && m_summary == Summary::inDocumentOnly)) {
    if (m_listIsOpen) endList();
    field("error", error);
    endDocument();
  } else if (m_document == Document::none || isLines) {
    m_sink.writeResult(compactJSON({{"error", error}}) + "\n");
    m_document = Document::complete;
  }
}

void Output::writeName(std::string_view name) {
  if (m_needsComma) m_sink.writeResult(",");
  m_needsComma = true;
  m_sink.writeResult(compactJSON(JSON(name)) + ":");
}

// --- Messages ---

void Output::message(std::string_view label, std::string_view color, std::string_view text, std::string_view nextStep) {
  setStatusLine({});
  std::string lines(text);
  if (!nextStep.empty()) lines.append("\n  ").append(nextStep);
  if (messageTraits().isTerminal) lines = printableLines(lines);
  const std::string shownLabel =
      m_colorsMessages ? fmt::format("{}{}:{}", color, label, kPlain) : fmt::format("{}:", label);
  m_sink.writeMessage(fmt::format("veskloops: {} {}\n", shownLabel, lines));
}

void Output::error(std::string_view text, std::string_view nextStep) {
  message("error", kRed, text, nextStep);
}
void Output::error(const Failure& failure) {
  error(messageText(failure), nextStepText(failure));
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
  m_sink.writeMessage(std::string(line) + "\n");
}

void Output::setStatusLine(std::string_view line) {
  if (line.empty() && !m_hasStatusLine) return;
  m_hasStatusLine = !line.empty();
  m_sink.writeMessage(kClearLine);
  m_sink.writeMessage(line);
}

int Output::fail(const Failure& failure) {
  error(failure);
  if (!isText()) failDocument(jsonOfFailure(failure));
  return failure.code;
}

bool Output::confirm(std::string_view question) {
  if (!canAsk()) return false;
  setStatusLine({});
  m_sink.writeMessage(fmt::format("{} [y/N] ", printable(question)));
  m_sink.flush();
  const std::string answer = m_sink.readAnswer().value_or("");
  return answer.starts_with('y') || answer.starts_with('Y');
}

int Output::finish(int code) {
  setStatusLine({});
  m_sink.flush();
  if (canWrite() || m_sink.error() == EPIPE) return code;
  error(fmt::format("the result could not be written: {}", std::strerror(m_sink.error())));
  return code == kExitDone ? static_cast<int>(kExitFailed) : code;
}
