#include "platform/audiofile/SplicedFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cstring>

namespace vesk {
namespace {

constexpr size_t kComparedSize = size_t{1} << 18;

std::unique_ptr<FileBytes> bytesOver(int descriptor, uint64_t size) {
  FileDescriptor own{::fcntl(descriptor, F_DUPFD_CLOEXEC, 0)};
  return own.isOpen() ? std::make_unique<FileBytes>(std::move(own), size) : nullptr;
}

bool areEqual(ByteSource& one, ByteSource& other) {
  if (one.size() != other.size()) return false;
  std::vector<std::byte> first(kComparedSize);
  std::vector<std::byte> second(kComparedSize);
  for (uint64_t offset = 0; offset < one.size(); offset += kComparedSize) {
    const auto size = static_cast<size_t>(std::min<uint64_t>(kComparedSize, one.size() - offset));
    const auto here = std::span(first).first(size);
    const auto there = std::span(second).first(size);
    if (!one.read(offset, here) || !other.read(offset, there)) return false;
    if (std::memcmp(here.data(), there.data(), size) != 0) return false;  // std::equal goes byte by byte
  }
  return true;
}

bool write(const FoundFile& found, const Splice& splice, FileReplacement& replacement) {
  return std::all_of(splice.pieces().begin(), splice.pieces().end(), [&](const Splice::Piece& piece) {
    if (!piece.isNew) return replacement.copy(found.descriptor(), piece.from, piece.size);
    return replacement.write(
        splice.newBytes().subspan(static_cast<size_t>(piece.from), static_cast<size_t>(piece.size)));
  });
}

WriteFailure failureOf(const FoundFile& found, WriteError error, std::string_view what) {
  return {.error = error, .message = found.path() + ": " + std::string(what)};
}

WriteFailure comparison(const FoundFile& found, const std::shared_ptr<const Splice>& splice, const WrittenCheck& check,
                        const FileReplacement& replacement) {
  struct stat status = {};
  const bool isKnown = ::fstat(replacement.descriptor(), &status) == 0;
  const auto size = static_cast<uint64_t>(status.st_size);
  auto written = isKnown ? bytesOver(replacement.descriptor(), size) : nullptr;
  auto checked = isKnown ? bytesOver(replacement.descriptor(), size) : nullptr;
  auto source = bytesOf(found);
  if (!written || !checked || !source) return failureOf(found, WriteError::system, "it cannot be read back");
  SplicedBytes meant(std::move(source), splice);
  if (areEqual(meant, *written) && (!check || check(std::move(checked)))) return {};
  if (meant.failed() || written->failed()) return failureOf(found, WriteError::notReadable, "reading it back failed");
  return failureOf(found, WriteError::notReadBack, "what was written does not read back as it was meant");
}

}  // namespace

std::unique_ptr<FileBytes> bytesOf(const FoundFile& found) {
  return bytesOver(found.descriptor(), found.size());
}

bool replaceBySplice(const FoundFile& found, const std::shared_ptr<const Splice>& splice, const WrittenCheck& check,
                     const ReplaceOptions& options, WriteFailure& failure) {
  FileReplacement replacement(found, options);
  if (write(found, *splice, replacement) && replacement.complete()) {
    failure = comparison(found, splice, check, replacement);
    if (failure || replacement.commit()) return !failure;
  }
  failure = replacement.failure();
  return false;
}

}  // namespace vesk
