// The process-wide tables behind LCKeywordHelper. Internal to this layer. Those built from the compiled-in property
// lists are made once, thread-safely, and never change. What changes while the process runs, the learned keywords and
// the search-key translation, are snapshots: read and replaced by any thread, readers never wait. Learned keywords are
// kept until the process ends; memory grows with the different ones only, however often they are learned.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/Snapshot.h"
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

  static const LCKeywordTables& shared();

 private:
  LCKeywordTables();

  void addIds(const vesk::Value& entries);
  void addDescriptors(const vesk::Value& pairs);
  void addGenres(const vesk::Value& genres);
  void addInstrumentTypes(const vesk::Value& types);
  void addGroupKeywords();
  void addKeyword(const std::string& keyword, int64_t category);
};

// Keywords met outside the dictionary. They stand before what the tables say of the same name or id.
struct LCLearnedKeywords {
  std::map<std::string, int64_t, std::less<>> categoryOfKeyword;
  std::map<std::string, int64_t, std::less<>> idOfKeyword;
  std::map<int64_t, std::string> keywordOfId;

  static lc::Snapshot<LCLearnedKeywords>& shared();

  bool knows(const lc::LearnedKeyword& keyword) const;  // just so, learned or built in
  void learn(const lc::LearnedKeyword& keyword);
};

// Words that stand for keywords, by folded word.
struct LCSearchKeyTranslation {
  static lc::Snapshot<LCSearchKeyTranslation>& shared();

  // Of a property list of strings to strings or lists of strings; empty when `xml` is none. What is not ASCII cannot be
  // a key or a translation and is skipped.
  explicit LCSearchKeyTranslation(std::string_view xml);
  static std::string builtIn();  // the property list compiled into the library
  // All translations whose key equals `word` in its first 29 characters, without regard to case.
  std::vector<std::string> translationsOf(std::string_view word) const;

 private:
  void add(std::string_view key, std::string_view translation);

  std::multimap<std::string, std::string, std::less<>> m_translations;
};
