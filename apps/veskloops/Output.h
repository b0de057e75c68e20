// Where everything that the program says goes: the result to standard output, in one of three formats, and messages to
// standard error. One thread. A result document is written while its parts become known, so that a result of any size
// takes no memory; when a command fails half way, the document is still completed.
#pragma once

#include "Context.h"
#include "Failure.h"

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

using JSON = nlohmann::ordered_json;

class Output {
 public:
  explicit Output(const GlobalOptions& options);

  bool isText() const { return m_options.format == ResultFormat::text; }
  bool isQuiet() const { return m_options.quiet; }
  bool resultIsOnTerminal() const { return m_resultIsOnTerminal; }

  // --- Results as text; nothing in the other formats ---
  void text(std::string_view line);                     // with a line end
  void rawText(std::string_view text);                  // as it stands
  std::string emphasized(std::string_view text) const;  // bold where the result has colour
  std::string faint(std::string_view text) const;

  // --- Results as JSON; nothing as text. One document, or a line for each item. ---
  enum class Summary { inDocumentOnly, alsoAsLastLine };  // what becomes of the fields when there is no document
  void beginDocument(std::string_view schema, Summary summary = Summary::inDocumentOnly);
  void field(std::string_view name, JSON value);
  void beginList(std::string_view name);
  void item(const JSON& value);
  void endList();
  void endDocument();

  // --- Messages ---
  void error(std::string_view message, std::string_view nextStep = {});
  void warning(std::string_view message, std::string_view nextStep = {});
  void note(std::string_view message);     // not with --quiet
  void comment(std::string_view message);  // only with --verbose
  void eventLine(const JSON& event);       // a line of JSON on standard error
  void plainLine(std::string_view line);   // a line on standard error as it stands
  // A line on the terminal that the next message or the next status replaces; "" takes it away.
  void setStatusLine(std::string_view line);

  // Prints the failure as a message and in the result's format; answers its exit code.
  int fail(const Failure& failure);
  // Asks on the terminal; false for no, and when there is nobody to ask.
  bool confirm(std::string_view question);
  bool canAsk() const;
  // Everything is written: `code`, or 1 when standard output could not take it.
  int finish(int code);
  // False once standard output takes nothing more; long results then stop early.
  bool canWrite() const { return m_writeError == 0; }

 private:
  void message(std::string_view label, std::string_view color, std::string_view text, std::string_view nextStep);
  void writeName(std::string_view name);
  void writeResult(std::string_view text);

  const GlobalOptions& m_options;
  bool m_resultIsOnTerminal;
  bool m_colorsResult;
  bool m_colorsMessages;
  int m_writeError = 0;  // errno of the first write to standard output that failed
  bool m_hasStatusLine = false;
  bool m_documentIsOpen = false;
  bool m_listIsOpen = false;
  bool m_needsComma = false;      // before the next name of the document
  bool m_listNeedsComma = false;  // before the next item of the list
  Summary m_summary = Summary::inDocumentOnly;
  JSON m_lastLine;
};

// Whether something that is only for people (colour, the progress line) is wanted on the stream behind `descriptor`.
bool isWantedOn(int descriptor, When when);
// The value's text on one line; ill-formed UTF-8 stands as U+FFFD.
std::string compactJSON(const JSON& value);
