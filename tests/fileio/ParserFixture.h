// What the parser tests share: one file in a folder of its own, and the record that our parser makes of it.
#pragma once

#include "fileio/LCFileParser.h"
#include "platform/Path.h"

#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

enum class Parse { plain, enhanced };

// A folder whose path holds no keyword, with a file in it.
class LoopFile {
 public:
  LoopFile(std::string_view relativePath, const fixture::Bytes& contents)
      : m_path(m_folder.addFile(relativePath,
                                std::string_view(reinterpret_cast<const char*>(contents.data()), contents.size()))) {}

  vesk::URL url() const { return vesk::URL::fileURLWithPath(m_path); }

  // The parser's record; an empty one, and a failed test, when there is none.
  LCFileData record(Parse parse = Parse::plain) const {
    const auto parser = LCFileParser::fileParserForURL(url());
    const LCFileData* data = nullptr;
    if (parser) data = parse == Parse::plain ? parser->fileData() : parser->enhancedFileData();
    EXPECT_NE(data, nullptr) << m_path;
    return data ? *data : LCFileData{};
  }

 private:
  TemporaryFolder m_folder;
  std::string m_path;
};

inline LCFileData recordOf(std::string_view relativePath, const fixture::Bytes& contents, Parse parse = Parse::plain) {
  return LoopFile(relativePath, contents).record(parse);
}

// A payload made ahead of time by tests/data/make-archives.py.
inline fixture::Bytes archiveNamed(std::string_view name) {
  const auto contents = vesk::path::readFile(std::string(TEST_DATA_DIR "/") + std::string(name));
  EXPECT_TRUE(contents) << name;
  return fixture::bytesOf(contents.value_or(""));
}

using Text = std::optional<std::string>;
