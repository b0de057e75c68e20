// "COMT", the comments chunk of AIFF files, of which we read the first comment. Numbers are big-endian.
//   offset 0  uint16  number of comments     offset 6  int16   marker id
//   offset 2  uint32  time stamp             offset 8  uint16  length of the text
//                                            offset 10 the text
// A plain value: no I/O.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

struct LCCommentsChunk {
  static constexpr uint64_t kLargestSize = 10 + 0xFFFF;  // of the first comment; nothing behind it is read

  std::string text;  // without white space at either end

  // nullopt when there is no comment, its length is 0 or more than the payload holds, or it is no UTF-8.
  static std::optional<LCCommentsChunk> decode(std::span<const std::byte> payload);
  // One comment with time stamp and marker 0; others that the chunk had are dropped. The text is trimmed and, as
  // established readers expect it, stands between a blank, which counts for its length, and a zero byte, which does
  // not. It is cut between characters to what the length can say.
  std::vector<std::byte> encode() const;
  // `payload` with this text in its first comment, whose time stamp and marker stay, and so do the other comments. An
  // empty text leaves a comment of length 0. nullopt when the payload ends inside its first comment.
  std::optional<std::vector<std::byte>> encodeOver(std::span<const std::byte> payload) const;
  // How many comments a payload says that it holds.
  static uint16_t countOf(std::span<const std::byte> payload);

  bool operator==(const LCCommentsChunk&) const = default;
};
