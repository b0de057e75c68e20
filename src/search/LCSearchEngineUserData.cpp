// The user's marks, in the table UserData, and the counts.
#include "VeskLoopManagement/search/LCSearchEngine.h"

#include "VeskLoopManagement/database/LCDatabaseSchema.h"

bool LCSearchEngine::setUserDataForURL(const std::string& fileURL, std::optional<bool> isFavorite,
                                       std::optional<int64_t> rating, const std::optional<std::string>& userComment) {
  LCResultDictionary row;
  const std::string lookup = lc::sqlFormat(
      R"(SELECT DISTINCT id FROM %@ OUTER LEFT JOIN UserData ON Userdata.loopId = id WHERE fileURL = "%@")",
      {m_tables.loops, lc::sqlDoubleQuoteEscaped(fileURL)});
  if (!utilities().executeStatementWithLoopsReturnValue(lookup, &row)) return false;
  return setUserDataDict(row, isFavorite, rating, userComment);
}

bool LCSearchEngine::setIsFavorite(bool isFavorite, int64_t forLoopId) {
  LCResultDictionary row;
  const std::string lookup =
      lc::sqlFormat(R"(SELECT DISTINCT id FROM %@ OUTER LEFT JOIN UserData ON Userdata.loopId = id WHERE %@.id = "%@")",
                    {m_tables.loops, m_tables.loops, std::to_string(forLoopId)});
  setSearchParameterEdited(true);
  if (!utilities().executeStatementWithLoopsReturnValue(lookup, &row)) return false;
  return setUserDataDict(row, isFavorite, std::nullopt, std::nullopt);
}

bool LCSearchEngine::setUserDataDict(const LCResultDictionary& row, std::optional<bool> isFavorite,
                                     std::optional<int64_t> rating, const std::optional<std::string>& userComment) {
  const LCCell* id = lc::firstCell(row, "id");
  const int64_t loopId = id ? vesk::text::integerValueDetectingBase(lc::cellText(*id)) : 0;
  if (loopId == 0) return false;
  const LCCell* storedFavorite = lc::firstCell(row, "isFavorite");
  const LCCell* storedRating = lc::firstCell(row, "rating");
  const LCCell* storedComment = lc::firstCell(row, "userComment");
  const bool favorite = isFavorite.value_or(storedFavorite && lc::cellInteger(*storedFavorite) > 0);
  const int64_t stars = rating.value_or(storedRating ? lc::cellInteger(*storedRating) : 0);
  const std::string comment = userComment.value_or(storedComment ? lc::cellText(*storedComment) : "");
  return utilities().executeStatementWithNoReturnValue(lc::sqlFormat(
      R"(INSERT OR REPLACE INTO UserData (loopId, isFavorite, rating, userComment) VALUES (%@, %@, %@, "%@");)",
      {std::to_string(loopId), favorite ? "1" : "0", std::to_string(stars), lc::sqlDoubleQuoteEscaped(comment)}));
}

bool LCSearchEngine::setIsFavorite(bool isFavorite, const std::string& forURL) {
  return setUserDataForURL(forURL, isFavorite, std::nullopt, std::nullopt);
}

bool LCSearchEngine::setRating(int64_t rating, const std::string& forURL) {
  return setUserDataForURL(forURL, std::nullopt, rating, std::nullopt);
}

bool LCSearchEngine::setComment(const std::string& comment, const std::string& forURL) {
  return setUserDataForURL(forURL, std::nullopt, std::nullopt, comment);
}

int64_t LCSearchEngine::totalNumberOfLoops() const {
  const std::string statement = lc::sqlFormat("SELECT count() as numberOfLoops FROM %@", {m_tables.loops});
  return utilities().firstIntegerOfStatement(statement, "numberOfLoops").value_or(0);
}

int64_t LCSearchEngine::numberOfFavoritesForTable(const std::string& tableName) const {
  const std::string statement = lc::sqlFormat(
      "SELECT count() as numberOfFavorites FROM UserData JOIN %@ ON %@.id = UserData.loopId "
      "WHERE UserData.isFavorite = 1",
      {tableName, tableName});
  return utilities().firstIntegerOfStatement(statement, "numberOfFavorites").value_or(0);
}

int64_t LCSearchEngine::numberOfFavoritesInResults() const {
  return numberOfFavoritesForTable("tempTable");
}
