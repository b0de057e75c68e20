// The names under which loop metadata stands in audio files: chunk codes, identifiers of CAF's "uuid" chunks, keys of
// the archived dictionaries and of the search info. A persisted format: none of them ever changes.
#pragma once

#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"

#include <array>
#include <cstddef>
#include <string_view>

// --- Chunks of AIFF, WAV and Sound Designer II files -----------------------------------------------------------------

inline constexpr vesk::FourCC kBasicTaggingChunkCode{"basc"};
inline constexpr vesk::FourCC kCategoryChunkCode{"cate"};
inline constexpr vesk::FourCC kCollectionChunkCode{"coll"};
inline constexpr vesk::FourCC kGenInstChunkCode{"genI"};
inline constexpr vesk::FourCC kAdditionalDataChunkCode{"adLD"};
inline constexpr vesk::FourCC kEventSequenceChunkCode{"Sequ"};
inline constexpr vesk::FourCC kStepSequencerChunkCode{"StSq"};
inline constexpr vesk::FourCC kPatchChunkCode{"PTCH"};
inline constexpr vesk::FourCC kMidiChunkCode{"midi"};  // looked for before the next one, which is what writers write
inline constexpr vesk::FourCC kDotMidChunkCode{".mid"};
inline constexpr vesk::FourCC kAuthorChunkCode{"AUTH"};
inline constexpr vesk::FourCC kCopyrightChunkCode{"(c) "};
inline constexpr vesk::FourCC kNameChunkCode{"NAME"};
inline constexpr vesk::FourCC kCommentsChunkCode{"COMT"};
inline constexpr vesk::FourCC kAcidChunkCode{"acid"};  // WAV only

// --- "uuid" chunks of CAF files --------------------------------------------------------------------------------------

inline constexpr vesk::FourCC kUUIDChunkCode{"uuid"};

// The 16 bytes that begin a "uuid" chunk, in file order.
using LCChunkIdentifier = std::array<std::byte, 16>;

namespace lc {

// The bytes of "29819273-B5BF-…", in the order in which the digits stand; no byte is swapped.
consteval LCChunkIdentifier chunkIdentifier(const char (&text)[37]) {
  LCChunkIdentifier bytes{};
  size_t digit = 0;
  for (const char c : text) {
    if (c == '-' || c == '\0') continue;
    const auto value = static_cast<unsigned>(c <= '9' ? c - '0' : c - 'A' + 10);
    bytes[digit / 2] |= static_cast<std::byte>(digit % 2 == 0 ? value << 4 : value);
    ++digit;
  }
  return bytes;
}

}  // namespace lc

inline constexpr auto kSearchInfoIdentifier = lc::chunkIdentifier("29819273-B5BF-4AEF-B78D-62D1EF90BB2C");
inline constexpr auto kWebLoopIdentifier = lc::chunkIdentifier("CEE5B7CA-83E4-472C-9764-4CE0C35CF05C");
inline constexpr auto kGenInstIdentifier = lc::chunkIdentifier("103E1CD9-E7DC-EF4A-BFC0-0964320C73D3");
inline constexpr auto kAdditionalDataIdentifier = lc::chunkIdentifier("04072018-1707-2016-0508-198106101980");
inline constexpr auto kStepSequencerIdentifier = lc::chunkIdentifier("18B9BFBD-15B7-4E54-8D37-D5F927D82AA5");
inline constexpr auto kEventSequenceIdentifier = lc::chunkIdentifier("EF014ACE-B31A-4532-88C0-20255DC22ECD");
// Four marks whose payloads mean nothing to us; a file that has one is a tagged loop.
inline constexpr auto kMarkerAIdentifier = lc::chunkIdentifier("A7BD1B9D-DC29-4B64-BE7E-513F684BDD79");
inline constexpr auto kMarkerBIdentifier = lc::chunkIdentifier("BCC51A46-4280-4F5F-AA43-7DBDADAC0979");
inline constexpr auto kMarkerCIdentifier = lc::chunkIdentifier("52461C71-6A21-4360-87D8-7493AE78FAC8");
inline constexpr auto kMarkerDIdentifier = lc::chunkIdentifier("0352811B-9D5D-42E1-882D-6AF61A6B330C");
inline constexpr auto kPatchIdentifier = lc::chunkIdentifier("1FB1573D-9DAA-49B1-B997-B430B75C6B19");

// --- Keys of the search info (CAF) -----------------------------------------------------------------------------------

inline constexpr std::string_view kCategoryChunkID = "category";
inline constexpr std::string_view kSubcategoryChunkID = "subcategory";
inline constexpr std::string_view kGenreChunkID = "genre";
inline constexpr std::string_view kDescriptorChunkID = "descriptors";
inline constexpr std::string_view kKeySignatureChunkID = "key signature";
inline constexpr std::string_view kKeyTypeChunkID = "key type";
inline constexpr std::string_view kBeatCountChunkID = "beat count";
inline constexpr std::string_view kTimeSignatureChunkID = "time signature";

// --- Keys of the archived dictionaries -------------------------------------------------------------------------------

// The key of the dictionary within its archive, for both kinds.
inline constexpr std::string_view kLCAdditionalData_Chunk_RootDict = "rootDict";

inline constexpr std::string_view kLCAdditionalData_LoopIntegratedLoudness_Key = "integratedLoudnessV1";
inline constexpr std::string_view kLCAdditionalData_LoopGlobalMaxTruePeak_Key = "globalMaxTruePeakV1";
inline constexpr std::string_view kLCAdditionalData_LoopTargetIntegratedLoudness_Key = "targetIntegratedLoudnessV1";
inline constexpr std::string_view kLCAdditionalData_IconID_Key = "IconID";
inline constexpr std::string_view kLCAdditionalData_PreferFileName_Key = "PreferFileName";
inline constexpr std::string_view kLCAdditionalData_PatchInfo_Key = "PatchInfo";
inline constexpr std::string_view kLCAdditionalData_MetaInfos_Key = "MetaInfo";
inline constexpr std::string_view kLCAdditionalData_Taggings_Key = "Taggings";
inline constexpr std::string_view kLCAdditionalData_Version_Key = "Version";  // written as 1, never read

inline constexpr std::string_view kGenInst_Chunk_CharacterDict = "kGenInst_Chunk_CharacterDict";
inline constexpr std::string_view kGenInst_Chunk_GenreDict = "kGenInst_Chunk_GenreDict";
inline constexpr std::string_view kGenInst_Type_Key = "Type";
inline constexpr std::string_view kGenInst_Subtype_Key = "Subtype";
inline constexpr std::string_view kGenInst_Identifier_Key = "Identifier";
inline constexpr std::string_view kGenInst_Type_Drummer = "Type_Drummer";
inline constexpr std::string_view kGenInst_Type_EDrummer = "Type_EDrummer";
inline constexpr std::string_view kGenInst_Type_BassPlayer = "Type_BassPlayer";
inline constexpr std::string_view kGenInst_Subtype_Percussion = "Percussion";
// Stands between the identifiers of genre and character in a content identifier.
inline constexpr std::string_view kGenInstContentIdentifierSeparator = "|-|";
