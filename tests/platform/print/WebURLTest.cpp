#include "platform/print/WebURL.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace quillorn {
namespace {

TEST(WebURL, OfAPathLeadsBackToIt) {
    EXPECT_EQ(fileURL("/a/b.html"), "file:///a/b.html");
    EXPECT_EQ(fileURL("/a b/c#d?e%f.html"), "file:///a%20b/c%23d%3Fe%25f.html");
    for (const char* const path : {"/", "/a b/#?%41;\\\"<>\x01", "/\xc3\xa4\xff.html"}) {
        EXPECT_EQ(pathOfFileURL(fileURL(path)), std::filesystem::path(path)) << path;
    }
}

TEST(WebURL, OfAFileHasAPathWithoutQueryAndFragment) {
    EXPECT_EQ(pathOfFileURL("file:///a/b.css?v=2#part"), std::filesystem::path("/a/b.css"));
    EXPECT_EQ(pathOfFileURL("FILE://localhost/a"), std::filesystem::path("/a"));
}

TEST(WebURL, OfAnythingElseHasNoPath) {
    for (const char* const url : {"", "/etc/passwd", "file:", "file:a", "file:/a", "file://",
                                  "file://elsewhere/a", "http://a/b", "file:///a%00b"}) {
        EXPECT_EQ(pathOfFileURL(url), std::nullopt) << url;
    }
}

TEST(WebURL, IsRemoteWhenItLeadsToAnotherMachine) {
    EXPECT_TRUE(isRemoteURL("http://a/"));
    EXPECT_TRUE(isRemoteURL("HTTPS://a/"));
    for (const char* const url : {"file:///a", "data:text/plain,a", "about:blank", "ftp://a/", "a",
                                  "ws://a/", "blob:http://a/1", ":http"}) {
        EXPECT_FALSE(isRemoteURL(url)) << url;
    }
}

TEST(WebURL, IsFoundInAnySpelling) {
    EXPECT_EQ(urlKey("HTTP://Example.COM"), urlKey("http://example.com:80/#top"));
    EXPECT_EQ(urlKey("https://a:443/x"), urlKey("https://a/x"));
    EXPECT_EQ(urlKey("http://a/%7Ex%20y"), urlKey("http://a/~x y"));
    EXPECT_EQ(urlKey("http://a?x"), urlKey("http://a/?x"));
    EXPECT_NE(urlKey("http://a/X"), urlKey("http://a/x"));
    EXPECT_NE(urlKey("http://a/?x=1"), urlKey("http://a/?x=2"));
    EXPECT_NE(urlKey("http://a:8080/"), urlKey("http://a/"));
    EXPECT_EQ(urlKey("about:blank#a"), "about:blank");
}

} // namespace
} // namespace quillorn
