#include "VeskLoopManagement/platform/audiofile/AudioFile.h"

#include "platform/audiofile/Containers.h"
#include "platform/audiofile/FileBytes.h"
#include "platform/Path.h"
#include "VeskLoopManagement/platform/Text.h"

#include <algorithm>
#include <cstring>

namespace vesk {
namespace {

constexpr uint64_t kMaximumUserDataSize = uint64_t{256} << 20;
constexpr size_t kSignatureSize = 12;

// What the first bytes of a file say that it is.
struct Signature {
  FourCC form;  // bytes 0 to 3
  FourCC type;  // bytes 8 to 11
};

std::optional<Signature> signatureOf(FileBytes& bytes) {
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

std::optional<AudioFileContents> readContainer(FileBytes& bytes, ContainerKind kind, std::string& refusal) {
  switch (kind) {
    case ContainerKind::aiff:
    case ContainerKind::aifc:
      return readAIFF(bytes, kind, refusal);
    case ContainerKind::caf:
      return readCAF(bytes, refusal);
    default:
      return readWAV(bytes, kind, refusal);
  }
}

std::string whyNoAudio(const std::string& path, const FileBytes& bytes, const std::optional<Signature>& signature) {
  const std::string extension = path::lowercaseExtension(path);
  if (extension == "sd2" || extension == "sdii") return "its resource fork, which holds the format, is missing";
  if (bytes.size() == 0) return "it is empty";
  const bool hasID3 = signature && std::memcmp(signature->form.code, "ID3", 3) == 0;
  return hasID3 ? "it begins with an ID3 tag and not with audio" : "it is no AIFF, WAV or CAF file";
}

// The file that has no signature: Sound Designer II when its fork says so.
std::optional<AudioFileContents> readUnsigned(const std::string& path, const FileBytes& bytes,
                                              const std::optional<Signature>& signature, OpenError& error,
                                              std::string& detail) {
  bool hasFork = false;
  auto contents = readSoundDesigner2(path, bytes, hasFork, detail);
  if (contents || hasFork) {
    error = OpenError::malformed;
    return contents;
  }
  error = OpenError::notAudio;
  detail = whyNoAudio(path, bytes, signature);
  return std::nullopt;
}

std::optional<AudioFileContents> readContents(const std::string& path, FileBytes& bytes, OpenError& error,
                                              std::string& detail) {
  const auto signature = signatureOf(bytes);
  const auto kind = signature ? kindOf(*signature) : std::nullopt;
  error = OpenError::malformed;
  auto contents = kind ? readContainer(bytes, *kind, detail) : readUnsigned(path, bytes, signature, error, detail);
  if (!bytes.failed()) return contents;
  error = OpenError::notReadable;
  detail = "reading it failed";
  return std::nullopt;
}

}  // namespace

FourCC FourCC::fromBytes(const std::byte* four) {
  FourCC id;
  std::memcpy(id.code, four, sizeof id.code);
  return id;
}

bool FourCC::isPrintable() const {
  return std::all_of(std::begin(code), std::end(code), [](char c) { return c >= 0x20 && c <= 0x7E; });
}

std::string_view containerName(ContainerKind kind) {
  switch (kind) {
    case ContainerKind::aiff:
      return "AIFF";
    case ContainerKind::aifc:
      return "AIFF-C";
    case ContainerKind::wav:
      return "WAV";
    case ContainerKind::rf64:
      return "RF64";
    case ContainerKind::bw64:
      return "BW64";
    case ContainerKind::rifx:
      return "RIFX";
    case ContainerKind::caf:
      return "CAF";
    case ContainerKind::soundDesigner2:
      return "Sound Designer II";
  }
  return "";
}

const AudioChunk* AudioFileContents::firstChunk(FourCC id) const {
  const auto found =
      std::find_if(chunks.begin(), chunks.end(), [&](const AudioChunk& chunk) { return chunk.id == id; });
  return found == chunks.end() ? nullptr : &*found;
}

size_t AudioFileContents::count(FourCC id) const {
  const auto matches = [&](const AudioChunk& chunk) { return chunk.id == id; };
  return static_cast<size_t>(std::count_if(chunks.begin(), chunks.end(), matches));
}

void AudioFileContents::noteBenign(std::string_view sentence) {
  if (std::find(benign.begin(), benign.end(), sentence) == benign.end()) benign.emplace_back(sentence);
}

void AudioFileContents::noteAmbiguous(std::string_view sentence) {
  if (std::find(ambiguous.begin(), ambiguous.end(), sentence) == ambiguous.end()) ambiguous.emplace_back(sentence);
}

std::string infoText(std::string_view bytes) {
  return text::isValidUTF8(bytes) ? std::string(bytes) : text::utf8FromLatin1(bytes);
}

void addInfo(InfoDictionary& dictionary, const std::string& key, std::string value) {
  std::string& held = dictionary[key];
  if (held.empty()) held = std::move(value);
}

std::unique_ptr<AudioFile> AudioFile::open(const std::string& path, OpenError* error, std::string* detail) {
  OpenError reason = OpenError::none;
  std::string words;
  std::unique_ptr<AudioFile> file;
  if (auto bytes = FileBytes::open(path, reason, words)) {
    auto contents = readContents(path, *bytes, reason, words);
    if (contents) file.reset(new AudioFile(std::move(bytes), std::move(*contents)));
  }
  if (error) *error = file ? OpenError::none : reason;
  if (detail) *detail = file ? std::string() : words;
  return file;
}

AudioFile::AudioFile(std::unique_ptr<FileBytes> bytes, AudioFileContents contents)
    : m_bytes(std::move(bytes)), m_contents(std::move(contents)) {
  for (size_t i = 0; i < m_contents.chunks.size(); ++i) m_chunksById[m_contents.chunks[i].id].push_back(i);
}

AudioFile::~AudioFile() = default;

bool AudioFile::isBigEndian() const {
  switch (kind()) {
    case ContainerKind::wav:
    case ContainerKind::rf64:
    case ContainerKind::bw64:
      return false;
    default:
      return true;
  }
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

uint64_t AudioFile::fileSize() const {
  return m_bytes->size();
}

std::optional<std::map<std::string, std::string>> AudioFile::infoDictionary() const {
  switch (kind()) {
    case ContainerKind::aiff:
    case ContainerKind::aifc:
    case ContainerKind::soundDesigner2:
      return std::nullopt;
    case ContainerKind::caf:
      return cafInfo(*m_bytes, m_contents);
    default:
      return wavInfo(*m_bytes, m_contents);
  }
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
  return chunk->size;
}

std::optional<std::vector<std::byte>> AudioFile::userData(FourCC id, size_t index,
                                                          std::optional<uint64_t> limit) const {
  const AudioChunk* chunk = chunkAt(id, index);
  if (!chunk) return std::nullopt;
  const uint64_t size = std::min(chunk->size, limit.value_or(chunk->size));
  if (size > kMaximumUserDataSize) return std::nullopt;
  return m_bytes->upTo(chunk->dataOffset, size);
}

}  // namespace vesk
