#include "resources/ResourceTables.h"

#include <cstdint>

extern const unsigned char topperFilenames_txt[];
extern const uint32_t topperFilenames_txt_len;
extern const unsigned char topperRepairFilenames_txt[];
extern const uint32_t topperRepairFilenames_txt_len;
extern const unsigned char trackStackFilenames_txt[];
extern const uint32_t trackStackFilenames_txt_len;
extern const unsigned char legacyCrates_txt[];
extern const uint32_t legacyCrates_txt_len;
extern const unsigned char instrumentIcons_txt[];
extern const uint32_t instrumentIcons_txt_len;

namespace lc::resources {
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

const vesk::StringSet& topperRepairFilenames() {
  static const vesk::StringSet names = namesIn(topperRepairFilenames_txt, topperRepairFilenames_txt_len);
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

const std::map<std::string, std::string>& instrumentIconNames() {
  static const std::map<std::string, std::string> icons = [] {
    std::map<std::string, std::string> table;
    for (const std::string& line : namesIn(instrumentIcons_txt, instrumentIcons_txt_len)) {
      const std::vector<std::string> fields = vesk::text::split(line, '\t');
      if (fields.size() == 2) table.emplace(fields[0], fields[1]);
    }
    return table;
  }();
  return icons;
}

bool isTrackStackLoopWithMissingInfo(std::string_view fileName) {
  return trackStackFilenames().find(fileName) != trackStackFilenames().end();
}

std::string_view contentIdentifierPrefix() {
  return VESK_CONTENT_IDENTIFIER_PREFIX;
}

}  // namespace lc::resources
