#include "database/LCDatabaseConfiguration.h"
#include "database/LCPathUtilities.h"
#include "database/LCSQLiteUtilities.h"
#include "platform/Path.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

const std::string kOldest = "home/Library/Application Support/Orrin/LoopsDatabaseV09.db";
const std::string kV09 = "home/Music/Audio Vesk/Databases/LoopsDatabaseV09.db";
const std::string kV10 = "home/Music/Audio Vesk/Databases/LoopsDatabaseV10.db";

void write(const std::string& file, const std::string& contents) {
  ASSERT_TRUE(vesk::path::createDirectories(vesk::path::deletingLastComponent(file)));
  ASSERT_TRUE(vesk::path::writeFileAtomically(file, contents));
}

}  // namespace

TEST(DefaultDatabaseFile, OlderFilesAreCopiedForwardAndNeverOverANewerOne) {
  struct Case {
    const char *oldest, *v09, *v10;  // contents before, null: no file
    const char *v09After, *v10After;
  };
  for (const auto& [oldest, v09, v10, v09After, v10After] :
       {Case{nullptr, nullptr, nullptr, nullptr, nullptr}, Case{"o", nullptr, nullptr, "o", "o"},
        Case{"o", "9", nullptr, "9", "9"}, Case{"o", "9", "10", "9", "10"}, Case{"o", nullptr, "10", "o", "10"}}) {
    const auto environment = TestEnvironment::install();
    const auto at = [&environment](const std::string& file) { return environment->folder() + "/" + file; };
    if (oldest) write(at(kOldest), oldest);
    if (v09) write(at(kV09), v09);
    if (v10) write(at(kV10), v10);
    EXPECT_EQ(LCDatabaseConfiguration::defaultDatabaseFile(), at(kV10));
    const auto expected = [](const char* text) { return text ? std::optional<std::string>(text) : std::nullopt; };
    EXPECT_EQ(vesk::path::readFile(at(kOldest)), expected(oldest));
    EXPECT_EQ(vesk::path::readFile(at(kV09)), expected(v09After));
    EXPECT_EQ(vesk::path::readFile(at(kV10)), expected(v10After));
    EXPECT_TRUE(environment->logLines().empty());
  }
}

TEST(DefaultDatabaseFile, WithoutFoldersIsLoggedAndStillNamed) {
  const auto environment = TestEnvironment::install();
  environment->setMusicFolder(std::nullopt);
  write(environment->folder() + "/home/Music/Audio Vesk", "a file where the folder should be");
  EXPECT_EQ(LCDatabaseConfiguration::defaultDatabaseFile(), environment->folder() + "/" + kV10);
  EXPECT_TRUE(environment->hasLogged("Error: no music folder"));
  EXPECT_EQ(environment->logLines().size(), 2u);
  EXPECT_EQ(LCSQLiteUtilities::userDatabaseFolder(), std::nullopt);
}

TEST(DatabaseFile, IsComputedOnceUntilCleared) {
  const auto environment = TestEnvironment::install();
  LCSQLiteUtilities::setDatabaseFile(std::nullopt);
  const std::string first = LCSQLiteUtilities::databaseFile();
  environment->setMusicFolder(environment->folder() + "/home/Tunes");
  EXPECT_EQ(LCSQLiteUtilities::databaseFile(), first);
  LCSQLiteUtilities::setDatabaseFile(std::nullopt);
  EXPECT_EQ(LCDatabaseConfiguration::defaultDatabaseConfiguration().databaseFile(),
            environment->folder() + "/home/Tunes/Audio Vesk/Databases/LoopsDatabaseV10.db");
  LCSQLiteUtilities::setDatabaseFile(std::nullopt);
}

// The overrides live as long as the process, so that every question about them stands in this one test.
TEST(LoudnessFiles, OnlyAnExistingFolderOverridesTheirPlaces) {
  const auto environment = TestEnvironment::install();
  EXPECT_EQ(LCSQLiteUtilities::loudnessFactoryDatabaseFile(), std::nullopt);
  environment->setHostResource("LoudnessDatabaseV04", "sqlite", "/host/LoudnessDatabaseV04.sqlite");
  EXPECT_EQ(LCSQLiteUtilities::loudnessFactoryDatabaseFile(), "/host/LoudnessDatabaseV04.sqlite");
  EXPECT_EQ(LCSQLiteUtilities::loudnessUserDatabaseFile(),
            environment->folder() + "/home/Music/Audio Vesk/Databases/LoudnessDatabaseV04.sqlite");

  const TemporaryFolder folder;
  for (const std::string& place : {folder.path(), folder.addFile("file", ""), folder.path("missing")}) {
    LCSQLiteUtilities::setLoudnessUserDatabaseFolder(place);
    LCSQLiteUtilities::setLoudnessFactoryDatabaseFolder(place);
    EXPECT_EQ(LCSQLiteUtilities::loudnessUserDatabaseFile(), folder.path("LoudnessDatabaseV04.sqlite"));
    EXPECT_EQ(LCSQLiteUtilities::loudnessFactoryDatabaseFile(), folder.path("LoudnessDatabaseV04.sqlite"));
  }
}

TEST(LoopFolders, AreCreatedOnRequestOnlyAndComeBackResolved) {
  const auto environment = TestEnvironment::install();
  std::filesystem::create_directory_symlink(environment->folder() + "/machine", environment->folder() + "/link");
  environment->setLibraryFolders(vesk::Domain::user, {environment->folder() + "/link", "/second"});
  const std::string loops = environment->folder() + "/machine/Audio/Vireo Loops";
  EXPECT_EQ(LCPathUtilities::userLoopsFolderSingleFiles(false), loops + "/User Loops/SingleFiles");
  EXPECT_FALSE(vesk::path::exists(loops));
  EXPECT_EQ(LCPathUtilities::userLoopsFolderSingleFiles(true), loops + "/User Loops/SingleFiles");
  EXPECT_TRUE(vesk::path::isDirectory(loops + "/User Loops/SingleFiles"));
  EXPECT_EQ(LCPathUtilities::factoryLoopFolder(), loops);
}

TEST(LoopFolders, HaveFallbacksWithoutLibraries) {
  const auto environment = TestEnvironment::install();
  environment->setLibraryFolders(vesk::Domain::user, {});
  environment->setLibraryFolders(vesk::Domain::local, {});
  EXPECT_EQ(LCPathUtilities::factoryLoopFolder(), "/Library/Audio/Vireo Loops");
  EXPECT_EQ(LCPathUtilities::userLoopsFolder(false),
            environment->folder() + "/home/Library/Audio/Vireo Loops/User Loops");
}
