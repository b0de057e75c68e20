// Writes the inputs from which fuzzing starts to FOLDER/audiofile, FOLDER/parsers, FOLDER/edit, FOLDER/tags and
// FOLDER/payloads: a small file of every container with a bit of everything, also with a script of edits, what belongs
// to a Sound Designer II file, and a payload of every kind. They are made byte by byte, without our own writers.
#include "support/AudioFixture.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

using namespace fixture;
using namespace std::string_view_literals;

namespace {

using Seeds = std::vector<std::pair<std::string, Bytes>>;

Bytes archiveNamed(const std::string& name) {
  std::ifstream stream(TEST_DATA_DIR "/" + name, std::ios::binary);
  return bytesOf(std::string{std::istreambuf_iterator<char>(stream), {}});
}

Chunk withDeclaredSize(Chunk chunk, uint64_t size) {
  chunk.declaredSize = size;
  return chunk;
}

Seeds files() {
  const Chunk odd = chunk("NAME", "odd");
  const Chunk list = chunk("LIST", infoListPayload({{"INAM", "abc"}, {"IART", "someone"}, {"ICMT", "J\xF6rg"}}));
  const Chunk genInst = chunk("genI", archiveNamed("geninst-bass-player.archive"));
  const Chunk additional = chunk("adLD", archiveNamed("additional-icon-only.archive"));
  const Chunk basic = chunk("basc", bascPayload(8, 57, 1, 4, 4, 1));
  const Chunk category = chunk("cate", catePayload("Bass", "Electric Bass", "Jazz", {"Dry", "Dark"}));
  const Chunk second = chunk("cate", cateV2Payload("Drums", "Kick", "", {"Dry"}, "Collection", "Theme"));
  const Chunk packets = cafDescChunk(44100, "ima4", 0, 34, 64, 1, 0);
  const auto uuid = [](std::string_view id, const Bytes& payload) { return chunk("uuid", uuidPayload(id, payload)); };
  return {
      {"aiff-tagged", aiffFile({basic, category, chunk("coll", collPayload("Garage", "Night")), odd,
                                chunk("COMT", comtPayload({"text", "more"})), chunk(".mid", "MThd")},
                               1, 5)},
      {"aiff-archives",
       aiffFile({genInst, additional, chunk("Sequ", "events"), chunk("StSq", "steps"), chunk("PTCH", "patch"), second},
                2, 3, 12)},
      {"aifc-sowt", formFile("FORM", "AIFC", {commChunk(1, 5, 16, extended(44100), "sowt"), ssndChunk(10), odd})},
      {"aifc-ima4", formFile("FORM", "AIFC", {commChunk(2, 64, 16, extended(22050), "ima4"), ssndChunk(68)})},
      {"wav-acid", wavFile({list, chunk("acid", acidPayload(2, 60, 8, 4, 4, 120)), additional}, 1, 5)},
      {"wav-streamed", formFile("RIFF", "WAVE", {fmtChunk(0x11, 1, 8000, 4, 36), withDeclaredSize(dataChunk(9), ~0u)},
                                {.size = 0xFFFFFFFF})},
      {"wav-unpadded",
       formFile(
           "RIFF", "WAVE",
           {fmtChunk(1, 1, 8000, 8, 1), {.id = "data", .payload = Bytes(7), .hasPad = false}, chunk("smpl", Bytes(36))},
           {.trailing = bytesOf("TAG of a song")})},
      {"rifx", formFile("RIFX", "WAVE", {fmtChunk(1, 1, 44100, 16, 2, true), dataChunk(10), odd})},
      {"rf64", formFile("RF64", "WAVE",
                        {ds64Chunk(100, 9, 4), fmtChunk(1, 1, 44100, 16, 2), withDeclaredSize(dataChunk(9), 0xFFFFFFFF),
                         list})},
      {"bw64", formFile("BW64", "WAVE", {fmtChunk(1, 1, 44100, 16, 2), dataChunk(10)})},
      {"caf-tagged",
       cafFile({chunk("uuid", searchInfoPayload({{"category", "Bass"},
                                                 {"key signature", "Bb"},
                                                 {"descriptors", "Dry,Dark"},
                                                 {"beat count", "8"},
                                                 {"time signature", "6/8"},
                                                 {"key type", "minor"}})),
                cafInfoChunk({{"title", "abc"}, {"comment", "J\xF6rg"}}), uuid(kMarkerAID, {}), uuid(kWebLoopID, {})},
               1, 5)},
      {"caf-archives", cafFile({uuid(kGeneratedInstrumentID, genInst.payload),
                                uuid(kAdditionalDataID, additional.payload), uuid(kStepSequencerID, bytesOf("s")),
                                uuid(kEventSequenceID, bytesOf("e")), uuid(kPatchMarkerID, {}), chunk("midi", "m")},
                               1, 5)},
      {"caf-packets",
       cafFileOf({packets, cafPaktChunk(10, 600, 30, 10, 4), withDeclaredSize(cafDataChunk(40), ~uint64_t{0})})},
  };
}

Seeds forks() {
  const Bytes fork = soundDesignerFork('2', "44100.0000", '2');
  Builder companion{bytesFromHex("00051607 00020000")};
  companion.zeros(16).u16be(1).u32be(2).u32be(38).u32be(fork.size()).raw(fork);
  return {{"sd2-fork", fork}, {"sd2-appledouble", companion.bytes}, {"id3", bytesOf("ID3\x03 and no audio")}};
}

// The first byte picks the decoder.
Seeds payloads() {
  const auto picking = [](uint8_t decoder, const Bytes& payload) { return Builder{}.u8(decoder).raw(payload).bytes; };
  const Bytes entries = bytesOf("\0\0\0\2genre\0Jazz,Funk\0key\0caf\xE9\0"sv);
  return {
      {"basc", picking(0, bascPayload(8, 57, 1, 4, 4, 1))},
      {"cate", picking(1, catePayload("Bass", "Electric Bass", "Jazz", {"Dry", "Dark"}))},
      {"cate-2", picking(1, cateV2Payload("Bass", "", "", {"Dry"}, "Collection", "Theme"))},
      {"coll", picking(2, collPayload("Garage", "Night"))},
      {"acid", picking(3, acidPayload(0x1F, 60, 8, 4, 4, 120))},
      {"comt", picking(4, comtPayload({" text ", "more"}))},
      {"search-info", picking(5, entries)},
      {"name", picking(6, bytesOf("Groove 120.5 BPM"))},
      {"geninst", picking(7, archiveNamed("geninst-percussion.archive"))},
      {"additional", picking(8, archiveNamed("additional-all-keys.archive"))},
      {"additional-wrong-kinds", picking(8, archiveNamed("additional-wrong-kinds.archive"))},
      {"additional-of-another-archiver", picking(8, archiveNamed("of-another-archiver.archive"))},
      {"geninst-of-another-archiver", picking(7, archiveNamed("of-another-archiver.archive"))},
      {"record", picking(9, archiveNamed("record.loopdata"))},
  };
}

// Each file with edits in front of it: one appended, one replaced, one removed, and an info text.
Seeds edits() {
  Seeds seeds;
  for (const auto& [name, bytes] : files()) {
    const bool isOnDisk = seeds.size() % 4 == 0;
    Builder script;
    script.u8(isOnDisk ? 0x84 : 4).raw(bytesFromHex("02000541 2E010342 28010000 01000343"));
    seeds.emplace_back(name, script.raw(bytes).bytes);
  }
  return seeds;
}

// Each file with changes of tags in front of it; the numbers of the fields and of what is done are those of the target.
Seeds tags() {
  using Change = std::tuple<int, int, std::string_view>;
  const std::vector<Change> common = {{0, 0, "T\u00EDtle"}, {0, 3, "odd"}, {0, 6, "Jazz"},   {2, 7, "Wet"},
                                      {0, 11, "Am"},        {1, 10, ""},   {0, 15, "-14.5"}, {0, 18, "7"},
                                      {0, 19, "true"},      {0, 20, "2"}};
  const std::vector<Change> scripts[] = {
      common,
      {{0, 4, "Drums"}, {0, 5, "Kick"}, {0, 10, "12"}, {0, 11, "F#"}, {0, 12, "both"}, {0, 13, "6/8"}},
      {{1, 0, ""}, {1, 3, ""}, {1, 6, ""}, {1, 7, ""}, {1, 15, ""}, {1, 4, ""}, {1, 11, ""}, {1, 12, ""}},
      {{0, 8, "Garage"}, {0, 9, "Night"}, {0, 14, "one-shot"}, {0, 1, "A"}, {0, 2, "C"}, {3, 7, "Dry"}},
      {{0, 15, "-9"}, {0, 16, "-0.25"}, {0, 17, "-18"}, {1, 18, ""}, {1, 19, ""}},
  };
  Seeds seeds;
  for (const auto& [name, bytes] : files()) {
    Builder script;
    const auto& changes = scripts[seeds.size() % std::size(scripts)];
    script.u8(static_cast<uint8_t>(changes.size() | (seeds.size() % 2 == 0 ? 0x80 : 0)));
    for (const auto& [kind, field, text] : changes) {
      script.u8(static_cast<uint8_t>(kind << 5 | field)).u8(static_cast<uint8_t>(text.size())).text(text);
    }
    seeds.emplace_back(name, script.raw(bytes).bytes);
  }
  return seeds;
}

void write(const std::filesystem::path& folder, const Seeds& seeds) {
  std::filesystem::create_directories(folder);
  for (const auto& [name, bytes] : seeds) writeFile(folder / name, bytes);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]), 2;
  const std::filesystem::path folder = argv[1];
  write(folder / "audiofile", files());
  write(folder / "audiofile", forks());
  write(folder / "parsers", files());
  write(folder / "parsers", forks());
  write(folder / "parsers", {{"loopdata", archiveNamed("record.loopdata")}});
  write(folder / "edit", edits());
  write(folder / "tags", tags());
  write(folder / "payloads", payloads());
  return 0;
}
