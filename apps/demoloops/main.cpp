// demoloops FOLDER: makes a small library of tagged loops to try the search with: three containers, several tempi,
// keys, moods and numbered variants. Files that are there already are left alone.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "Synth.h"
#include "TaggedAudio.h"

namespace {

using demo::Container;
using demo::Instrument;

// One name and its numbered variants.
struct Family {
  const char* folder;
  const char* name;
  int variants;
  Container container;
  int beatsPerBar;
  demo::Recipe recipe;
  const char* instrument;
  const char* subInstrument;
  const char* genre;
  std::vector<std::string> descriptors;
};

// WAV has no place for instrument and genre: those loops are found by the words of their folders and names.
const std::vector<Family>& families() {
  // clang-format off
  static const std::vector<Family> table = {
      {"Beats", "Velvet Alley Beat", 3, Container::aiff, 4, {Instrument::drums, 96, 8},
       "Drums", "Drum Kit", "Hip Hop", {"Ensemble", "Grooving", "Dry", "Relaxed"}},
      {"Beats", "Copper Street Beat", 3, Container::caf, 4, {Instrument::drums, 124, 16},
       "Drums", "Electronic Beats", "Tech House", {"Ensemble", "Grooving", "Processed", "Intense"}},
      {"Beats", "Lantern Waltz Beat", 2, Container::caf, 3, {Instrument::drums, 140, 12},
       "Drums", "Drum Kit", "Jazz", {"Acoustic", "Relaxed", "Dry"}},
      {"Percussion", "Paper Rain Shaker", 3, Container::aiff, 4, {Instrument::percussion, 110, 8},
       "Percussion", "Shaker", "World/Ethnic", {"Single", "Acoustic", "Dry", "Grooving"}},
      {"Bass", "Harbour Line Bass", 3, Container::aiff, 4, {Instrument::bass, 96, 8, 57, true},
       "Bass", "Electric Bass", "Funk", {"Single", "Dark", "Grooving", "Electric"}},
      {"Bass", "Night Bus Bass", 2, Container::caf, 4, {Instrument::bass, 124, 16, 57, true},
       "Bass", "Synthetic Bass", "Deep House", {"Single", "Dark", "Processed", "Electric"}},
      {"Bass", "Orchard Walk Bass", 2, Container::caf, 3, {Instrument::bass, 140, 12, 53, false},
       "Bass", "Acoustic Bass", "Jazz", {"Single", "Acoustic", "Relaxed", "Dry"}},
      {"Bass", "Quay Synthetic Bass 100 BPM", 2, Container::wav, 4, {Instrument::bass, 100, 8, 50, true},
       "", "", "", {}},
      {"Keys", "Amber Window Keys", 3, Container::aiff, 4, {Instrument::keys, 72, 8, 48, false},
       "Keyboards", "Electric Piano", "Electronic/Dance", {"Cheerful", "Melodic", "Relaxed", "Clean"}},
      {"Keys", "Slate Roof Piano", 2, Container::caf, 4, {Instrument::keys, 84, 8, 54, true},
       "Keyboards", "Piano", "Cinematic/New Age", {"Dark", "Melodic", "Single"}},
      {"Keys", "Corner Organ 90 BPM", 2, Container::wav, 4, {Instrument::keys, 90, 8, 55, false},
       "", "", "", {}},
      {"Strings", "Far Meadow Strings", 2, Container::caf, 4, {Instrument::strings, 68, 16, 52, true},
       "Strings", "Cello", "Orchestral", {"Ensemble", "Dark", "Melodic", "Acoustic"}},
  };
  // clang-format on
  return table;
}

demo::LoopTags tagsOf(const Family& family, const std::string& title) {
  const demo::Recipe& recipe = family.recipe;
  demo::LoopTags tags;
  tags.beats = static_cast<int16_t>(recipe.beats);
  tags.rootNote = static_cast<int16_t>(recipe.rootNote);
  tags.scale = static_cast<int16_t>(recipe.rootNote == 0 ? 3 : recipe.isMinor ? 1 : 2);
  tags.signatureTop = static_cast<int16_t>(family.beatsPerBar);
  tags.instrument = family.instrument;
  tags.subInstrument = family.subInstrument;
  tags.genre = family.genre;
  tags.descriptors = family.descriptors;
  tags.title = title;
  tags.author = "VeskLoopManagement";
  return tags;
}

const char* extension(Container container) {
  return container == Container::aiff ? ".aif" : container == Container::wav ? ".wav" : ".caf";
}

bool makeFamily(const std::filesystem::path& root, const Family& family) {
  std::error_code error;
  const std::filesystem::path folder = root / family.folder;
  std::filesystem::create_directories(folder, error);
  for (int variant = 1; variant <= family.variants; ++variant) {
    const std::string title = std::string(family.name) + " 0" + std::to_string(variant);
    const std::string path = (folder / (title + extension(family.container))).string();
    if (std::filesystem::exists(path, error)) continue;
    demo::Recipe recipe = family.recipe;
    recipe.variant = variant;
    if (!demo::writeTaggedAudio(path, family.container, demo::rendered(recipe), tagsOf(family, title))) {
      std::fprintf(stderr, "demoloops: error: cannot write %s\n", path.c_str());
      return false;
    }
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2 || argv[1][0] == '-') {
    std::fprintf(stderr, "usage: demoloops FOLDER\n");
    return 2;
  }
  for (const Family& family : families()) {
    if (!makeFamily(argv[1], family)) return 1;
  }
  return 0;
}
