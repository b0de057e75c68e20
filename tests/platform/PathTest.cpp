#include "platform/Path.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <tuple>

using namespace vesk;
using Texts = std::vector<std::string>;

TEST(Path, ExtensionsAreWhatFollowsTheLastDot) {
  for (const auto& [path, extension, withoutExtension] :
       {std::tuple("/m/Tom.Gong.WAV", "WAV", "/m/Tom.Gong"), std::tuple("/m/a.caf/", "caf", "/m/a"),
        std::tuple("/m/.wav", "", "/m/.wav"), std::tuple("/m.d/a", "", "/m.d/a"), std::tuple("/m/a.", "", "/m/a."),
        std::tuple("/m/No. 5", "", "/m/No. 5"), std::tuple("..aif", "aif", "."), std::tuple("/", "", "/")}) {
    EXPECT_EQ(path::extension(path), extension) << path;
    EXPECT_EQ(path::deletingExtension(path), withoutExtension) << path;
  }
  EXPECT_EQ(path::lowercaseExtension("a.ÄIF"), "Äif");
}

TEST(Path, ComponentsIgnoreSlashesWithoutNames) {
  for (const auto& [path, last, folder] :
       {std::tuple("/a/b//", "b", "/a"), std::tuple("/a//b", "b", "/a"), std::tuple("/a", "a", "/"),
        std::tuple("/", "/", "/"), std::tuple("a", "a", ""), std::tuple("", "", "")}) {
    EXPECT_EQ(path::lastComponent(path), last) << path;
    EXPECT_EQ(path::deletingLastComponent(path), folder) << path;
  }
  EXPECT_EQ(path::components("//a//b/"), (Texts{"/", "a", "b"}));
  EXPECT_EQ(path::appending("/", "a"), "/a");
  EXPECT_EQ(path::appending("/a/", "/b"), "/a/b");
}

TEST(Path, SubpathsAreSortedAndLeaveCompanionsOut) {
  const TemporaryFolder folder;
  for (const char* file : {"b/z.wav", "b/a.wav", "a.wav", "B.wav", "a/q.wav", "._a.wav", ".AppleDouble/a.wav",
                           "b/__MACOSX/x.wav", "b/._c/x.wav", ".hidden.wav", "\xFF.wav"}) {
    folder.addFile(file, "");
  }
  std::filesystem::create_directory_symlink(folder.path(), folder.path("b/loop"));
  std::filesystem::create_symlink(folder.path("nowhere"), folder.path("a/dangling.wav"));
  EXPECT_EQ(path::subpaths(folder.path()), (Texts{".hidden.wav", "B.wav", "a", "a/dangling.wav", "a/q.wav", "a.wav",
                                                  "b", "b/a.wav", "b/loop", "b/z.wav", "\xFF.wav"}));
  EXPECT_TRUE(path::subpaths(folder.path("a.wav")).empty());
}

TEST(Path, LinksAreResolvedAsFarAsThePathExists) {
  const TemporaryFolder folder;
  const std::string real = folder.addFolder("real");
  std::filesystem::create_directory_symlink(real, folder.path("link"));
  std::filesystem::create_symlink(folder.path("nowhere"), folder.path("dangling"));
  EXPECT_EQ(path::resolvingSymlinks(folder.path("link/missing/a.wav")), real + "/missing/a.wav");
  EXPECT_EQ(path::resolvingSymlinks(folder.path("link/../real")), real);
  EXPECT_EQ(path::resolvingSymlinks(folder.path("dangling")), folder.path("dangling"));
}

TEST(Path, ReadingIsBoundedNeverWaitsAndKnowsNoNULs) {
  const TemporaryFolder folder;
  const std::string file = folder.addFile("a", "12345");
  EXPECT_EQ(path::readFile(file, 5), "12345");
  EXPECT_FALSE(path::readFile(file, 4));
  EXPECT_FALSE(path::readFile(folder.path()));
  ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
  EXPECT_FALSE(path::readFile(folder.path("pipe")));
  const std::string cut = file + std::string("\0b", 2);
  EXPECT_FALSE(path::exists(cut) || path::readFile(cut) || path::writeFileAtomically(cut, "y"));
}

TEST(Path, AtomicWritingKeepsLinksAndPermissions) {
  const TemporaryFolder folder;
  const std::string file = folder.addFile("real", "old");
  std::filesystem::permissions(file, std::filesystem::perms{0640});
  std::filesystem::create_symlink(file, folder.path("link"));
  EXPECT_TRUE(path::writeFileAtomically(folder.path("link"), "new"));
  EXPECT_TRUE(std::filesystem::is_symlink(folder.path("link")));
  EXPECT_EQ(path::readFile(file), "new");
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms{0640});
  EXPECT_FALSE(path::writeFileAtomically(folder.addFolder("folder"), "x"));
  EXPECT_EQ(path::subpaths(folder.path()), (Texts{"folder", "link", "real"}));  // nothing left over
}

TEST(Path, TheTildeAloneIsTheHomeFolder) {
  const auto environment = TestEnvironment::install();
  EXPECT_EQ(path::expandingTilde("~/x"), environment->homeFolder() + "/x");
  EXPECT_EQ(path::expandingTilde("~x/y"), "~x/y");
}
