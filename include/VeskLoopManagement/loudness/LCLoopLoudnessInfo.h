// LCLoopLoudnessInfo: what is known of one loop's loudness. A plain value: no I/O, no shared state, cannot fail.
// A figure that was never measured holds its mark, which is also what files and databases store.
// Levels follow EBU R 128 / ITU-R BS.1770.
#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <span>
#include <string>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/model/LCFileData.h"
#include "VeskLoopManagement/platform/PropertyList.h"
#include "VeskLoopManagement/platform/URL.h"

struct LC_EXPORT LCLoopLoudnessInfo {
  static constexpr double kNone = std::numeric_limits<float>::max();

  double integratedLoudness = kNone;        // LUFS
  double globalMaxTruePeak = -kNone;        // dBTP; the mark is negative here, below any real peak
  double targetIntegratedLoudness = kNone;  // LUFS

  bool isMeasured() const { return integratedLoudness != kNone; }

  static const vesk::StringSet& topperFilenames();
  static double targetIntegratedLoudnessForFileData(const LCFileData& fileData);
  // `categoryChunk` is a "cate" payload; one too short for its texts matches nothing but the topper rule.
  static double targetIntegratedLoudnessForCategoryChunk(std::span<const std::byte> categoryChunk, bool isTopper);
  static double targetIntegratedLoudnessForInstrument(const std::optional<std::string>& instrument,
                                                      const std::optional<std::string>& subInstrument, bool isTopper);

  // The keyed archive under "root"; each value is narrowed to a 32-bit float, which is the format.
  vesk::Bytes archived() const;
  // nullopt when the bytes are no such archive; a value that the archive lacks keeps 0.
  static std::optional<LCLoopLoudnessInfo> unarchived(std::span<const std::byte> archive);

  bool operator==(const LCLoopLoudnessInfo&) const = default;
};

// Measures loops. Supplied by the host; called on the indexing thread.
class LC_EXPORT LCLoudnessAnalyzerService {
 public:
  virtual ~LCLoudnessAnalyzerService() = default;
  virtual std::optional<LCLoopLoudnessInfo> loudnessInfoForURL(const vesk::URL& url) = 0;
};
