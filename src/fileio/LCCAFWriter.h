// LCCAFWriter writes the loop metadata of CAF files: payloads in "uuid" chunks, of which each kind is removed and one
// appended, and the texts in the info dictionary.
#pragma once

#include "fileio/ChunkWriter.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

class LCCAFWriter : public lc::ChunkWriter {
 public:
  using lc::ChunkWriter::ChunkWriter;

  bool writeFileInfo() override;
  bool writeSearchInfo() override;
  // Without a payload older data are removed.
  bool writeAdditionalData() override;
  bool writeEnhancedData() override;

  // The indices among the "uuid" chunks of those with the identifier, ascending; nullopt when there are none, or when
  // any "uuid" chunk cannot be read.
  std::optional<std::vector<uint32_t>> findIndicesForUUIDChunkID(const LCChunkIdentifier& identifier);
  // All of them; none is success, too.
  bool removeUUIDChunksUUIDChunkID(const LCChunkIdentifier& identifier);
  // Removes those that are there and, when there are data, appends a new one.
  bool writeData(const std::optional<vesk::Bytes>& data, const LCChunkIdentifier& forCAFChunk);

 private:
  bool appendData(std::span<const std::byte> data, const LCChunkIdentifier& identifier);
  bool setUUIDChunk(size_t index, std::span<const std::byte> chunk);
};
