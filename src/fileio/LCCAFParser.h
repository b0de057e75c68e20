// LCCAFParser reads CAF loops, whose tags stand in "uuid" chunks: 16 bytes of identifier, then the payload.
#pragma once

#include "fileio/LCSearchInfo.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"
#include "VeskLoopManagement/fileio/LCFileParser.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <span>

class LCCAFParser : public LCFileParser {
 public:
  // Null when the file does not open; `failure` (may be null) then says why.
  [[nodiscard]] static std::unique_ptr<LCCAFParser> initWithURL(const vesk::URL& url, bool isBigEndian,
                                                                LCParserFailure* failure = nullptr);
  // Over a file that is open already, such as bytes in memory; `url` says where keywords and name come from.
  LCCAFParser(const vesk::URL& url, vesk::AudioFile audioFile, bool isBigEndian);

  // The search info of a whole "uuid" chunk, identifier included.
  void extractSearchInfoFromData(std::span<const std::byte> chunk);
  // Fills every search-info field of the record, absent keys too; without entries nothing.
  void setSearchInfoFromDictionary(const LCSearchInfo& searchInfo);

 protected:
  void findSearchInfo() override;

 private:
  // A step for each chunk, which is the one at `index` among those with the code "uuid".
  Finding findUUIDChunk(size_t index);
  Finding findSearchInfoChunk(size_t index);
  Finding findWebLoopChunk();
  Finding findGenInstChunk(size_t index);
  Finding findAdditionalDataChunk(size_t index);
  Finding findStepSequencerChunk(size_t index);
  Finding findEventSequenceChunk(size_t index);
  Finding findPatchChunk();

  std::optional<LCChunkIdentifier> identifierOfChunk(size_t index) const;
  // The bytes behind the identifier; nullopt when there are none or they cannot be read.
  std::optional<vesk::Bytes> payloadOfChunk(size_t index) const;
  // The same of an archive; empty when it is too large.
  std::optional<vesk::Bytes> archiveOfChunk(size_t index);
};
