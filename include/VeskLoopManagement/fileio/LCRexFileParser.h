// LCRexFileParser gives the record of a REX file, which only an adapter of the host can read.
// The adapter is registered once, before indexing starts; registering is not safe beside parsing.
#pragma once

#include "VeskLoopManagement/fileio/LCFileParser.h"
#include "VeskLoopManagement/LCExport.h"

#include <functional>
#include <memory>
#include <optional>

// What a host implements to make REX files readable. One adapter is made for each file.
class LC_EXPORT LCREXFileAdapter {
 public:
  virtual ~LCREXFileAdapter() = default;
  // The filled record of the file; nullopt when it cannot be read.
  virtual std::optional<LCFileData> fileDataForURL(const vesk::URL& url) = 0;
};

using LCREXFileAdapterClass = std::function<std::unique_ptr<LCREXFileAdapter>()>;

class LC_EXPORT LCRexFileParser : public LCFileParser {
 public:
  // Makes the adapters from now on, in place of any earlier one; empty: none.
  static void registerREXFileAdapterClass(LCREXFileAdapterClass adapterClass);
  static bool rexFileAdapterRegistered();

  // Null when the adapter has no record for the file. Without an adapter there is a parser, but no record.
  [[nodiscard]] static std::unique_ptr<LCRexFileParser> parserWithURL(const vesk::URL& url, bool isBigEndian);

 protected:
  // The adapter has filled in everything else.
  void findMidiChunk() override { m_fileData->vireoLoopType = kLoopTypeAudio; }
  void findLengthAndCalcTempo() override {}
  void findFileInfo() override {}

 private:
  LCRexFileParser(const vesk::URL& url, bool isBigEndian, std::optional<LCFileData> fileData);
};
