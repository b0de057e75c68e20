#include "VeskLoopManagement/catalog/LCCatalogLoop.h"

#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/URL.h"

std::string LCLoopPlace::path() const {
  const auto url = vesk::URL::fromString(urlText);
  return url ? url->path() : urlText;
}

LCKeywordKind LCFacet::kind() const {
  switch (category) {
    case kCategoryGenre:
      return LCKeywordKind::genre;
    case kCategoryDescriptor:
      return LCKeywordKind::mood;
    case kCategoryInstrumentTypeWithSubTypes:
    case kCategoryInstrumentType:
    case kCategoryInstrumentSubType:
      return LCKeywordKind::instrument;
    default:
      return LCKeywordKind::other;
  }
}
