// Runs a fuzz target over the inputs that are kept in a folder, in the order of their names; linked in place of the
// fuzzing engine. A small input also runs cut off at every byte, and with every byte broken in turn. An input that
// fails ends the program; its name and what was done to it are the last line.
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

std::vector<uint8_t> contentsOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), {}};
  return {text.begin(), text.end()};
}

// At its exact size on the heap, so that a sanitizer sees a read behind its end.
void run(const std::vector<uint8_t>& input) {
  LLVMFuzzerTestOneInput(input.data(), input.size());
}

void runDamaged(const std::vector<uint8_t>& input) {
  for (size_t i = 0; i < input.size(); ++i) {
    std::printf("  cut off or broken at %zu\n", i);
    run({input.begin(), input.begin() + static_cast<ptrdiff_t>(i)});
    for (const uint8_t change : {0x01, 0x80, 0xFF}) {
      std::vector<uint8_t> broken = input;
      broken[i] ^= change;
      run(broken);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  constexpr size_t kLargestDamaged = 4096;
  if (argc != 2) return std::fprintf(stderr, "usage: %s FOLDER\n", argv[0]), 2;
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);  // what was printed survives an abort
  const auto files = filesIn(argv[1]);
  for (const auto& file : files) {
    std::printf("%s\n", file.c_str());
    const auto input = contentsOf(file);
    run(input);
    if (input.size() <= kLargestDamaged) runDamaged(input);
  }
  if (files.empty()) std::fprintf(stderr, "%s: no inputs\n", argv[1]);
  return files.empty() ? 1 : 0;
}
