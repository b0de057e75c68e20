// The process-wide tables behind LCKeywordHelper, built from the compiled-in property lists. Internal to this layer.
// shared() builds them once, thread-safely; afterwards they are read freely. What changes them must not run beside
// readers.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "VeskLoopManagement/model/LCKeywordHelper.h"
#include "VeskLoopManagement/platform/PropertyList.h"
#include "VeskLoopManagement/platform/Text.h"

// The group keywords, built in.
const std::vector<LCKeywordGroup>& builtInKeywordGroups();

struct LCKeywordTables {
  std::map<std::string, int64_t, std::less<>> categoryOfKeyword;
  std::map<std::string, int64_t, std::less<>> idOfKeyword;
  std::map<int64_t, std::string> keywordOfId;
  std::map<std::string, std::string, std::less<>> parentOfSubKeyword;
  std::map<std::string, vesk::StringSet, std::less<>> subKeywordsOfParent;
  vesk::StringSet allKeywords;
  std::map<std::string, std::string, std::less<>> keywordOfLowercase;
  std::vector<std::pair<std::string, std::string>> descriptorPairs;

  static LCKeywordTables& shared();

  // Empties the search-key translation and fills it from a property list of strings to strings or lists of strings.
  // What is not ASCII cannot be a key or a translation and is skipped. Changes the tables.
  void loadTranslation(std::string_view xml);
  // The translation compiled into the library.
  static std::string builtInTranslation();
  // All translations whose key equals `word` in its first 29 characters, without regard to case.
  std::vector<std::string> translationsOf(std::string_view word) const;

 private:
  LCKeywordTables();

  void addIds(const vesk::Value& entries);
  void addDescriptors(const vesk::Value& pairs);
  void addGenres(const vesk::Value& genres);
  void addInstrumentTypes(const vesk::Value& types);
  void addGroupKeywords();
  void addKeyword(const std::string& keyword, int64_t category);
  void addTranslation(std::string_view key, std::string_view translation);

  std::multimap<std::string, std::string, std::less<>> m_translations;  // by folded key
};
