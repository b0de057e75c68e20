#include "VeskLoopManagement/platform/Environment.h"

#include "platform/Path.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <tuple>

using namespace vesk;

namespace {

using Texts = std::pair<std::string, std::string>;

// A home of its own. The variables are not put back: no test is to see the user's own folders.
struct DefaultEnvironmentTest : testing::Test {
  DefaultEnvironmentTest() {
    ::setenv("HOME", home.c_str(), 1);
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"}) ::unsetenv(name);
  }

  TemporaryFolder folder;
  std::string home = folder.addFolder("home");
  DefaultEnvironment environment;
};

}  // namespace

TEST_F(DefaultEnvironmentTest, MusicFolderIsTheOneOfUserDirs) {
  folder.addFile("home/Music", "a file");
  std::string error;
  EXPECT_FALSE(environment.musicFolder(&error));
  EXPECT_NE(error.find(home + "/Music"), std::string::npos);
  ASSERT_EQ(std::remove((home + "/Music").c_str()), 0);
  for (const auto& [line, expected] :
       {Texts{"XDG_MUSIC_DIR=\"$HOME/Mu sik/\"", "/Mu sik"}, Texts{"  XDG_MUSIC_DIR=\"" + home + "/a\\\"b\"", "/a\"b"},
        Texts{"# XDG_MUSIC_DIR=\"$HOME/Old\"", "/Music"}, Texts{"XDG_MUSIC_DIR=\"$HOME/\"", "/Music"},
        Texts{"XDG_MUSIC_DIR=\"relative\"", "/Music"}, Texts{"XDG_MUSIC_DIR=\"", "/Music"}}) {
    folder.addFile("home/.config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/D\"\n" + line + "\n");
    EXPECT_EQ(environment.musicFolder(nullptr), home + expected) << line;
    EXPECT_TRUE(path::isDirectory(home + expected));
  }
}

TEST_F(DefaultEnvironmentTest, StandardFoldersFollowTheirVariablesWhenAbsolute) {
  EXPECT_EQ(environment.cacheFolder(), home + "/.cache/veskloops");
  ::setenv("XDG_DATA_HOME", "/d", 1);
  ::setenv("XDG_STATE_HOME", "relative", 1);
  EXPECT_EQ(environment.libraryFolders(Domain::user), std::vector<std::string>{"/d"});
  EXPECT_EQ(environment.stateFolder(), home + "/.local/state/veskloops");
}

TEST_F(DefaultEnvironmentTest, PreferencesOutliveTheEnvironment) {
  const std::string key = "k=\\n\ne\r", value = "=a\\nb\n\rc=\\";
  environment.setPreference(key, value);
  environment.setPreference("empty", "");
  environment.setPreference("gone", "x");
  environment.setPreference("gone", std::nullopt);
  const DefaultEnvironment other;
  EXPECT_EQ(other.preference(key), value);
  EXPECT_EQ(other.preference("empty"), "");
  EXPECT_FALSE(other.preference("gone"));
}

TEST_F(DefaultEnvironmentTest, TheLocaleIsTheFirstVariableThatSaysSomething) {
  for (const auto& [all, collate, lang, expected] :
       {std::tuple("", "sv_SE.UTF-8", "de_DE.UTF-8", "sv_SE"), std::tuple("", "", "de_DE@euro", "de_DE"),
        std::tuple("C", "sv_SE", "de_DE", ""), std::tuple("", "POSIX", "", ""), std::tuple("", "", "", "")}) {
    ::setenv("LC_ALL", all, 1);
    ::setenv("LC_COLLATE", collate, 1);
    ::setenv("LANG", lang, 1);
    EXPECT_EQ(DefaultEnvironment().localeIdentifier(), expected);
  }
}

TEST_F(DefaultEnvironmentTest, TheFirstTwelveBytesSayWhatAFileIs) {
  for (const auto& [bytes, code] :
       {Texts{"FORM....AIFF", "AIFF"}, Texts{"FORM....AIFCmore", "AIFC"}, Texts{"caff", "caff"},
        Texts{"RIFF....WAVE", "WAVE"}, Texts{"RF64....WAVE", "WAVE"}, Texts{"BW64....WAVE", "WAVE"},
        Texts{"RIFF....AVI ", "none"}, Texts{"FORM....WAVE", "none"}, Texts{"RIFF....WAV", "none"}}) {
    EXPECT_EQ(environment.fileTypeCode(folder.addFile("f", bytes)).value_or("none"), code) << bytes;
  }
  EXPECT_FALSE(environment.fileTypeCode(folder.path()) || environment.fileTypeCode(folder.path("missing")));
}
