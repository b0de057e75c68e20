// "genI", the generated instrument that plays a loop: a keyed archive of a dictionary that describes a character (who
// plays) and a genre. The archive's root key is "rootDict"; the keys are the kGenInst_ constants of LCChunkIDs.h.
// A plain value: no I/O.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "VeskLoopManagement/model/LCVireoLoopType.h"
#include "VeskLoopManagement/platform/PropertyList.h"

struct LCGenInstChunk {
  vesk::Dictionary dictionary;  // all of it, also what only a host understands

  // nullopt when the payload is no archive of a dictionary, or a set is in it.
  static std::optional<LCGenInstChunk> decode(std::span<const std::byte> payload);
  // The dictionary as it stands; nullopt when it is deeper than an archive may be.
  std::optional<vesk::Bytes> encode() const;

  // The loop type that the instrument gives; nullopt for an empty dictionary and for an instrument that we do not know.
  std::optional<LCVireoLoopType> loopType() const;
  // Genre and character as one text; nullopt unless both are named.
  std::optional<std::string> contentIdentifier() const;

  bool operator==(const LCGenInstChunk&) const = default;
};
