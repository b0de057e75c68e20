// A typed remark on a loop, such as "this instrument keyword, with this weight". A plain value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "VeskLoopManagement/LCExport.h"
#include "VeskLoopManagement/platform/PropertyList.h"

struct LC_EXPORT LCMetaInfo {
  static constexpr int64_t kWeightedInstrumentKeyword = 1;

  std::optional<std::string> stringValue;
  double doubleValue = 0.0;
  int64_t integerValue = 0;
  int64_t type = 0;

  // A weighted instrument keyword for type 1; for any other type a plain meta info, whose type is then still 0.
  static LCMetaInfo metaInfoInstanceOfType(int64_t type);

  // The object of a keyed archive. The double is stored as a 32-bit float and so loses precision, which is the format.
  vesk::Value archivedObject() const;
  // An array of such objects.
  static vesk::Value archivedObjects(const std::vector<LCMetaInfo>& infos);
  // The archive of `root`, which may hold meta infos, under `rootKey`: vesk::archivedRoot() with the numbers of meta
  // infos where their coder puts them.
  static vesk::Bytes archiveWithMetaInfos(const vesk::Value& root, std::string_view rootKey);
  // nullopt when `value` is no object with the fields of a meta info, whatever its class name. A weighted instrument
  // keyword is of type 1 whatever its archive says.
  static std::optional<LCMetaInfo> fromArchivedObject(const vesk::Value& value);
  // The meta infos among `objects`; others are left out. An archive of `archiveSize` bytes may name one object, with a
  // long text, any number of times: nullopt when the copies would take far more than the archive itself.
  static std::optional<std::vector<LCMetaInfo>> fromArchivedObjects(const vesk::Array& objects, size_t archiveSize);
  // For vesk::unarchivedRoot: admits meta infos.
  static bool isMetaInfo(const vesk::ArchivedObject& object);

  bool operator==(const LCMetaInfo&) const = default;
};

// A meta info of type 1 by its proper names.
struct LC_EXPORT LCWeightedInstrumentKeyword {
  std::string keywordTitle;
  double weight = 0.0;

  LCMetaInfo metaInfo() const;
};
