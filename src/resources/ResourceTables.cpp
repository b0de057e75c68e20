#include "resources/ResourceTables.h"

#include <cstdint>

extern const unsigned char topperFilenames_txt[];
extern const uint32_t topperFilenames_txt_len;
extern const unsigned char trackStackFilenames_txt[];
extern const uint32_t trackStackFilenames_txt_len;
extern const unsigned char legacyCrates_txt[];
extern const uint32_t legacyCrates_txt_len;

namespace resources {
namespace {

// A line is a name, blanks at its ends included. Empty lines and lines that begin with "#" are none.
vesk::StringSet namesIn(const unsigned char* bytes, uint32_t length) {
  vesk::StringSet names;
  for (std::string& line : vesk::text::split({reinterpret_cast<const char*>(bytes), length}, '\n')) {
    if (!line.empty() && line.front() != '#') names.insert(std::move(line));
  }
  return names;
}

}  // namespace

const vesk::StringSet& topperFilenames() {
  static const vesk::StringSet names = namesIn(topperFilenames_txt, topperFilenames_txt_len);
  return names;
}

const vesk::StringSet& trackStackFilenames() {
  static const vesk::StringSet names = namesIn(trackStackFilenames_txt, trackStackFilenames_txt_len);
  return names;
}

const vesk::StringSet& legacyCrateIdentifierSuffixes() {
  static const vesk::StringSet suffixes = namesIn(legacyCrates_txt, legacyCrates_txt_len);
  return suffixes;
}

bool isTrackStackLoopWithMissingInfo(std::string_view fileName) {
  return trackStackFilenames().find(fileName) != trackStackFilenames().end();
}

std::string_view contentIdentifierPrefix() {
  return VESK_CONTENT_IDENTIFIER_PREFIX;
}

}  // namespace resources
