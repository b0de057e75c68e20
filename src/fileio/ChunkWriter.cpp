#include "fileio/ChunkWriter.h"

#include "VeskLoopManagement/fileio/LCChunkIDs.h"
#include "VeskLoopManagement/platform/Environment.h"

#include <fmt/format.h>

bool lc::ChunkWriter::writeAdditionalData() {
  return setChunkIfAny(kAdditionalDataChunkCode, additionalLoopData());
}

bool lc::ChunkWriter::setChunk(vesk::FourCC id, std::span<const std::byte> payload) {
  return logged(id, audioFile().setUserData(id, 0, payload));
}

bool lc::ChunkWriter::setChunkIfAny(vesk::FourCC id, const std::optional<vesk::Bytes>& payload) {
  return !payload || setChunk(id, *payload);
}

bool lc::ChunkWriter::logged(vesk::FourCC id, vesk::EditError error) {
  if (error == vesk::EditError::none) return true;
  vesk::log(fmt::format("{}: {} was not written: {}", audioFile().path(), id.text(), vesk::textOf(error)));
  return false;
}
