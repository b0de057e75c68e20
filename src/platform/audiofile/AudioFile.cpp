#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

#include "platform/audiofile/ChunkWalk.h"
#include "platform/audiofile/Containers.h"
#include "platform/audiofile/FileBytes.h"
#include "platform/Path.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string_view>

namespace vesk {
namespace {

constexpr size_t kSignatureSize = 12;

// What the first bytes of a file say that it is.
struct Signature {
  FourCC form;  // bytes 0 to 3
  FourCC type;  // bytes 8 to 11
};

std::optional<Signature> signatureOf(ByteSource& bytes) {
  const auto head = bytes.upTo(0, kSignatureSize);
  if (!head || head->size() < 4) return std::nullopt;
  Signature signature{.form = FourCC::fromBytes(head->data())};
  if (head->size() == kSignatureSize) signature.type = FourCC::fromBytes(head->data() + 8);
  return signature;
}

std::optional<ContainerKind> kindOf(const Signature& signature) {
  if (signature.form == FourCC("caff")) return ContainerKind::caf;
  if (signature.form == FourCC("FORM") && signature.type == FourCC("AIFF")) return ContainerKind::aiff;
  if (signature.form == FourCC("FORM") && signature.type == FourCC("AIFC")) return ContainerKind::aifc;
  if (signature.type != FourCC("WAVE")) return std::nullopt;
  if (signature.form == FourCC("RIFF")) return ContainerKind::wav;
  if (signature.form == FourCC("RIFX")) return ContainerKind::rifx;
  if (signature.form == FourCC("RF64")) return ContainerKind::rf64;
  if (signature.form == FourCC("BW64")) return ContainerKind::bw64;
  return std::nullopt;
}

std::optional<AudioFileContents> readContainer(ByteSource& bytes, ContainerKind kind, std::string& refusal) {
  switch (kind) {
    case ContainerKind::aiff:
    case ContainerKind::aifc:
      return readAIFF(bytes, kind, refusal);
    case ContainerKind::caf:
      return readCAF(bytes, refusal);
    case ContainerKind::wav:
    case ContainerKind::rf64:
    case ContainerKind::bw64:
    case ContainerKind::rifx:
      return readWAV(bytes, kind, refusal);
    case ContainerKind::soundDesigner2:
      break;  // has no signature
  }
  return std::nullopt;
}

// Why a file could not be opened.
struct Refusal {
  OpenError error = OpenError::none;
  std::string detail;
};

using Forks = std::vector<std::unique_ptr<ByteSource>>;

// The bytes that have no signature: Sound Designer II when one of the `forks` says so.
std::optional<AudioFileContents> readUnsigned(const ByteSource& bytes, const std::optional<Signature>& signature,
                                              const Forks& forks, Refusal& refusal) {
  for (const auto& fork : forks) {
    if (isSoundDesigner2Fork(*fork)) return readSoundDesigner2(bytes, *fork, refusal.detail);
  }
  refusal.error = OpenError::notAudio;
  const bool hasID3 = signature && std::memcmp(signature->form.code, "ID3", 3) == 0;
  refusal.detail = bytes.size() == 0 ? "it is empty"
                   : hasID3          ? "it begins with an ID3 tag and not with audio"
                                     : "it is no AIFF, WAV or CAF file";
  return std::nullopt;
}

// What any container may get wrong about the format. It stays as the file says: it is part of loops' identities.
void noteFormat(AudioFileContents& contents) {
  const AudioFormat& format = *contents.format;
  if (!(format.sampleRate > 0) || std::isinf(format.sampleRate)) contents.noteBenign("the sample rate makes no sense");
  const bool isLinear = format.formatID == FourCC("lpcm");
  if (isLinear && format.bytesPerPacket == 0) contents.noteBenign("its packets have no size");
}

// `findForks` is asked only for bytes without a signature.
template <typename FindForks>
std::optional<AudioFileContents> readContents(ByteSource& bytes, const FindForks& findForks, Refusal& refusal) {
  const auto signature = signatureOf(bytes);
  const auto kind = signature ? kindOf(*signature) : std::nullopt;
  refusal.error = OpenError::malformed;
  auto contents =
      kind ? readContainer(bytes, *kind, refusal.detail) : readUnsigned(bytes, signature, findForks(), refusal);
  if (contents) noteFormat(*contents);
  if (!bytes.failed()) return contents;
  refusal = {OpenError::notReadable, "reading it failed"};
  return std::nullopt;
}

// Where other systems leave the resource fork of the file at `path`.
std::array<std::string, 2> companionsOf(const std::string& path) {
  const std::string folder = path::deletingLastComponent(path);
  const std::string name = path::lastComponent(path);
  return {path::appending(folder, "._" + name), path::appending(path::appending(folder, ".AppleDouble"), name)};
}

// Null when there is none.
std::unique_ptr<ByteSource> openCompanion(const std::string& companion) {
  OpenError error = OpenError::none;
  std::string detail;
  return FileBytes::open(companion, error, detail);
}

Forks forksBeside(const std::string& path) {
  Forks forks;
  for (const std::string& companion : companionsOf(path)) {
    if (auto fork = openCompanion(companion)) forks.push_back(std::move(fork));
  }
  return forks;
}

bool isSoundDesigner2Name(const std::string& path) {
  const std::string extension = path::lowercaseExtension(path);
  return extension == "sd2" || extension == "sdii";
}

// Whether files of this kind have other extensions than `path` has, which is one of those we know.
bool disagreesWithName(const std::string& path, ContainerKind kind) {
  struct Extension {
    std::string_view text;
    std::string_view family;  // how the names of the containers begin that have it
  };
  static constexpr std::array kExtensions = {
      Extension{"aif", "AIFF"}, Extension{"aiff", "AIFF"}, Extension{"aifc", "AIFF"}, Extension{"wav", "WAV"},
      Extension{"wave", "WAV"}, Extension{"caf", "CAF"},   Extension{"sd2", "Sound"}, Extension{"sdii", "Sound"},
  };
  const std::string extension = path::lowercaseExtension(path);
  const auto found = std::find_if(kExtensions.begin(), kExtensions.end(),
                                  [&](const Extension& known) { return known.text == extension; });
  if (found == kExtensions.end()) return false;
  const bool isWAV = kind == ContainerKind::rf64 || kind == ContainerKind::bw64 || kind == ContainerKind::rifx;
  return !(isWAV ? "WAV" : containerName(kind)).starts_with(found->family);
}

void report(const Refusal& refusal, OpenError* error, std::string* detail) {
  if (error) *error = refusal.error;
  if (detail) *detail = refusal.detail;
}

}  // namespace

std::string infoText(std::string_view bytes, bool& isCut) {
  const std::string_view kept = text::cut(bytes, kMaximumTextSize);
  if (kept.size() < bytes.size()) isCut = true;
  return text::isValidUTF8(kept) ? std::string(kept) : text::utf8FromLatin1(kept);
}

void addInfo(InfoDictionary& dictionary, const std::string& key, std::string value) {
  std::string& held = dictionary[key];
  if (held.empty()) held = std::move(value);
}

std::optional<std::string> AudioFile::soundDesigner2ForkBeside(const std::string& path) {
  for (std::string& companion : companionsOf(path)) {
    const auto fork = openCompanion(companion);
    if (fork && isSoundDesigner2Fork(*fork)) return std::move(companion);
  }
  return std::nullopt;
}

std::unique_ptr<AudioFile> AudioFile::open(const std::string& path, OpenError* error, std::string* detail) {
  Refusal refusal;
  std::unique_ptr<AudioFile> file;
  if (std::unique_ptr<ByteSource> bytes = FileBytes::open(path, refusal.error, refusal.detail)) {
    auto contents = readContents(
        *bytes, [&] { return forksBeside(path); }, refusal);
    if (contents && disagreesWithName(path, contents->kind)) {
      contents->noteBenign("its extension is that of another container");
    }
    if (contents) file.reset(new AudioFile(std::move(bytes), std::move(*contents)));
  }
  if (refusal.error == OpenError::notAudio && isSoundDesigner2Name(path)) {
    refusal.detail = "its resource fork, which holds the format, is missing";
  }
  report(file ? Refusal() : refusal, error, detail);
  return file;
}

std::unique_ptr<AudioFile> AudioFile::open(std::unique_ptr<ByteSource> bytes, OpenError* error, std::string* detail,
                                           std::unique_ptr<ByteSource> resourceFork) {
  Forks forks;
  if (resourceFork) forks.push_back(std::move(resourceFork));
  Refusal refusal;
  auto contents = readContents(
      *bytes, [&]() -> const Forks& { return forks; }, refusal);
  report(contents ? Refusal() : refusal, error, detail);
  return contents ? std::unique_ptr<AudioFile>(new AudioFile(std::move(bytes), std::move(*contents))) : nullptr;
}

AudioFile::AudioFile(std::unique_ptr<ByteSource> bytes, AudioFileContents contents)
    : m_bytes(std::move(bytes)), m_contents(std::move(contents)) {
  for (size_t i = 0; i < m_contents.chunks.size(); ++i) m_chunksById[m_contents.chunks[i].id].push_back(i);
}

bool AudioFile::isBigEndian() const {
  switch (kind()) {
    case ContainerKind::wav:
    case ContainerKind::rf64:
    case ContainerKind::bw64:
      return false;
    case ContainerKind::aiff:
    case ContainerKind::aifc:
    case ContainerKind::rifx:
    case ContainerKind::caf:
    case ContainerKind::soundDesigner2:
      break;
  }
  return true;
}

Regularity AudioFile::regularity() const {
  if (!m_contents.ambiguous.empty()) return Regularity::ambiguous;
  return m_contents.benign.empty() ? Regularity::regular : Regularity::benign;
}

std::vector<std::string> AudioFile::irregularities() const {
  std::vector<std::string> sentences = m_contents.ambiguous;
  sentences.insert(sentences.end(), m_contents.benign.begin(), m_contents.benign.end());
  return sentences;
}

std::optional<std::map<std::string, std::string>> AudioFile::infoDictionary(bool* isCut) const {
  bool hasCutText = false;
  auto dictionary = infoTexts(hasCutText);
  if (isCut) *isCut = hasCutText;
  return dictionary;
}

std::optional<std::map<std::string, std::string>> AudioFile::infoTexts(bool& isCut) const {
  switch (kind()) {
    case ContainerKind::aiff:
    case ContainerKind::aifc:
    case ContainerKind::soundDesigner2:
      return std::nullopt;
    case ContainerKind::caf:
      return cafInfo(*m_bytes, m_contents, isCut);
    case ContainerKind::wav:
    case ContainerKind::rf64:
    case ContainerKind::bw64:
    case ContainerKind::rifx:
      return wavInfo(*m_bytes, m_contents, isCut);
  }
  return std::nullopt;
}

const AudioChunk* AudioFile::chunkAt(FourCC id, size_t index) const {
  const auto found = m_chunksById.find(id);
  if (found == m_chunksById.end() || index >= found->second.size()) return nullptr;
  return &m_contents.chunks[found->second[index]];
}

size_t AudioFile::userDataCount(FourCC id) const {
  const auto found = m_chunksById.find(id);
  return found == m_chunksById.end() ? 0 : found->second.size();
}

std::optional<uint64_t> AudioFile::userDataSize(FourCC id, size_t index) const {
  const AudioChunk* chunk = chunkAt(id, index);
  if (!chunk) return std::nullopt;
  return chunk->isCutOff ? chunk->declaredSize : chunk->size;
}

std::optional<std::vector<std::byte>> AudioFile::userData(FourCC id, size_t index,
                                                          std::optional<uint64_t> limit) const {
  const AudioChunk* chunk = chunkAt(id, index);
  if (!chunk || chunk->isCutOff) return std::nullopt;
  const uint64_t size = std::min(chunk->size, limit.value_or(chunk->size));
  if (size > kMaximumUserDataSize) return std::nullopt;
  return m_bytes->upTo(chunk->dataOffset, size);
}

}  // namespace vesk
