// A legacy index file: the text file "Search Index ….txt" in which an earlier generation of hosts noted one package of
// add-on loops. Of its contents only the folder of the package's audio files is used. Immutable after reading; a plain
// value. A file that cannot be read throws LCLegacyIndexFileException: the one exception of the library, with what the
// import makes of others (LCMigrationUtilities.h).
//
// The folder is the first run of text that begins with the index file's own top-level folder ("/Library", "/Users") and
// ends before a NUL character. The contents are ASCII; other bytes make the file unreadable.
#pragma once

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/URL.h"

#include <exception>
#include <string>
#include <string_view>
#include <utility>

// "?" stands for any one character. In pieces, for compilers that read "?" "?" "-" as one character.
inline constexpr std::string_view LCLegacyIndexFileNamePattern =
    "Search Index ????????"
    "-????"
    "-????"
    "-????"
    "-????????????.txt";

// An exception that is known by its name.
class LC_EXPORT LCNamedException : public std::exception {
 public:
  LCNamedException(std::string name, std::string reason) : m_name(std::move(name)), m_reason(std::move(reason)) {}
  ~LCNamedException() override;
  const std::string& name() const { return m_name; }
  const std::string& reason() const { return m_reason; }
  const char* what() const noexcept override { return m_reason.c_str(); }

 private:
  std::string m_name;
  std::string m_reason;
};

class LC_EXPORT LCLegacyIndexFileException : public LCNamedException {
 public:
  explicit LCLegacyIndexFileException(std::string reason);  // its name is that of the class
  ~LCLegacyIndexFileException() override;
};

class LC_EXPORT LCLegacyIndexFile {
 public:
  explicit LCLegacyIndexFile(const vesk::URL& fileURL);  // initWithContentsOfURL:; throws when it cannot be read
  static LCLegacyIndexFile indexFileWithContentsOfURL(const vesk::URL& url) { return LCLegacyIndexFile(url); }
  static bool isNameOfIndexFile(std::string_view fileName);  // whether it fits the pattern

  const vesk::URL& fileURL() const { return m_fileURL; }
  const std::string& crateAudioPath() const { return m_crateAudioPath; }  // "" when the file names none
  const std::string& crateName() const { return m_crateName; }            // the folder's
  const std::string& crateIdentifier() const { return m_crateIdentifier; }

 private:
  vesk::URL m_fileURL;
  std::string m_crateAudioPath;
  std::string m_crateName;
  std::string m_crateIdentifier;
};
