// The filters that say which loops a search finds: the options of search, shared by every command that searches.
#pragma once

#include "VeskLoopManagement/catalog/LCLoopQuery.h"

#include <CLI/App.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct SearchFilters {
  std::vector<std::string> words;
  std::vector<std::string> keywords;
  std::optional<std::string> genre;
  std::optional<std::string> instrument;
  std::optional<std::string> tempo;
  bool halfAndDoubleTempo = false;
  std::optional<std::string> key;
  std::string keyMatch = "near";
  bool withKey = false;
  std::optional<std::string> scale;
  std::optional<std::string> signature;
  std::vector<std::string> types;
  bool onlyFavorites = false;
  std::optional<int64_t> minimumRating;
  std::optional<std::string> crate;
  std::optional<std::string> folder;
  std::optional<std::string> name;
  bool inPath = false;
};

// Adds the option of every filter but the words, which each command takes in its own way; answers the options.
std::vector<CLI::Option*> addSearchFilters(CLI::App& app, SearchFilters& filters);

// The library's question. Throws a usage failure for filters that make no sense.
LCLoopQuery queryFor(const SearchFilters& filters);
