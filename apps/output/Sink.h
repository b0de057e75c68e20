// Where the bytes of an answer go, and what stands at the other end. A result and the messages about it are two
// streams. One thread. Writing answers nothing: when the result cannot be written, error() says why, and what follows
// is dropped; messages that cannot be written are lost.
#pragma once

#include <cstddef>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

struct StreamTraits {
  bool isTerminal = false;
  bool isDecorated = false;  // colour and lines that replace each other are welcome
  size_t columns = 80;
};

class Sink {
 public:
  virtual ~Sink() = default;

  virtual void writeResult(std::string_view bytes) = 0;
  virtual void writeMessage(std::string_view bytes) = 0;
  virtual void flush() = 0;  // everything written so far is on its way, or error() says why not
  // errno of the first part of the result that could not be written; 0 while it takes more.
  virtual int error() const = 0;

  virtual StreamTraits resultTraits() const = 0;
  virtual StreamTraits messageTraits() const = 0;
  // A person is there to answer a question among the messages.
  virtual bool canAsk() const = 0;
  // What the person typed, without the line end; nullopt when nothing comes.
  virtual std::optional<std::string> readAnswer() = 0;
};

// The three streams of a process, which are borrowed. A result whose reader is gone is an error EPIPE only where
// SIGPIPE is ignored. NO_COLOR and TERM say whether a terminal is decorated.
class StandardStreams : public Sink {
 public:
  explicit StandardStreams(FILE* input = stdin, FILE* result = stdout, FILE* messages = stderr)
      : m_input(input), m_result(result), m_messages(messages) {}

  void writeResult(std::string_view bytes) override;
  void writeMessage(std::string_view bytes) override;
  void flush() override;
  int error() const override { return m_error; }
  StreamTraits resultTraits() const override;
  StreamTraits messageTraits() const override;
  bool canAsk() const override;
  std::optional<std::string> readAnswer() override;

 private:
  FILE* m_input;
  FILE* m_result;
  FILE* m_messages;
  int m_error = 0;
};

// Keeps everything in memory. What stands at the other end is set by whoever owns it.
class StringSink : public Sink {
 public:
  std::string result;
  std::string messages;
  StreamTraits resultStream;
  StreamTraits messageStream;
  std::optional<std::string> answer;  // of the person there; nullopt: there is none
  int errorNumber = 0;                // anything but 0: the result takes no more

  void writeResult(std::string_view bytes) override;
  void writeMessage(std::string_view bytes) override { messages += bytes; }
  void flush() override {}
  int error() const override { return errorNumber; }
  StreamTraits resultTraits() const override { return resultStream; }
  StreamTraits messageTraits() const override { return messageStream; }
  bool canAsk() const override { return answer.has_value(); }
  std::optional<std::string> readAnswer() override { return answer; }
};
