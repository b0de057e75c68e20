// The containers that the audio-file service reads. Each function walks one open file whose first bytes have already
// named its kind, and answers what it found; nullopt when the file cannot be parsed, `refusal` then saying why to a
// person. None of them keeps a reference to `bytes`.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/audiofile/FileBytes.h"
#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

namespace vesk {

// `kind`: aiff or aifc.
std::optional<AudioFileContents> readAIFF(FileBytes& bytes, ContainerKind kind, std::string& refusal);
// `kind`: wav, rf64, bw64 or rifx.
std::optional<AudioFileContents> readWAV(FileBytes& bytes, ContainerKind kind, std::string& refusal);
std::optional<AudioFileContents> readCAF(FileBytes& bytes, std::string& refusal);
// `bytes` is the data fork; the parameters are looked for beside `path`. `hasFork` says whether they were found:
// without them the file is no Sound Designer II file at all.
std::optional<AudioFileContents> readSoundDesigner2(const std::string& path, const FileBytes& bytes, bool& hasFork,
                                                    std::string& refusal);

// The info texts as infoDictionary() answers them; nullopt when the file has none.
using InfoDictionary = std::map<std::string, std::string>;
std::optional<InfoDictionary> wavInfo(FileBytes& bytes, const AudioFileContents& contents);
std::optional<InfoDictionary> cafInfo(FileBytes& bytes, const AudioFileContents& contents);

// UTF-8 as it stands; anything else is read as Latin-1.
std::string infoText(std::string_view bytes);
// Keeps the first value of a key that is not empty.
void addInfo(InfoDictionary& dictionary, const std::string& key, std::string value);

}  // namespace vesk
