// A foreign decoder hears the same before and after every kind of write, in files of every codec that it can make
// itself and in the irregular ones that may be written.
#include "CatalogTest.h"
#include "VeskLoopManagement/catalog/LCTagEdit.h"
#include "VeskLoopManagement/fileio/LCFileWriter.h"

#include <fmt/format.h>
#include <sndfile.h>

#include <cmath>

namespace {

using namespace fixture;

// The samples, and behind them rate and channels; empty when it cannot read the file.
std::vector<double> heard(const std::string& path) {
  SF_INFO info = {};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (!file) return {};
  std::vector<double> samples(static_cast<size_t>(info.frames * info.channels));
  samples.resize(static_cast<size_t>(sf_read_double(file, samples.data(), std::ssize(samples))));
  sf_close(file);
  if (!samples.empty()) samples.insert(samples.end(), {double(info.samplerate), double(info.channels)});
  return samples;
}

struct ForeignDecoder : CatalogTest, LCTagObserver {
  void fileDone(const LCTagReport& report) override {
    EXPECT_TRUE(report.isChanged) << report.path << ": " << report.detail;
  }

  // Files of every codec and byte order, mostly of an odd size, with a text behind the audio.
  void addCodecs() {
    for (const auto& [format, name] :
         {std::pair(SF_FORMAT_AIFF, "aif"), std::pair(SF_FORMAT_WAV, "wav"), std::pair(SF_FORMAT_WAVEX, "wavex.wav"),
          std::pair(SF_FORMAT_RF64, "rf64.wav"), std::pair(SF_FORMAT_CAF, "caf")}) {
      for (int codec = 1; codec < 0x100; ++codec) {
        for (const int order : {SF_ENDIAN_FILE, SF_ENDIAN_LITTLE, SF_ENDIAN_BIG}) {
          const SF_INFO info = {.samplerate = 8000, .channels = 1, .format = format | codec | order};
          if (sf_format_check(&info) != 0) addCodec(fmt::format("{:x}-{:x}.{}", codec, order, name), info);
        }
      }
    }
  }
  void addCodec(const std::string& name, SF_INFO info) {
    SNDFILE* sound = sf_open(path(name).c_str(), SFM_WRITE, &info);
    if (!sound) return;
    // In CAF, audio of odd size would be followed by a byte that is in no chunk.
    const int frames = name.ends_with("caf") ? 4408 : 4401;
    for (int i = 0; i < frames; ++i) {
      const double sample = 0.8 * std::sin(i * 0.01);
      sf_write_double(sound, &sample, 1);
    }
    sf_set_string(sound, SF_STR_TITLE, "odd");
    sf_close(sound);
    if (!heard(path(name)).empty()) files.push_back(path(name));  // it does not read all that it writes
  }

  void addIrregular() {
    const Bytes sound = bytesFromHex("01 FF 80 7F 00 2A 13");
    const Chunk comm = commChunk(1, 7, 8, extended(44100)), format = fmtChunk(1, 1, 44100, 8, 1);
    const Chunk ssnd = chunk("SSND", Builder{}.u32be(2).u32be(0).u16be(0xABCD).raw(sound).bytes);
    const Chunk data = chunk("data", sound), more = chunk("APPL", "odd"), streamed = lying(data, 0xFFFFFFFF);
    const Chunk desc = cafDescChunk(44100, "lpcm", 0, 1, 1, 1, 8);
    const Chunk cafData = chunk("data", Builder{}.u32be(77).raw(sound).bytes);
    const Bytes tail = bytesOf("TAG: a text of thirty bytes ...");
    const auto wav = [](const std::vector<Chunk>& all, const FormLies& lies = {}) {
      return formFile("RIFF", "WAVE", all, lies);
    };
    const std::pair<const char*, Bytes> rows[] = {
        {"offset.aif", formFile("FORM", "AIFF", {comm, ssnd, more})},
        {"no-pad.aif", formFile("FORM", "AIFF", {comm, unpadded(ssnd)})},
        {"large-form.aif", formFile("FORM", "AIFF", {comm, ssnd, more}, {.size = 900})},
        {"tail.aif", formFile("FORM", "AIFF", {comm, ssnd}, {.trailing = tail})},
        {"no-pad.wav", wav({format, unpadded(data)})},
        {"small-form.wav", wav({format, data, more}, {.size = 36})},
        {"no-size.wav", wav({format, data, more}, {.size = 0})},
        {"one-more.wav", wav({format, data}, {.size = 45})},
        {"tail.wav", wav({more, format, data}, {.trailing = tail})},
        {"streamed.wav", wav({format, unpadded(streamed)}, {.size = 0xFFFFFFFF})},
        {"long.wav", formFile("RF64", "WAVE", {ds64Chunk(84, 7, 7), format, streamed, more})},
        {"free.caf", cafFileOf({desc, chunk("free", "   "), cafData, more})},
    };
    for (const auto& [name, bytes] : rows) files.push_back(add(name, bytes));
  }

  void tag(LCTagChange::Kind kind) {
    LCTagOptions options;
    options.nextEdit = [&, next = size_t{0}]() mutable -> std::optional<LCTagEdit> {
      if (next == files.size()) return std::nullopt;
      LCTagEdit edit = {.path = files[next++], .changes = {{kind, LCTagField::iconId, "7"}}};
      if (edit.path.ends_with("wav")) return edit;
      for (const LCTagField field : {LCTagField::genre, LCTagField::comment, LCTagField::title}) {
        edit.changes.push_back({kind, field, field == LCTagField::genre ? "Jazz" : "even"});
      }
      return edit;
    };
    valueOf(LCTagRun::run(options, *this));
  }
  void write() {
    LCFileData record;
    record.title = record.commentTag = "odd";
    record.genreTag = "Funk";
    record.descriptors = {"Dry"};
    record.beatCount = 8;
    record.iconId = vesk::Number(7);
    for (const std::string& each : files) {
      const auto writer = LCFileWriter::fileWriterForURL(vesk::URL::fileURLWithPath(each, false));
      EXPECT_TRUE(writer && writer->writeFileData(record)) << each;
    }
  }

  Rows files;
};

}  // namespace

TEST_F(ForeignDecoder, HearsTheSameAfterEveryKindOfWrite) {
  addCodecs();
  addIrregular();
  EXPECT_GT(files.size(), 100u);
  std::vector<std::vector<double>> before;
  for (const std::string& each : files) before.push_back(heard(each));
  const std::function<void()> steps[] = {[&] { tag(LCTagChange::Kind::set); }, [&] { tag(LCTagChange::Kind::clear); },
                                         [&] { valueOf(LCTagRun::undo({}, {}, *this)); }, [&] { write(); }};
  for (const auto& step : steps) {
    step();
    for (size_t i = 0; i < files.size(); ++i) {
      EXPECT_TRUE(!before[i].empty() && heard(files[i]) == before[i]) << files[i];
    }
  }
}
