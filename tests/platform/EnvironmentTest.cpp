#include "platform/Environment.h"

#include "platform/Path.h"
#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <cstdlib>

using namespace vesk;

namespace {

// Environment variables that are put back at the end.
class Variables {
 public:
  Variables() = default;
  Variables(const Variables&) = delete;
  Variables& operator=(const Variables&) = delete;
  ~Variables() {
    for (const auto& [name, value] : m_before) apply(name, value);
  }
  void set(const std::string& name, const std::optional<std::string>& value) {
    const char* before = std::getenv(name.c_str());
    m_before.try_emplace(name, before ? std::optional<std::string>(before) : std::nullopt);
    apply(name, value);
  }

 private:
  static void apply(const std::string& name, const std::optional<std::string>& value) {
    value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
  }
  std::map<std::string, std::optional<std::string>> m_before;
};

class DefaultEnvironmentTest : public testing::Test {
 protected:
  DefaultEnvironmentTest() {
    variables.set("HOME", folder.addFolder("home"));
    for (const char* name :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME", "LC_ALL", "LC_COLLATE", "LANG"}) {
      variables.set(name, std::nullopt);
    }
  }

  TemporaryFolder folder;
  Variables variables;
  DefaultEnvironment environment;
};

}  // namespace

TEST_F(DefaultEnvironmentTest, MusicFolderIsTheOneOfUserDirs) {
  struct Case {
    std::string line;
    std::string expected;
  };
  const std::string home = folder.path("home");
  for (const auto& [line, expected] :
       {Case{"XDG_MUSIC_DIR=\"$HOME/Mu sik/\"", home + "/Mu sik"},
        Case{"  XDG_MUSIC_DIR=\"" + home + "/a\\\"b\"", home + "/a\"b"},
        Case{"# XDG_MUSIC_DIR=\"$HOME/Old\"", home + "/Music"}, Case{"XDG_MUSIC_DIR=\"$HOME/\"", home + "/Music"},
        Case{"XDG_MUSIC_DIR=\"relative\"", home + "/Music"}, Case{"XDG_MUSIC_DIR=\"", home + "/Music"}}) {
    folder.addFile("home/.config/user-dirs.dirs", "XDG_DESKTOP_DIR=\"$HOME/D\"\n" + line + "\n");
    EXPECT_EQ(environment.musicFolder(nullptr), expected) << line;
    EXPECT_TRUE(path::isDirectory(expected));
  }
}

TEST_F(DefaultEnvironmentTest, AMusicFolderThatCannotBeMadeIsReported) {
  folder.addFile("home/Music", "a file");
  std::string error;
  EXPECT_FALSE(environment.musicFolder(&error));
  EXPECT_NE(error.find(folder.path("home/Music")), std::string::npos);
}

TEST_F(DefaultEnvironmentTest, StandardFoldersFollowTheirVariablesWhenAbsolute) {
  const std::string home = folder.path("home");
  EXPECT_EQ(environment.libraryFolders(Domain::user), std::vector<std::string>{home + "/.local/share"});
  EXPECT_EQ(environment.libraryFolders(Domain::local), std::vector<std::string>{"/usr/local/share"});
  EXPECT_EQ(environment.stateFolder(), home + "/.local/state/veskloops");
  EXPECT_EQ(environment.cacheFolder(), home + "/.cache/veskloops");
  variables.set("XDG_DATA_HOME", "/d");
  variables.set("XDG_STATE_HOME", "relative");
  EXPECT_EQ(environment.libraryFolders(Domain::user), std::vector<std::string>{"/d"});
  EXPECT_EQ(environment.stateFolder(), home + "/.local/state/veskloops");
}

TEST_F(DefaultEnvironmentTest, PreferencesOutliveTheEnvironment) {
  const std::string key = "k=\\n\ne\r";
  const std::string value = "=a\\nb\n\rc=\\";
  EXPECT_FALSE(environment.preference(key));
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
  struct Case {
    std::string all;
    std::string collate;
    std::string lang;
    std::string expected;
  };
  for (const auto& [all, collate, lang, expected] :
       {Case{"", "sv_SE.UTF-8", "de_DE.UTF-8", "sv_SE"}, Case{"", "", "de_DE@euro", "de_DE"},
        Case{"C", "sv_SE", "de_DE", ""}, Case{"", "", "C.UTF-8", ""}, Case{"", "POSIX", "", ""},
        Case{"", "", "", ""}}) {
    variables.set("LC_ALL", all);
    variables.set("LC_COLLATE", collate);
    variables.set("LANG", lang);
    EXPECT_EQ(DefaultEnvironment().localeIdentifier(), expected);
  }
}

TEST_F(DefaultEnvironmentTest, TheFirstTwelveBytesSayWhatAFileIs) {
  struct Case {
    std::string bytes;
    std::optional<std::string> code;
  };
  for (const auto& [bytes, code] :
       {Case{"FORM....AIFF", "AIFF"}, Case{"FORM....AIFCmore", "AIFC"}, Case{"caff", "caff"},
        Case{"RIFF....WAVE", "WAVE"}, Case{"RF64....WAVE", "WAVE"}, Case{"BW64....WAVE", "WAVE"},
        Case{"RIFF....AVI ", std::nullopt}, Case{"FORM....WAVE", std::nullopt}, Case{"RIFF....WAV", std::nullopt},
        Case{"", std::nullopt}}) {
    EXPECT_EQ(environment.fileTypeCode(folder.addFile("f", bytes)), code) << bytes;
  }
  EXPECT_FALSE(environment.fileTypeCode(folder.path()));
  EXPECT_FALSE(environment.fileTypeCode(folder.path("missing")));
}

TEST(Environment, TheInstalledOneAnswersUntilItIsTakenOut) {
  const Environment* standard = &Environment::shared();
  {
    const auto environment = TestEnvironment::install();
    EXPECT_EQ(&Environment::shared(), &*environment);
    vesk::log("heard");
    EXPECT_EQ(environment->logLines(), std::vector<std::string>{"heard"});
  }
  EXPECT_EQ(&Environment::shared(), standard);
}
