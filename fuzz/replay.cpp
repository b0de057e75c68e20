// Runs a fuzz target over the inputs that are kept in a folder, each once, in the order of their names; linked in place
// of the fuzzing engine. An input that fails ends the program; its name is the last line.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> filesIn(const char* folder) {
  std::vector<std::filesystem::path> files;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) files.push_back(entry.path());
  std::sort(files.begin(), files.end());
  return files;
}

// At its exact size on the heap, so that a sanitizer sees a read behind its end.
std::vector<uint8_t> contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  return {text.begin(), text.end()};
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]), 2;
  const auto files = filesIn(argv[1]);
  for (const auto& file : files) {
    std::printf("%s\n", file.c_str());
    std::fflush(stdout);
    const auto contents = contentsOf(file);
    LLVMFuzzerTestOneInput(contents.data(), contents.size());
  }
  if (files.empty()) std::fprintf(stderr, "%s: no inputs\n", argv[1]);
  return files.empty() ? 1 : 0;
}
