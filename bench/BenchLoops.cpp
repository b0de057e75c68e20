#include "BenchLoops.h"

#include "BenchFolder.h"

#include "platform/Path.h"
#include "support/AudioFixture.h"

#include <fmt/format.h>

#include <cstdio>

namespace {

struct Instrument {
  std::string type, subType;
};

const std::vector<Instrument> kInstruments = {{"Drums", "Drum Kit"},      {"Drums", "Kick"},
                                              {"Bass", "Electric Bass"},  {"Guitars", "Acoustic Guitar"},
                                              {"Keyboards", "Piano"},     {"Keyboards", "Synthesizer"},
                                              {"Percussion", "Shaker"},   {"Strings", "Cello"},
                                              {"Horn/Wind", "Saxophone"}, {"Vocals", "Choir"}};
const std::vector<std::string> kGenres = {"Hip Hop", "Jazz", "Funk", "Electronic/Dance", "Rock/Blues", "Orchestral"};
const std::vector<std::string> kMoods = {"Dry", "Grooving", "Dark", "Acoustic", "Single", "Part", "Clean", "Relaxed"};
const std::vector<std::string> kWords = {"Amber", "Broken", "Copper", "Dusty", "Early", "Faded", "Golden", "Hollow"};
const std::vector<std::string> kNotes = {"C", "D", "Eb", "E", "F", "G", "A", "Bb"};

constexpr double kRate = 1000;
constexpr uint32_t kFrames = 4000;

struct Loop {
  Instrument instrument;
  std::string name, genre, note;
  std::vector<std::string> moods;
};

fixture::Bytes aiffLoop(const Loop& loop) {
  return fixture::aiffFile({fixture::chunk("NAME", loop.name), fixture::chunk("AUTH", "Vesk Bench"),
                            fixture::chunk("(c) ", "2024"), fixture::chunk("COMT", fixture::comtPayload({"seeded"})),
                            fixture::chunk("basc", fixture::bascPayload(8, 60, 2, 4, 4, 1)),
                            fixture::chunk("cate", fixture::catePayload(loop.instrument.type, loop.instrument.subType,
                                                                        loop.genre, loop.moods))},
                           2, kFrames, 16, kRate);
}

fixture::Bytes wavLoop(const Loop& loop) {
  return fixture::wavFile(
      {fixture::chunk("acid", fixture::acidPayload(2, 60, 8, 4, 4, 120)),
       fixture::chunk("LIST", fixture::infoListPayload({{"INAM", loop.name}, {"IART", "Vesk Bench"}}))},
      2, kFrames, 16, static_cast<uint32_t>(kRate));
}

fixture::Bytes cafLoop(const Loop& loop) {
  std::string moods;
  for (const std::string& mood : loop.moods) moods += (moods.empty() ? "" : ",") + mood;
  const fixture::Bytes searchInfo = fixture::searchInfoPayload({{"category", loop.instrument.type},
                                                                {"subcategory", loop.instrument.subType},
                                                                {"genre", loop.genre},
                                                                {"descriptors", moods},
                                                                {"key signature", loop.note},
                                                                {"key type", "major"},
                                                                {"beat count", "8"},
                                                                {"time signature", "4/4"}});
  return fixture::cafFile(
      {fixture::cafInfoChunk({{"artist", "Vesk Bench"}, {"title", loop.name}}), fixture::chunk("uuid", searchInfo)}, 2,
      kFrames, 16, kRate);
}

Loop randomLoop(Random& random, size_t number) {
  Loop loop;
  loop.instrument = kInstruments[random.skewed(kInstruments.size())];
  loop.genre = random.oneOf(kGenres);
  loop.note = random.oneOf(kNotes);
  loop.moods = {random.oneOf(kMoods), random.oneOf(kMoods)};
  loop.name = fmt::format("{} {} {:04}", random.oneOf(kWords), loop.instrument.subType, number);
  return loop;
}

void makeLoopFiles(const std::string& folder) {
  Random random(20240611);
  for (size_t number = 0; number < kBenchLoopCount; ++number) {
    const Loop loop = randomLoop(random, number);
    const std::string pack = fmt::format("{}/Pack {:02}", folder, number / 100);
    const std::string home = vesk::path::appending(pack, loop.instrument.subType);
    vesk::path::createDirectories(home);
    const std::string path = vesk::path::appending(home, loop.name);
    if (number % 3 == 0) fixture::writeFile(path + ".aif", aiffLoop(loop));
    if (number % 3 == 1) fixture::writeFile(path + ".wav", wavLoop(loop));
    if (number % 3 == 2) fixture::writeFile(path + ".caf", cafLoop(loop));
  }
}

}  // namespace

std::string benchLoopsFolder() {
  const std::string folder = vesk::path::appending(benchFolder(), "loops-1");
  const std::string whole = folder + ".whole";
  if (!vesk::path::exists(whole)) {
    std::fprintf(stderr, "making %zu loop files in %s\n", kBenchLoopCount, folder.c_str());
    makeLoopFiles(folder);
    vesk::path::writeFileAtomically(whole, "");
  }
  return folder;
}

std::vector<std::string> benchLoops(std::string_view extension) {
  const std::string folder = benchLoopsFolder();
  std::vector<std::string> paths;
  for (const std::string& subpath : vesk::path::subpaths(folder)) {
    if (vesk::path::extension(subpath) == extension) paths.push_back(vesk::path::appending(folder, subpath));
  }
  return paths;
}
