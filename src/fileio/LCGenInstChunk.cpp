#include "fileio/LCGenInstChunk.h"

#include "platform/KeyedArchive.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"

#include <fmt/format.h>

namespace {

// "" when there is none, or `dictionary`, which may be null, is.
std::string textForKey(const vesk::Dictionary* dictionary, std::string_view key) {
  const vesk::Value value = vesk::valueForKey(dictionary, key);
  return value.string() ? *value.string() : std::string();
}

}  // namespace

std::optional<LCGenInstChunk> LCGenInstChunk::decode(std::span<const std::byte> payload) {
  const vesk::Value root =
      vesk::unarchivedRoot(payload, kLCAdditionalData_Chunk_RootDict, {}, vesk::ArchivedSets::refused);
  if (!root.dictionary()) return std::nullopt;
  return LCGenInstChunk{.dictionary = *root.dictionary()};
}

std::optional<vesk::Bytes> LCGenInstChunk::encode() const {
  auto archive = vesk::archivedRoot(dictionary, kLCAdditionalData_Chunk_RootDict);
  return archive.empty() ? std::nullopt : std::optional(std::move(archive));
}

std::optional<LCVireoLoopType> LCGenInstChunk::loopType() const {
  if (dictionary.empty()) return std::nullopt;
  const vesk::Value character = vesk::valueForKey(&dictionary, kGenInst_Chunk_CharacterDict);
  const vesk::Value type = vesk::valueForKey(character.dictionary(), kGenInst_Type_Key);
  if (type.isNil()) return kLoopTypeDrummer;
  if (!type.string()) return std::nullopt;
  if (*type.string() == kGenInst_Type_Drummer) return kLoopTypeDrummer;
  if (*type.string() == kGenInst_Type_BassPlayer) return kLoopTypeBassPlayer;
  if (*type.string() != kGenInst_Type_EDrummer) return std::nullopt;
  const bool isPercussion = textForKey(character.dictionary(), kGenInst_Subtype_Key) == kGenInst_Subtype_Percussion;
  return isPercussion ? kLoopTypePercussionDrummer : kLoopTypeDrummer;
}

std::optional<std::string> LCGenInstChunk::contentIdentifier() const {
  const vesk::Value genre = vesk::valueForKey(&dictionary, kGenInst_Chunk_GenreDict);
  const vesk::Value character = vesk::valueForKey(&dictionary, kGenInst_Chunk_CharacterDict);
  const std::string genreId = textForKey(genre.dictionary(), kGenInst_Identifier_Key);
  const std::string characterId = textForKey(character.dictionary(), kGenInst_Identifier_Key);
  if (genreId.empty() || characterId.empty()) return std::nullopt;
  return fmt::format("{}{}{}", genreId, kGenInstContentIdentifierSeparator, characterId);
}
