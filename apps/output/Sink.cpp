#include "Sink.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace {

bool hasValue(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

StreamTraits traitsOf(FILE* stream) {
  StreamTraits traits;
  const int descriptor = fileno(stream);
  traits.isTerminal = isatty(descriptor) != 0;
  if (!traits.isTerminal) return traits;
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal != nullptr && std::string_view(terminal) == "dumb";
  traits.isDecorated = !isDumb && !hasValue("NO_COLOR");
  winsize size{};
  if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) traits.columns = size.ws_col;
  return traits;
}

int errorNumber() {
  return errno != 0 ? errno : EIO;
}

}  // namespace

void StandardStreams::writeResult(std::string_view bytes) {
  if (bytes.empty() || m_error != 0) return;
  errno = 0;
  if (std::fwrite(bytes.data(), 1, bytes.size(), m_result) != bytes.size()) m_error = errorNumber();
}

void StandardStreams::writeMessage(std::string_view bytes) {
  if (!bytes.empty()) std::fwrite(bytes.data(), 1, bytes.size(), m_messages);
}

void StandardStreams::flush() {
  std::fflush(m_messages);
  errno = 0;
  if (m_error == 0 && std::fflush(m_result) != 0) m_error = errorNumber();
}

StreamTraits StandardStreams::resultTraits() const {
  return traitsOf(m_result);
}
StreamTraits StandardStreams::messageTraits() const {
  return traitsOf(m_messages);
}

bool StandardStreams::canAsk() const {
  return isatty(fileno(m_input)) && isatty(fileno(m_messages));
}

std::optional<std::string> StandardStreams::readAnswer() {
  std::string line;
  for (int letter = std::fgetc(m_input); letter != '\n'; letter = std::fgetc(m_input)) {
    if (letter == EOF) return line.empty() ? std::nullopt : std::optional(line);
    line += static_cast<char>(letter);
  }
  return line;
}

void StringSink::writeResult(std::string_view bytes) {
  if (errorNumber == 0) result += bytes;
}
