// The search info of CAF files: the tags of a loop as texts. It follows the 16-byte identifier of a "uuid" chunk.
//   offset 0  uint32  number of entries, big-endian
//   offset 4  for each entry: key NUL value NUL; a value holds items separated by ","
// Texts are UTF-8; old files hold other encodings, and what is no UTF-8 is read as Latin-1.
// A plain value and pure functions: no I/O.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct LCSearchInfo {
  // Key to items, at least one and as they stand: blanks stay. Keys are those of LCChunkIDs.h, and any other.
  using Entries = std::map<std::string, std::vector<std::string>, std::less<>>;

  // Real payloads have a few hundred bytes. The items of a larger one than this would take many times its size in
  // memory.
  static constexpr uint64_t kLargestSize = uint64_t{1} << 20;

  Entries entries;

  // Entries until the count or the payload ends; of equal keys the last one counts. The last value may lack its NUL.
  // Nothing from a payload above the largest size.
  static LCSearchInfo decode(std::span<const std::byte> payload);

  // Every entry in the order of the keys, items joined with "," (an item that holds one is read back as two), texts up
  // to their first NUL. A payload above the largest size is written, but never read back.
  std::vector<std::byte> encode() const;

  // `payload` with `value` under `key`, which is ASCII, in the place where it stood; a new key comes last. nullopt
  // takes the key out. All other entries keep their bytes and their order, and so does what is behind them.
  static std::vector<std::byte> edited(std::span<const std::byte> payload, std::string_view key,
                                       const std::optional<std::string>& value);

  // The first item of `key`; nullopt when there is no such key.
  std::optional<std::string> firstItem(std::string_view key) const;

  bool operator==(const LCSearchInfo&) const = default;
};

namespace lc {

// The MIDI note of "F#": a letter from C 48 to B 59, "#" or "b" behind it moving it by one. Another letter counts as 0.
int64_t rootNoteFromKeySignature(std::string_view text);
// What writers make of a note: "Db" for 49, else names with sharps; nullopt outside 48 to 59.
std::optional<std::string> keySignatureFromRootNote(int64_t midiNote);
// "any", which reads back as 0, for numbers without a name.
std::string textFromKeyType(int64_t keyType);
// 2 for "major", 1 "minor", 4 "both", 3 "neither"; 0 for anything else.
int64_t keyTypeFromText(std::string_view text);

}  // namespace lc
