#include "app/TerminalText.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

TEST(TerminalText, OrdinaryTextIsPrintedAsItIs) {
    EXPECT_EQ(printable("report 1.pdf"), "report 1.pdf");
    EXPECT_EQ(printable("\u00dcbersicht \u2013 \u6587\u66f8 \U0001F4C4.pdf"),
              "\u00dcbersicht \u2013 \u6587\u66f8 \U0001F4C4.pdf");
    EXPECT_EQ(printable(""), "");
}

TEST(TerminalText, ControlCharactersAreShown) {
    EXPECT_EQ(printable("a\nb\tc\rd"), "a\\nb\\tc\\x0dd");
    EXPECT_EQ(printable("\033[31mred\033[0m\x7f"), "\\x1b[31mred\\x1b[0m\\x7f");
    EXPECT_EQ(printable(std::string("a\0b", 3)), "a\\x00b");
    EXPECT_EQ(printable("\u0085\u009b"), "\\xc2\\x85\\xc2\\x9b");
}

TEST(TerminalText, MarksThatHideWhatFollowsAreShown) {
    EXPECT_EQ(printable("a\u202efdp.exe"), "a\\xe2\\x80\\xaefdp.exe");
    EXPECT_EQ(printable("a\u2028b"), "a\\xe2\\x80\\xa8b");
}

TEST(TerminalText, BytesThatAreNoUtf8AreShown) {
    EXPECT_EQ(printable("caf\xe9.pdf"), "caf\\xe9.pdf");
    EXPECT_EQ(printable("\xc0\xaf"), "\\xc0\\xaf") << "a slash written too long";
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "half of a surrogate pair";
    EXPECT_EQ(printable("\xf5\x80\x80\x80"), "\\xf5\\x80\\x80\\x80") << "beyond Unicode";
    EXPECT_EQ(printable("x\xe2\x82"), "x\\xe2\\x82") << "cut off";
    EXPECT_EQ(printable("\xe2\x82"
                        "A"),
              "\\xe2\\x82"
              "A");
    EXPECT_EQ(printable("\x80"), "\\x80");
}

TEST(TerminalText, NumbersAreGroupedByThousands) {
    EXPECT_EQ(grouped(0), "0");
    EXPECT_EQ(grouped(999), "999");
    EXPECT_EQ(grouped(1000), "1,000");
    EXPECT_EQ(grouped(123456), "123,456");
    EXPECT_EQ(grouped(1234567890), "1,234,567,890");
}

TEST(TerminalText, OneThingHasNoPlural) {
    EXPECT_EQ(counted(1, "page"), "1 page");
    EXPECT_EQ(counted(0, "page"), "0 pages");
    EXPECT_EQ(counted(2000, "page"), "2,000 pages");
}

TEST(TerminalText, LongTextIsCutBetweenCharacters) {
    EXPECT_EQ(shortened("Letters.pdf", 20), "Letters.pdf");
    EXPECT_EQ(shortened("Letters.pdf", 11), "Letters.pdf");
    EXPECT_EQ(shortened("Letters.pdf", 8), "Letters…");
    EXPECT_EQ(shortened("\u00e4\u00f6\u00fc\u00df", 3), "\u00e4\u00f6…");
    EXPECT_EQ(shortened("abc", 1), "…");
    EXPECT_EQ(shortened("abc", 0), "");
}

TEST(TerminalText, PathsAreShownFromTheRoot) {
    const std::string here = std::filesystem::current_path().string();
    EXPECT_EQ(fullPath("a.pdf"), here + "/a.pdf");
    EXPECT_EQ(fullPath("./x/./a.pdf"), here + "/x/a.pdf");
    EXPECT_EQ(fullPath("/x//y/a.pdf"), "/x/y/a.pdf");
    EXPECT_EQ(fullPath("/x/../a.pdf"), "/x/../a.pdf") << "x may be a symbolic link";
}

} // namespace
} // namespace quillorn
