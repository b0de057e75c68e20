#include "platform/URL.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <filesystem>

using namespace vesk;

TEST(URL, PathsAreEncodedByteByByte) {
  struct Case {
    std::string path;
    std::string text;
  };
  for (const auto& [path, text] :
       {Case{"/A-z0.9_~!$&'()*+,:=@", "file:///A-z0.9_~!$&'()*+,:=@"}, Case{"/a b", "file:///a%20b"},
        Case{"/a;b?c#d%20[e]", "file:///a%3Bb%3Fc%23d%2520%5Be%5D"},
        Case{"/\"<>\\^`{|}", "file:///%22%3C%3E%5C%5E%60%7B%7C%7D"},
        Case{"/e\u0301", "file:///e%CC%81"},  // not composed
        Case{"/\xFF\x01", "file:///%FF%01"}, Case{"/a//b/../c", "file:///a//b/../c"}}) {
    EXPECT_EQ(URL::fileURLWithPath(path, false).absoluteString(), text);
    EXPECT_EQ(URL::fileURLWithPath(path, false).path(), path);
  }
}

RC_GTEST_PROP(URL, EveryNameComesBackFromItsURL, (std::string name)) {
  std::replace(name.begin(), name.end(), '/', '_');
  const URL url = URL::fileURLWithPath("/m/" + name + "x", false);
  RC_ASSERT(url.path() == "/m/" + name + "x");
  RC_ASSERT(URL::fromString(url.absoluteString()) == url);
}

TEST(URL, FoldersThatExistEndInASlash) {
  const TemporaryFolder folder;
  folder.addFolder("L");
  folder.addFile("f", "");
  const std::string base = "file://" + folder.path();
  EXPECT_EQ(URL::fileURLWithPath(folder.path("L")).absoluteString(), base + "/L/");
  EXPECT_EQ(URL::fileURLWithPath(folder.path("f")).absoluteString(), base + "/f");
  EXPECT_EQ(URL::fileURLWithPath(folder.path("missing")).absoluteString(), base + "/missing");
  EXPECT_EQ(URL::fileURLWithPath(folder.path()).appendingPathComponent("L").absoluteString(), base + "/L/");
  EXPECT_EQ(URL::fileURLWithPath(folder.path()).appendingPathComponent("a b").absoluteString(), base + "/a%20b");
  EXPECT_EQ(URL::fileURLWithPath("/L/", false).absoluteString(), "file:///L");
  EXPECT_EQ(URL::fileURLWithPath("/", true).absoluteString(), "file:///");
  EXPECT_EQ(URL::fileURLWithPath("a b").path(), std::filesystem::current_path().string() + "/a b");
}

TEST(URL, TheTextIsKeptAndItsPathDecoded) {
  struct Case {
    std::string text;
    std::string path;
  };
  for (const auto& [text, path] :
       {Case{"file:///a%2fb%2E/", "/a/b."}, Case{"file://localhost/a", "/a"}, Case{"file:/a", "/a"},
        Case{"/a%20b", "/a b"}, Case{"https://host/a%3Fb?c#d", "/a?b"}, Case{"https://host", ""},
        Case{"file:///", "/"}}) {
    ASSERT_TRUE(URL::fromString(text)) << text;
    EXPECT_EQ(URL::fromString(text)->absoluteString(), text);
    EXPECT_EQ(URL::fromString(text)->path(), path);
  }
  EXPECT_EQ(URL::fromString("file:///a/b%20c.caf/")->lastPathComponent(), "b c.caf");
  EXPECT_EQ(URL::fromString("file:///a/b%20c.caf/")->pathExtension(), "caf");
}

TEST(URL, TextsThatAreNoURLAreRefused) {
  for (const std::string text :
       {"", "file:///a b", "file:///a\n", "file:///a%2", "file:///a%", "file:///%GG", "\x7F"}) {
    EXPECT_FALSE(URL::fromString(text)) << text;
  }
  EXPECT_EQ(percentDecoded("%2"), "%2");
  EXPECT_EQ(percentDecoded("%%41%zz"), "%A%zz");
}
