#include "TaggedAudio.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <fstream>
#include <string_view>

#include "Synth.h"

namespace demo {
namespace {

// Bytes with a byte order.
class Bytes {
 public:
  explicit Bytes(std::endian order) : m_order(order) {}

  Bytes& number(uint64_t value, int width) {
    for (int i = 0; i < width; ++i) {
      const int shift = 8 * (m_order == std::endian::big ? width - 1 - i : i);
      m_bytes.push_back(static_cast<char>(value >> shift));
    }
    return *this;
  }
  Bytes& text(std::string_view value) { return m_bytes.append(value), *this; }
  Bytes& field(std::string_view value, size_t width) {
    m_bytes.append(value.substr(0, width - 1));
    m_bytes.append(width - std::min(value.size(), width - 1), '\0');
    return *this;
  }
  Bytes& zeros(size_t count) { return m_bytes.append(count, '\0'), *this; }
  // AIFF and RIFF chunks: 32-bit size, padded to an even length.
  Bytes& chunk(std::string_view id, const std::string& payload) {
    text(id).number(payload.size(), 4).text(payload);
    return payload.size() % 2 ? zeros(1) : *this;
  }
  // CAF chunks: 64-bit size, no padding.
  Bytes& wideChunk(std::string_view id, const std::string& payload) {
    return text(id).number(payload.size(), 8).text(payload);
  }
  const std::string& str() const { return m_bytes; }

 private:
  std::endian m_order;
  std::string m_bytes;
};

Bytes big() {
  return Bytes(std::endian::big);
}
Bytes little() {
  return Bytes(std::endian::little);
}

std::string pcm16(const std::vector<float>& samples, std::endian order) {
  Bytes bytes(order);
  for (const float sample : samples) bytes.number(static_cast<uint16_t>(std::lround(sample * 32767)), 2);
  return bytes.str();
}

// The sample rate as the 80-bit float of AIFF: exponent, then mantissa with its leading one.
std::string extendedSampleRate() {
  const int exponent = std::bit_width(static_cast<unsigned>(kSampleRate)) - 1;
  return big()
      .number(static_cast<uint64_t>(16383 + exponent), 2)
      .number(uint64_t{kSampleRate} << (63 - exponent), 8)
      .str();
}

std::string aiffFile(const std::vector<float>& samples, const LoopTags& tags) {
  const std::string comm = big().number(1, 2).number(samples.size(), 4).number(16, 2).text(extendedSampleRate()).str();
  const std::string basc = big()
                               .number(1, 4)
                               .number(static_cast<uint16_t>(tags.beats), 4)
                               .number(static_cast<uint16_t>(tags.rootNote), 2)
                               .number(static_cast<uint16_t>(tags.scale), 2)
                               .number(static_cast<uint16_t>(tags.signatureTop), 2)
                               .number(static_cast<uint16_t>(tags.signatureBottom), 2)
                               .number(1, 2)
                               .zeros(64)
                               .str();
  Bytes cate = big();
  cate.number(1, 4).field(tags.instrument, 50).field(tags.subInstrument, 50).field(tags.genre, 50).zeros(66);
  cate.number(tags.descriptors.size(), 2);
  for (const std::string& descriptor : tags.descriptors) cate.field(descriptor, 50);

  Bytes form = big();
  form.text("AIFF").chunk("COMM", comm).chunk("NAME", tags.title).chunk("AUTH", tags.author);
  form.chunk("basc", basc).chunk("cate", cate.str());
  form.chunk("SSND", big().zeros(8).text(pcm16(samples, std::endian::big)).str());
  return big().chunk("FORM", form.str()).str();
}

std::string wavFile(const std::vector<float>& samples, const LoopTags& tags) {
  const std::string fmt = little()
                              .number(1, 2)
                              .number(1, 2)
                              .number(kSampleRate, 4)
                              .number(2 * kSampleRate, 4)
                              .number(2, 2)
                              .number(16, 2)
                              .str();
  const std::string acid = little()
                               .number(tags.rootNote > 0 ? 2 : 0, 4)
                               .number(static_cast<uint16_t>(tags.rootNote), 2)
                               .zeros(6)
                               .number(static_cast<uint16_t>(tags.beats), 4)
                               .number(static_cast<uint16_t>(tags.signatureTop), 2)
                               .number(static_cast<uint16_t>(tags.signatureBottom), 2)
                               .number(0, 4)
                               .str();
  const std::string info =
      little().text("INFO").chunk("INAM", tags.title + '\0').chunk("IART", tags.author + '\0').str();
  Bytes riff = little();
  riff.text("WAVE").chunk("fmt ", fmt).chunk("data", pcm16(samples, std::endian::little));
  riff.chunk("acid", acid).chunk("LIST", info);
  return little().chunk("RIFF", riff.str()).str();
}

std::string keySignature(int rootNote) {
  static constexpr std::string_view kNames[] = {"C", "C#", "D", "D#", "E", "F", "F#", "G", "G#", "A", "A#", "B"};
  return std::string(kNames[rootNote % 12]);
}

std::string cafFile(const std::vector<float>& samples, const LoopTags& tags) {
  const std::string desc = big()
                               .number(std::bit_cast<uint64_t>(static_cast<double>(kSampleRate)), 8)
                               .text("lpcm")
                               .zeros(4)
                               .number(2, 4)
                               .number(1, 4)
                               .number(1, 4)
                               .number(16, 4)
                               .str();
  static constexpr std::string_view kScales[] = {"", "minor", "major", "neither", "both"};
  std::string descriptors;
  for (const std::string& descriptor : tags.descriptors) descriptors += (descriptors.empty() ? "" : ",") + descriptor;
  std::vector<std::pair<std::string, std::string>> entries = {
      {"category", tags.instrument},
      {"subcategory", tags.subInstrument},
      {"genre", tags.genre},
      {"descriptors", descriptors},
      {"key type", std::string(kScales[tags.scale])},
      {"beat count", std::to_string(tags.beats)},
      {"time signature", std::to_string(tags.signatureTop) + "/" + std::to_string(tags.signatureBottom)}};
  if (tags.rootNote > 0) entries.emplace_back("key signature", keySignature(tags.rootNote));

  Bytes searchInfo = big();
  searchInfo.number(0x29819273B5BF4AEF, 8).number(0xB78D62D1EF90BB2C, 8).number(entries.size(), 4);
  for (const auto& [key, value] : entries) searchInfo.text(key).zeros(1).text(value).zeros(1);
  Bytes info = big();
  info.number(2, 4).text("title").zeros(1).text(tags.title).zeros(1).text("artist").zeros(1).text(tags.author).zeros(1);

  Bytes file = big();
  file.text("caff").number(1, 2).number(0, 2).wideChunk("desc", desc).wideChunk("uuid", searchInfo.str());
  file.wideChunk("info", info.str()).wideChunk("data", big().zeros(4).text(pcm16(samples, std::endian::big)).str());
  return file.str();
}

}  // namespace

bool writeTaggedAudio(const std::string& path, Container container, const std::vector<float>& samples,
                      const LoopTags& tags) {
  const std::string bytes = container == Container::aiff  ? aiffFile(samples, tags)
                            : container == Container::wav ? wavFile(samples, tags)
                                                          : cafFile(samples, tags);
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  return !file.fail();
}

}  // namespace demo
