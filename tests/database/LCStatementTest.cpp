#include "database/LCStatement.h"

#include "database/LCTransaction.h"
#include "database/TestDatabase.h"

TEST(Statement, BindsValuesAsTheyAre) {
  const TestDatabase database = TestDatabase(std::nullopt);
  LCStatement statement(database.connection(), "SELECT typeof(?1), ?1");
  const auto bound = [&statement] {
    EXPECT_TRUE(statement.step());
    std::string result = statement.textAt(0) + " " + statement.textAt(1);
    statement.reset();
    return result;
  };
  EXPECT_TRUE(statement.bind(1, std::string_view()));
  EXPECT_EQ(bound(), "text ") << "an empty text is not NULL";
  EXPECT_TRUE(statement.bind32(1, (int64_t{1} << 32) + 3));
  EXPECT_EQ(bound(), "integer 3");
  EXPECT_TRUE(statement.bind(1, int64_t{-5506746406385753333}));
  EXPECT_EQ(bound(), "integer -5506746406385753333");
  EXPECT_TRUE(statement.bind(1, std::optional<std::string>()));
  EXPECT_EQ(bound(), "integer -5506746406385753333") << "a missing text leaves the earlier value";
  EXPECT_FALSE(statement.bind(2, "there is no such parameter"));
}

TEST(Transaction, IsUndoneUnlessCommittedAndLeavesAnOuterOneAlone) {
  const TestDatabase database;
  {
    const LCTransaction left{database.connection()};
    database.run("INSERT INTO Crates (identifier) VALUES ('left')");
  }
  LCTransaction kept{database.connection()};
  database.run("INSERT INTO Crates (identifier) VALUES ('kept')");
  { const LCTransaction inner{database.connection()}; }
  EXPECT_TRUE(kept.commit());
  EXPECT_EQ(database.texts("SELECT identifier FROM Crates"), Texts{"kept"});
}
