#include "VeskLoopManagement/fileio/LCFileParser.h"

#include "fileio/LCAdditionalDataChunk.h"
#include "fileio/LCAIFParser.h"
#include "fileio/LCCAFParser.h"
#include "fileio/LCGenInstChunk.h"
#include "fileio/LCMetaDataParser.h"
#include "fileio/LCSDIIParser.h"
#include "fileio/LCWAVParser.h"
#include "fileio/TempoFromFileName.h"
#include "platform/Path.h"
#include "VeskLoopManagement/fileio/LCChunkIDs.h"
#include "VeskLoopManagement/fileio/LCRexFileParser.h"
#include "VeskLoopManagement/fileio/MurmurHash.h"
#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/model/LCNodeTypesHelper.h"

#include <fmt/format.h>

#include <algorithm>
#include <atomic>

namespace {

std::atomic<unsigned char> s_allowsSDIIFiles{0};
std::atomic<unsigned char> s_allowsPathKeywords{1};

using Reason = LCParserFailure::Reason;

}  // namespace

// --- Factory ---------------------------------------------------------------------------------------------------------

namespace {

Reason reasonOf(vesk::OpenError error) {
  switch (error) {
    case vesk::OpenError::notFound:
      return Reason::notFound;
    case vesk::OpenError::notReadable:
      return Reason::unreadable;
    case vesk::OpenError::none:
    case vesk::OpenError::notAudio:
    case vesk::OpenError::malformed:
      break;
  }
  return Reason::malformed;
}

template <typename Parser>
std::unique_ptr<LCFileParser> openContainer(const vesk::URL& url, bool isBigEndian, LCParserFailure& failure) {
  return Parser::initWithURL(url, isBigEndian, &failure);
}

std::unique_ptr<LCFileParser> openLoopData(const vesk::URL& url, bool, LCParserFailure&) {
  return std::make_unique<LCMetaDataParser>(url);
}

std::unique_ptr<LCFileParser> openREX(const vesk::URL& url, bool isBigEndian, LCParserFailure& failure) {
  auto parser = LCRexFileParser::parserWithURL(url, isBigEndian);
  if (!parser) failure = {.reason = Reason::unreadable, .detail = "the REX adapter has no data for it"};
  return parser;
}

struct ParserChoice {
  int32_t nodeType;
  LCFileTypes fileType;
  bool isBigEndian;
  std::unique_ptr<LCFileParser> (*open)(const vesk::URL& url, bool isBigEndian, LCParserFailure& failure);
};

constexpr ParserChoice kParserChoices[] = {
    {kNodeAIFF, kFileTypeAIFF, true, openContainer<LCAIFParser>},
    {kNodeWAV, kFileTypeWAV, false, openContainer<LCWAVParser>},
    {kNodeCAF, kFileTypeCAF, true, openContainer<LCCAFParser>},
    {kNodeLoopData, kFileTypeLoopData, true, openLoopData},
    {kNodeSoundDesigner2, kFileTypeSoundDesigner2, true, openContainer<LCSDIIParser>},
    {kNodeREX, kFileTypeREX, true, openREX},
};

std::unique_ptr<LCFileParser> makeParser(const vesk::URL& url, LCFileTypes allowedFileTypes, LCParserFailure& failure) {
  const std::string path = url.path();
  const int32_t nodeType = LCNodeTypesHelper::nodeTypeFromPath(path);
  for (const ParserChoice& choice : kParserChoices) {
    if (choice.nodeType != nodeType) continue;
    if ((allowedFileTypes & choice.fileType) != 0) return choice.open(url, choice.isBigEndian, failure);
    failure = {.reason = Reason::notAllowed, .detail = "files of this type are not allowed"};
    return nullptr;
  }
  if (nodeType == kNodeUnknown && !vesk::path::exists(path)) {
    failure = {.reason = Reason::notFound, .detail = "there is no such file"};
  } else {
    failure = {.reason = Reason::unsupported, .detail = "its extension is not that of a loop file"};
  }
  return nullptr;
}

}  // namespace

LCFileTypes LCFileParser::defaultAllowedFileTypes() {
  LCFileTypes types = kFileTypeAIFF | kFileTypeCAF | kFileTypeLoopData;
  // Files of the other types seldom carry tags: without keywords from their paths they are no use.
  if (!s_allowsPathKeywords) return types;
  types |= kFileTypeWAV;
  if (s_allowsSDIIFiles) types |= kFileTypeSoundDesigner2;
  if (LCRexFileParser::rexFileAdapterRegistered()) types |= kFileTypeREX;
  return types;
}

std::unique_ptr<LCFileParser> LCFileParser::fileParserForURL(const vesk::URL& url) {
  return fileParserForURL(url, defaultAllowedFileTypes());
}

std::unique_ptr<LCFileParser> LCFileParser::fileParserForURL(const vesk::URL& url, LCFileTypes allowedFileTypes) {
  return fileParserForURL(url, allowedFileTypes, nullptr);
}

std::unique_ptr<LCFileParser> LCFileParser::fileParserForURL(const vesk::URL& url, LCFileTypes allowedFileTypes,
                                                             LCParserFailure* failure) {
  LCParserFailure whyNot;
  auto parser = makeParser(url, allowedFileTypes, whyNot);
  if (failure) *failure = std::move(whyNot);
  return parser;
}

void LCFileParser::setAllowsSDIIFiles(bool allows) {
  s_allowsSDIIFiles = allows ? 1 : 0;
}

bool LCFileParser::allowsSDIIFiles() {
  return s_allowsSDIIFiles != 0;
}

void LCFileParser::setAllowsKeywordExtractionFromPath(bool allows) {
  s_allowsPathKeywords = allows ? 1 : 0;
}

bool LCFileParser::allowsKeywordExtractionFromPath() {
  return s_allowsPathKeywords != 0;
}

LCFileParser::LCFileParser(const vesk::URL& url, bool isBigEndian) : m_isBigEndian(isBigEndian) {
  m_fileData.emplace().storedFileURL = url;
}

LCFileParser::LCFileParser(const vesk::URL& url, vesk::AudioFile audioFile, bool isBigEndian)
    : LCFileParser(url, isBigEndian) {
  m_audioFile.emplace(std::move(audioFile));
}

std::unique_ptr<vesk::AudioFile> LCFileParser::openAudioFile(const vesk::URL& url, LCParserFailure* failure) {
  auto error = vesk::OpenError::none;
  std::string detail;
  auto audioFile = vesk::AudioFile::open(url.path(), &error, &detail);
  if (!audioFile && failure) *failure = {.reason = reasonOf(error), .detail = std::move(detail)};
  return audioFile;
}

const LCFileData* LCFileParser::fileData() {
  parseEnhanced(false);
  return m_fileData ? &*m_fileData : nullptr;
}

const LCFileData* LCFileParser::enhancedFileData() {
  parseEnhanced(true);
  return m_fileData ? &*m_fileData : nullptr;
}

// --- Find steps ------------------------------------------------------------------------------------------------------

void LCFileParser::parseEnhanced(bool enhanced) {
  if (!m_fileData) return;
  m_notes.clear();
  m_fileData->enhancedFileDataAvailable = enhanced;
  findMidiChunk();
  findSearchInfo();
  findLengthAndCalcTempo();
  findFileInfo();
  if (s_allowsPathKeywords || m_fileData->hasAuthoredChunks) completeKeywordsFromPath();
  calcHash();
}

void LCFileParser::findMidiChunk() {
  const auto isThere = [&](vesk::FourCC code) { return m_audioFile->userDataSize(code).value_or(0) > 0; };
  const vesk::FourCC code = isThere(kMidiChunkCode) ? kMidiChunkCode : kDotMidChunkCode;
  if (!isThere(code)) {
    m_fileData->vireoLoopType = kLoopTypeAudio;
    return;
  }
  m_fileData->vireoLoopType = kLoopTypeMIDI;
  if (!m_fileData->enhancedFileDataAvailable) return;
  if (auto data = chunkData(code)) m_fileData->midiData = std::move(*data);
}

namespace {

// Valid frames of the packet table, else packets times frames per packet; 0 when the file does not say.
int64_t frameCountOf(const vesk::AudioFile& file, const vesk::AudioFormat& format) {
  if (const auto packetTable = file.packetTableInfo()) return packetTable->validFrames;
  const int64_t packets = file.audioDataPacketCount().value_or(0);
  int64_t frames = 0;
  if (__builtin_mul_overflow(packets, int64_t{format.framesPerPacket}, &frames)) return 0;
  return frames;
}

bool isPlausibleTempo(float tempo) {
  return tempo >= 5.0f && tempo <= 999.0f;
}

// The name's tempo when it is plausible, else that of beats and length; else what the name says, however odd, or 0.
// Each narrowing to float is part of the rule: the tempo enters the loop's identity.
float tempoOf(const LCFileData& record) {
  const float namedTempo = lc::findTempoInFileName(record.fileName().value_or("")).value_or(0.0f);
  if (isPlausibleTempo(namedTempo)) return namedTempo;
  if (record.signatureBottom == 0 || record.lengthInSeconds == 0.0f) return namedTempo;
  const double beats = static_cast<float>(record.beatCount);
  const double bottom = static_cast<float>(record.signatureBottom);
  return static_cast<float>(beats * 240.0 / bottom) / record.lengthInSeconds;
}

}  // namespace

void LCFileParser::findLengthAndCalcTempo() {
  const auto format = m_audioFile->dataFormat();
  if (!format) return;
  m_fileData->frameCount = frameCountOf(*m_audioFile, *format);
  // Whatever the rate is: the tempo that comes of it is part of the loop's identity.
  m_fileData->lengthInSeconds = static_cast<float>(static_cast<double>(m_fileData->frameCount) / format->sampleRate);
  const float tempo = tempoOf(*m_fileData);
  m_fileData->bpm = tempo > 0.0f ? tempo : -1.0f;
}

void LCFileParser::findFileInfo() {
  bool isCut = false;
  const auto info = m_audioFile->infoDictionary(&isCut);
  if (isCut) noteCutText();
  if (!info) return;
  const auto textOf = [&](const char* key) -> std::optional<std::string> {
    const auto found = info->find(key);
    if (found == info->end()) return std::nullopt;
    return vesk::text::trimmedNULs(found->second);
  };
  m_fileData->authorTag = textOf("artist");
  m_fileData->copyrightTag = textOf("copyright");
  m_fileData->commentTag = textOf("comments");
  m_fileData->title = textOf("title");
}

void LCFileParser::completeKeywordsFromPath() {
  if (m_fileData->anySearchTags()) return;
  const auto url = m_fileData->fileURL();
  if (!url) return;
  LCKeywordHelper helper(*url);
  m_fileData->instrumentTypeTag = std::move(helper.instrumentTypeTag);
  m_fileData->instrumentSubTypeTag = std::move(helper.instrumentSubTypeTag);
  m_fileData->genreTag = std::move(helper.genreTag);
  m_fileData->descriptors = std::move(helper.descriptors);
}

// --- Payloads --------------------------------------------------------------------------------------------------------

void LCFileParser::extractGenInstInfoFromData(std::span<const std::byte> data) {
  auto instrument = LCGenInstChunk::decode(data);
  if (m_fileData->enhancedFileDataAvailable) m_fileData->genInstDictionary.reset();  // nil, unless it decodes
  if (!instrument) return;
  if (const auto type = instrument->loopType()) m_fileData->vireoLoopType = *type;
  if (auto identifier = instrument->contentIdentifier()) m_fileData->contentIdentifier = std::move(identifier);
  if (m_fileData->enhancedFileDataAvailable) m_fileData->genInstDictionary = std::move(instrument->dictionary);
}

void LCFileParser::extractAdditionalLoopDataFromData(std::span<const std::byte> data) {
  if (auto additional = LCAdditionalDataChunk::decode(data)) std::move(*additional).applyTo(*m_fileData);
}

void LCFileParser::extractStepSequencerDataFromData(std::span<const std::byte> data) {
  if (!data.empty()) m_fileData->vireoLoopType = kLoopTypeStepSequencer;
}

void LCFileParser::note(Finding finding) {
  if (finding == Finding::authored || finding == Finding::authoredLoop) setFoundAuthoredChunks();
  if (finding == Finding::loop || finding == Finding::authoredLoop) setFoundLoopChunks();
}

void LCFileParser::addNote(std::string_view sentence) {
  if (std::find(m_notes.begin(), m_notes.end(), sentence) == m_notes.end()) m_notes.emplace_back(sentence);
}

std::optional<vesk::Bytes> LCFileParser::archiveData(vesk::FourCC code, size_t index) {
  constexpr uint64_t kLargestArchive = uint64_t{16} << 20;
  const bool isTooLarge = m_audioFile->userDataSize(code, index).value_or(0) > kLargestArchive;
  auto data = m_audioFile->userData(code, index, isTooLarge ? std::optional<uint64_t>(0) : std::nullopt);
  if (data && isTooLarge) addNote("tagging data of more than 16 MiB was not decoded");
  return data;
}

std::optional<vesk::Bytes> LCFileParser::chunkData(vesk::FourCC code, std::optional<uint64_t> limit) const {
  return m_audioFile->userData(code, 0, limit);
}

// --- Hash ------------------------------------------------------------------------------------------------------------

// The text is a persisted format: loop ids are made of it. The file name stands as the file system holds it, composed
// or not.
void LCFileParser::calcHash() {
  constexpr uint64_t kSeed = 7;
  const std::string text = fmt::format("{} {} {} {:f} {}", vesk::text::joined(m_fileData->allKeywords(), ","),
                                       m_fileData->fileName().value_or("(null)"), m_fileData->vireoLoopType,
                                       static_cast<double>(m_fileData->bpm), m_fileData->frameCount);
  m_fileData->hash = static_cast<int64_t>(lc::MurmurHash64B(text.data(), static_cast<uint32_t>(text.size()), kSeed));
}
