// A folder of loop files of all three containers, made byte by byte from a seed: fully tagged AIFF (tagging and text
// chunks), WAV (acid chunk and LIST/INFO; instruments in the path) and CAF (search info and info chunk). Each holds 4 s
// of silence at 1000 Hz stereo, 16 KB, with its tags behind the audio.
#pragma once

#include <string>
#include <string_view>
#include <vector>

inline constexpr size_t kBenchLoopCount = 3000;  // a third in each container
inline constexpr size_t kBenchLoopAudioBytes = 16000;

// The folder; made at the first question and kept.
std::string benchLoopsFolder();
// The paths of the files with this extension: "aif", "wav" or "caf".
std::vector<std::string> benchLoops(std::string_view extension);
