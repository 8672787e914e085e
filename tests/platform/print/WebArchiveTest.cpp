#include "platform/print/WebArchive.h"

#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/WebArchiveFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace quillorn::tests {
namespace {

using testing::HasSubstr;

const ArchivedPage example = {
    {"http://example.com", "text/html", "<p>page</p>", "utf-16"},
    {{"http://example.com/a%20b.css", "text/css", "p{}", ""},
     {"http://example.com/p.png", "image/png", std::string("\x89PNG\0\xff", 6), ""}},
    {{{"http://example.com/frame.html", "text/html", "<p>frame</p>", "UTF-8"},
      {{"http://example.com/inner.css", "text/css", "i{}", ""}},
      {{{"http://example.com/deep.html", "text/html", "deep", ""}, {}, {}}}}}};

std::unique_ptr<WebArchive> parsed(const std::string& bytes) {
    auto archive = WebArchive::parse(bytes);
    EXPECT_TRUE(archive) << archive.error();
    return archive ? std::move(*archive) : nullptr;
}

std::string refusal(const std::string& bytes) {
    const auto archive = WebArchive::parse(bytes);
    return archive ? "(accepted)" : archive.error();
}

void expectExample(const WebArchive& archive) {
    EXPECT_EQ(archive.startURL(), "http://example.com");
    EXPECT_EQ(archive.resourceCount(), 6U);
    const auto main = archive.find("http://example.com/");
    ASSERT_TRUE(main);
    EXPECT_EQ(main->data, "<p>page</p>");
    EXPECT_EQ(main->mimeType, "text/html; charset=utf-16");
    EXPECT_EQ(archive.find("http://EXAMPLE.com/a b.css#x")->mimeType, "text/css");
    EXPECT_EQ(archive.find("http://example.com/p.png")->data, std::string("\x89PNG\0\xff", 6));
    EXPECT_EQ(archive.find("http://example.com/frame.html")->data, "<p>frame</p>");
    EXPECT_EQ(archive.find("http://example.com/inner.css")->data, "i{}");
    EXPECT_EQ(archive.find("http://example.com/deep.html")->data, "deep");
    EXPECT_FALSE(archive.find("http://example.com/other"));
    EXPECT_FALSE(archive.find("file:///etc/passwd"));
}

TEST(WebArchive, IsReadAsXml) {
    expectExample(*parsed(xmlWebArchive(example)));
}

TEST(WebArchive, IsReadAsBinary) {
    const std::string bytes = binaryWebArchive(example);
    EXPECT_THAT(bytes, testing::StartsWith("bplist00"));
    expectExample(*parsed(bytes));
}

TEST(WebArchive, IsReadFromAFile) {
    const TemporaryFolder folder;
    writeFile(folder / "a.webarchive", xmlWebArchive(example));
    const auto archive = WebArchive::open(folder / "a.webarchive");
    ASSERT_TRUE(archive) << archive.error().reason;
    expectExample(**archive);
    EXPECT_EQ(WebArchive::open(folder / "gone").error().reason, "No such file or directory");
    EXPECT_EQ(WebArchive::open(folder.path()).error().reason, "it is a folder, not a file");
}

TEST(WebArchive, OfAPageWithoutAnAddressGetsOne) {
    for (const char* const url : {"", "about:blank", "x-thing://a", "javascript:alert(1)"}) {
        const auto archive = parsed(xmlWebArchive({{url, "text/html", "page", ""}, {}, {}}));
        EXPECT_EQ(archive->startURL(), "http://webarchive.invalid/") << url;
        EXPECT_EQ(archive->find("http://webarchive.invalid/")->data, "page");
    }
    EXPECT_EQ(parsed(xmlWebArchive({{"file:///a b/c", "text/html", "x", ""}, {}, {}}))->startURL(),
              "file:///a b/c");
}

TEST(WebArchive, CannotPutWordsIntoTheHeadersOfAnAnswer) {
    const auto archive = parsed(xmlWebArchive(
        {{"http://a/", "text/html\r\nX: y", "page", "utf-8\r\nSet-Cookie: a"}, {}, {}}));
    EXPECT_EQ(archive->find("http://a/")->mimeType, "text/html");
}

TEST(WebArchive, ThatIsNoneIsRefusedWithAReason) {
    const std::string noList = "it is no property list, which a web archive is";
    EXPECT_EQ(refusal(""), noList);
    EXPECT_EQ(refusal("<html><body>text</body></html>"), noList);
    EXPECT_EQ(refusal("%PDF-1.4"), noList);
    EXPECT_THAT(refusal("bplist00"), HasSubstr("damaged"));
    EXPECT_THAT(refusal("bplist00" + std::string(200, '\xff')), HasSubstr("damaged"));
    EXPECT_EQ(refusal("<plist version=\"1.0\"><array/></plist>"),
              "it is a property list, but no web archive");
    EXPECT_EQ(refusal("<plist version=\"1.0\"><dict/></plist>"), "it has no main page");
    EXPECT_EQ(refusal("<plist version=\"1.0\"><dict><key>WebMainResource</key><string>a</string>"
                      "</dict></plist>"),
              "it has no main page");
    EXPECT_EQ(refusal("<plist version=\"1.0\"><dict><key>WebMainResource</key><dict/></dict>"
                      "</plist>"),
              "its main page has no content");
}

TEST(WebArchive, ThatWasCutOffIsRefusedOrReadAsFarAsItGoes) {
    for (const std::string& whole : {xmlWebArchive(example), binaryWebArchive(example)}) {
        for (std::size_t length = 0; length < whole.size(); length += 7) {
            const auto archive = WebArchive::parse(whole.substr(0, length));
            EXPECT_TRUE(archive.has_value() || !archive.error().empty());
        }
    }
}

/// A binary list whose every object refers to the next one several times.
std::string unfoldingList(std::size_t levels, std::size_t width) {
    std::string list = "bplist00";
    std::string table;
    for (std::size_t i = 0; i <= levels; ++i) {
        table += static_cast<char>(list.size() >> 8U);
        table += static_cast<char>(list.size());
        if (i == levels) {
            list += '\x09';
        } else {
            list += static_cast<char>(0xA0U | width);
            list += std::string(width, static_cast<char>(i + 1));
        }
    }
    const std::size_t start = list.size();
    list += table + std::string(6, '\0') + "\x02\x01" + std::string(7, '\0') +
            static_cast<char>(levels + 1) + std::string(8, '\0') + std::string(6, '\0') +
            static_cast<char>(start >> 8U) + static_cast<char>(start);
    return list;
}

TEST(WebArchive, ThatUnfoldsToMoreThanTheMachineHasIsRefused) {
    EXPECT_EQ(refusal(unfoldingList(2, 2)), "it is a property list, but no web archive");
    EXPECT_THAT(refusal(unfoldingList(100, 14)), HasSubstr("unfold"));
    EXPECT_THAT(refusal(unfoldingList(6, 10)), HasSubstr("unfold"));
}

TEST(WebArchive, ThatIsNestedWithoutEndIsRefused) {
    EXPECT_THAT(refusal(unfoldingList(250, 1)), HasSubstr("nested too deeply"));
    std::string circle = unfoldingList(2, 1);
    circle[11] = 0; // the second object holds the first
    EXPECT_THAT(refusal(circle), HasSubstr("nested too deeply"));
    std::string deep = "<plist version=\"1.0\">";
    for (int i = 0; i < 200'000; ++i) {
        deep += "<array>";
    }
    EXPECT_THAT(refusal(deep), HasSubstr("nested too deeply"));
    ArchivedPage nested = example;
    for (int i = 0; i < 100; ++i) {
        nested = ArchivedPage{example.main, {}, {nested}};
    }
    EXPECT_TRUE(WebArchive::parse(xmlWebArchive(nested)));
}

} // namespace
} // namespace quillorn::tests
