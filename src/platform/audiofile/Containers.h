// The containers that the audio-file service reads. Each function walks the bytes of a file whose first ones have
// already named its kind, and answers what it found; nullopt when the file cannot be parsed, `refusal` then saying why
// to a person. None of them keeps a reference to `bytes`.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "VeskLoopManagement/platform/audiofile/AudioFileLayout.h"
#include "VeskLoopManagement/platform/audiofile/ByteSource.h"

namespace vesk {

// `kind`: aiff or aifc.
std::optional<AudioFileContents> readAIFF(ByteSource& bytes, ContainerKind kind, std::string& refusal);
// `kind`: wav, rf64, bw64 or rifx.
std::optional<AudioFileContents> readWAV(ByteSource& bytes, ContainerKind kind, std::string& refusal);
std::optional<AudioFileContents> readCAF(ByteSource& bytes, std::string& refusal);
// Whether all parameters of a Sound Designer II file stand in it, bare or inside an AppleDouble file.
bool isSoundDesigner2Fork(ByteSource& fork);
// `bytes` is the data fork; the parameters stand in `fork`, which is one by the question above.
std::optional<AudioFileContents> readSoundDesigner2(const ByteSource& bytes, ByteSource& fork, std::string& refusal);

// The info texts as infoDictionary() answers them; nullopt when the file has none. `isCut` becomes true, and else stays
// as it is, when one is longer than kMaximumTextSize.
using InfoDictionary = std::map<std::string, std::string>;
std::optional<InfoDictionary> wavInfo(ByteSource& bytes, const AudioFileContents& contents, bool& isCut);
std::optional<InfoDictionary> cafInfo(ByteSource& bytes, const AudioFileContents& contents, bool& isCut);

// A key of the info dictionary with its new value; nullopt takes the key out.
using InfoEdit = std::pair<std::string, std::optional<std::string>>;
// A CAF info payload (empty: there is none yet) with the edits merged into it: a key that is there gets its value at
// its first place and stands once, others follow the last pair in their order. All other bytes stay. nullopt when every
// key reads so already.
std::optional<std::vector<std::byte>> mergedCAFInfo(std::span<const std::byte> payload,
                                                    std::span<const InfoEdit> edits);

// UTF-8 as it stands; anything else is read as Latin-1. Cut as above.
std::string infoText(std::string_view bytes, bool& isCut);
// Keeps the first value of a key that is not empty.
void addInfo(InfoDictionary& dictionary, const std::string& key, std::string value);

}  // namespace vesk
