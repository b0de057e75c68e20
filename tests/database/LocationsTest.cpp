#include "database/TestDatabase.h"
#include "VeskLoopManagement/database/LCPathUtilities.h"

#include <array>
#include <filesystem>

namespace {

const std::string kFiles[] = {"home/Library/Application Support/Orrin/LoopsDatabaseV09.db",
                              "home/Music/Audio Vesk/Databases/LoopsDatabaseV09.db",
                              "home/Music/Audio Vesk/Databases/LoopsDatabaseV10.db"};

void write(const std::string& file, const std::string& contents) {
  ASSERT_TRUE(vesk::path::createDirectories(vesk::path::deletingLastComponent(file)) &&
              vesk::path::writeFileAtomically(file, contents));
}

}  // namespace

TEST(DefaultDatabaseFile, OlderFilesAreCopiedForwardAndNeverOverANewerOne) {
  using Contents = std::array<std::string, 3>;  // of the three files from the oldest on; "": no file
  const std::pair<Contents, Contents> cases[] = {{{"", "", ""}, {"", "", ""}},
                                                 {{"o", "", ""}, {"o", "o", "o"}},
                                                 {{"o", "9", ""}, {"o", "9", "9"}},
                                                 {{"o", "9", "10"}, {"o", "9", "10"}},
                                                 {{"o", "", "10"}, {"o", "o", "10"}}};
  for (const auto& [before, after] : cases) {
    const auto environment = TestEnvironment::install();
    const std::string root = environment->folder() + "/";
    for (size_t i = 0; i < 3; ++i) {
      if (!before[i].empty()) write(root + kFiles[i], before[i]);
    }
    EXPECT_EQ(LCDatabaseConfiguration::defaultDatabaseFile(), root + kFiles[2]);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(vesk::path::readFile(root + kFiles[i]).value_or(""), after[i]) << i;
  }
}

TEST(DefaultDatabaseFile, WithoutFoldersIsLoggedAndStillNamed) {
  const auto environment = TestEnvironment::install();
  std::filesystem::remove(environment->folder() + "/home/Music");
  write(environment->folder() + "/home/Music", "a file where the folder should be");
  EXPECT_EQ(LCDatabaseConfiguration::defaultDatabaseFile(), environment->folder() + "/" + kFiles[2]);
  EXPECT_TRUE(environment->hasLogged("Error: "));
}

// The overrides live as long as the process, so that every question about them stands in this one test.
TEST(LoudnessFiles, OnlyAnExistingFolderOverridesTheirPlaces) {
  const auto environment = TestEnvironment::install();
  EXPECT_EQ(LCSQLiteUtilities::loudnessFactoryDatabaseFile(), std::nullopt);
  environment->setHostResource("LoudnessDatabaseV04", "sqlite", "/host/LoudnessDatabaseV04.sqlite");
  EXPECT_EQ(LCSQLiteUtilities::loudnessFactoryDatabaseFile(), "/host/LoudnessDatabaseV04.sqlite");
  const TemporaryFolder folder;
  for (const std::string& place : {folder.path(), folder.addFile("file", ""), folder.path("missing")}) {
    LCSQLiteUtilities::setLoudnessUserDatabaseFolder(place);
    EXPECT_EQ(LCSQLiteUtilities::loudnessUserDatabaseFile(), folder.path("LoudnessDatabaseV04.sqlite"));
  }
}

TEST(LoopFolders, AreCreatedOnRequestOnlyAndComeBackResolved) {
  const auto environment = TestEnvironment::install();
  std::filesystem::create_directory_symlink(environment->folder() + "/machine", environment->folder() + "/link");
  environment->setLibraryFolders(vesk::Domain::user, {environment->folder() + "/link", "/second"});
  const std::string singleFiles = environment->folder() + "/machine/Audio/Vireo Loops/User Loops/SingleFiles";
  EXPECT_EQ(LCPathUtilities::userLoopsFolderSingleFiles(false), singleFiles);
  EXPECT_FALSE(vesk::path::exists(singleFiles));
  EXPECT_EQ(LCPathUtilities::userLoopsFolderSingleFiles(true), singleFiles);
  EXPECT_TRUE(vesk::path::isDirectory(singleFiles));
  environment->setLibraryFolders(vesk::Domain::local, {});
  EXPECT_EQ(LCPathUtilities::factoryLoopFolder(), "/Library/Audio/Vireo Loops");
}
