// Everything that the program says: the result, in one of three formats, and messages beside it, both into a sink. One
// Output gives one answer; one thread. A result document is written while its parts become known, so that a result of
// any size takes no memory; when a command fails half way, the document is still completed.
#pragma once

#include "Failure.h"
#include "JSON.h"
#include "OutputOptions.h"
#include "Sink.h"

#include <string>
#include <string_view>

// {"code":3,"kind":"notFound","message":…}
JSON jsonOfFailure(const Failure& failure);

class Output {
 public:
  Output(Sink& sink, const OutputOptions& options);  // the sink must outlive it

  const OutputOptions& options() const { return m_options; }
  bool isText() const { return m_options.format == ResultFormat::text; }
  bool isQuiet() const { return m_options.quiet; }
  bool resultIsOnTerminal() const { return m_resultIsOnTerminal; }
  StreamTraits resultTraits() const { return m_sink.resultTraits(); }
  StreamTraits messageTraits() const { return m_sink.messageTraits(); }

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
  // `nameAsLine` tells a line of JSON from those of other lists: {"failure":{…}}. A document has no need of it.
  void item(const JSON& value, std::string_view nameAsLine = {});
  void endList();
  void endDocument();

  // --- Messages; on a terminal nothing in them can steer it ---
  void error(std::string_view message, std::string_view nextStep = {});
  void error(const Failure& failure);
  void warning(std::string_view message, std::string_view nextStep = {});
  void note(std::string_view message);     // not with --quiet
  void comment(std::string_view message);  // only with --verbose
  void eventLine(const JSON& event);       // a line of JSON
  void plainLine(std::string_view line);   // a line as it stands
  // A line on the terminal that the next message or the next status replaces; "" takes it away.
  void setStatusLine(std::string_view line);

  // Prints the failure as a message and in the result's format; answers its exit code. A JSON document that is already
  // complete stays the only one.
  int fail(const Failure& failure);
  // Asks the person there; false for no, and when there is nobody to ask.
  bool confirm(std::string_view question);
  bool canAsk() const { return !m_options.noInput && m_sink.canAsk(); }
  // Everything is written: `code`, or 1 when the sink could not take the result. A reader that has had enough and is
  // gone is no failure.
  int finish(int code);
  // False once the sink takes nothing more of the result; long results then stop early.
  bool canWrite() const { return m_sink.error() == 0; }

 private:
  enum class Document { none, open, complete };

  void message(std::string_view label, std::string_view color, std::string_view text, std::string_view nextStep);
  void writeName(std::string_view name);
  void failDocument(const JSON& error);

  Sink& m_sink;
  OutputOptions m_options;
  bool m_resultIsOnTerminal;
  bool m_colorsResult;
  bool m_colorsMessages;
  bool m_hasStatusLine = false;
  Document m_document = Document::none;
  bool m_listIsOpen = false;
  bool m_needsComma = false;      // before the next name of the document
  bool m_listNeedsComma = false;  // before the next item of the list
  Summary m_summary = Summary::inDocumentOnly;
  JSON m_lastLine;
};
