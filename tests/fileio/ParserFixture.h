// What the parser tests share: one file in a folder of its own, the record that our parser makes of it, and its fields
// as short texts.
#pragma once

#include "platform/Path.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include "support/AudioFixture.h"
#include "support/TestEnvironment.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

enum class Parse { plain, enhanced };

// A folder whose path holds no keyword, with a file in it.
class ParsedFile {
 public:
  ParsedFile(std::string_view relativePath, const fixture::Bytes& contents)
      : m_path(m_folder.addFile(relativePath, contents)) {}

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
  return ParsedFile(relativePath, contents).record(parse);
}

// A payload made ahead of time by tests/data/make-archives.py.
inline fixture::Bytes archiveNamed(std::string_view name) {
  const auto contents = vesk::path::readFile(std::string(TEST_DATA_DIR "/") + std::string(name));
  EXPECT_TRUE(contents) << name;
  return fixture::bytesOf(contents.value_or(""));
}

inline std::string joined(const std::vector<std::optional<std::string>>& texts) {
  std::string line;
  for (const auto& text : texts) line += text.value_or("-") + "|";
  return line;
}
// Type, sub-type, genre, descriptors, collection and theme; "-" for what is missing, which "" is not.
inline std::string tagsOf(const LCFileData& r) {
  return joined(
      {r.instrumentTypeTag, r.instrumentSubTypeTag, r.genreTag, r.descriptorsString(), r.collectionTag, r.themeTag});
}
// Title, author, copyright and comment.
inline std::string textsOf(const LCFileData& r) {
  return joined({r.title, r.authorTag, r.copyrightTag, r.commentTag});
}
// "authored", "typed", both or neither.
inline std::string flagsOf(const LCFileData& r) {
  return std::string(r.hasAuthoredChunks ? "authored " : "") + (r.hasLoopTypeChunks ? "typed" : "");
}
// Beats, root note, key type, signature and file type: "16 57 2 6/8 1".
inline std::string numbersOf(const LCFileData& r) {
  return fmt::format("{} {} {} {}/{} {}", r.beatCount, r.midiRootNote, r.keyType, r.signatureTop, r.signatureBottom,
                     r.fileType);
}
