#include "VeskLoopManagement/platform/URL.h"

#include "support/TestEnvironment.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace vesk;
using Texts = std::pair<std::string, std::string>;

TEST(URL, PathsAreEncodedByteByByte) {
  for (const auto& [path, text] : {Texts{"/A-z0.9_~!$&'()*+,:=@", "file:///A-z0.9_~!$&'()*+,:=@"},
                                   Texts{"/a;b?c#d%20[e]", "file:///a%3Bb%3Fc%23d%2520%5Be%5D"},
                                   Texts{"/ \"<>\\^`{|}", "file:///%20%22%3C%3E%5C%5E%60%7B%7C%7D"},
                                   Texts{"/e\u0301", "file:///e%CC%81"},  // not composed
                                   Texts{"/\xFF\x01", "file:///%FF%01"}, Texts{"/a//b/../c", "file:///a//b/../c"}}) {
    EXPECT_EQ(URL::fileURLWithPath(path, false).absoluteString(), text);
    EXPECT_EQ(URL::fileURLWithPath(path, false).path(), path);
  }
  for (int byte = 1; byte <= 0xFF; ++byte) {
    const std::string path = std::string("/m/") + static_cast<char>(byte) + "x";
    const URL url = URL::fileURLWithPath(path, false);
    EXPECT_EQ(URL::fromString(url.absoluteString()), url);
    EXPECT_EQ(url.path(), path);
  }
}

TEST(URL, FoldersThatExistEndInASlash) {
  const TemporaryFolder folder;
  folder.addFolder("L");
  const std::string base = "file://" + folder.path();
  EXPECT_EQ(URL::fileURLWithPath(folder.path("L")).absoluteString(), base + "/L/");
  EXPECT_EQ(URL::fileURLWithPath(folder.path("missing")).absoluteString(), base + "/missing");
  EXPECT_EQ(URL::fileURLWithPath(folder.path()).appendingPathComponent("L").absoluteString(), base + "/L/");
  EXPECT_EQ(URL::fileURLWithPath(folder.path()).appendingPathComponent("a b").absoluteString(), base + "/a%20b");
  EXPECT_EQ(URL::fileURLWithPath("/L/", false).absoluteString(), "file:///L");
  EXPECT_EQ(URL::fileURLWithPath("/", true).absoluteString(), "file:///");
}

TEST(URL, TheTextIsKeptAndItsPathDecoded) {
  for (const auto& [text, path] :
       {Texts{"file:///a%2fb%2E/", "/a/b."}, Texts{"file://localhost/a", "/a"}, Texts{"file:/a", "/a"},
        Texts{"/a%20b", "/a b"}, Texts{"https://host/a%3Fb?c#d", "/a?b"}, Texts{"file:///", "/"}}) {
    ASSERT_TRUE(URL::fromString(text)) << text;
    EXPECT_EQ(URL::fromString(text)->absoluteString(), text);
    EXPECT_EQ(URL::fromString(text)->path(), path);
  }
  EXPECT_EQ(URL::fromString("file:///a/b%20c.caf/")->lastPathComponent(), "b c.caf");
  EXPECT_EQ(URL::fromString("file:///a/b%20c.caf/")->pathExtension(), "caf");
}

TEST(URL, TextsThatAreNoURLAreRefused) {
  for (const char* text : {"", "file:///a b", "file:///a\n", "file:///a%2", "file:///%GG", "\x7F"}) {
    EXPECT_FALSE(URL::fromString(text)) << text;
  }
  EXPECT_EQ(percentDecoded("%%41%zz%2"), "%A%zz%2");
}

TEST(URL, RelativeTextsAreJoinedToTheirBase) {
  for (const auto& [base, relative, joined] :
       {std::tuple("file:///a/b", "c", "file:///a/c"), std::tuple("file:///a/b/", "../c.caf", "file:///a/c.caf"),
        std::tuple("file:///a", "../../c", "file:///c"), std::tuple("file:///a/b", "/c/./d/..", "file:///c/"),
        std::tuple("file:///a/b", "http://h/x", "http://h/x"), std::tuple("http://h", "x", "http://h/x"),
        std::tuple("http://h/a", "//g/b", "http://g/b"), std::tuple("http://h/a/b?q", "?r", "http://h/a/b?r"),
        std::tuple("http://h/a?q#f", "#g", "http://h/a?q#g"), std::tuple("", "a", "a")}) {
    EXPECT_EQ(joinedURLText(base, relative), joined);
  }
}
