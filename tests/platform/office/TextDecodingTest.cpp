#include "platform/office/text/TextDecoding.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace quillorn::text {
namespace {

using namespace std::string_view_literals;

std::u16string decoded(std::string_view bytes) {
    return decodedText(bytes).value_or(u"refused");
}

TEST(TextDecodingTest, AMarkTellsTheEncoding) {
    EXPECT_EQ(decoded("\xEF\xBB\xBF"
                      "a\xE2\x82\xAC"),
              u"a€");
    EXPECT_EQ(decoded("\xFF\xFE"
                      "a\0\xAC\x20"sv),
              u"a€");
    EXPECT_EQ(decoded("\xFE\xFF\0a\x20\xAC"sv), u"a€");
    EXPECT_EQ(decoded("\xFF\xFE\0\0a\0\0\0"sv), u"a");
}

TEST(TextDecodingTest, WithoutAMarkTheBytesTell) {
    EXPECT_EQ(decoded("a\xE2\x82\xAC"), u"a€");
    EXPECT_EQ(decoded("w\0o\0r\0d\0s\0"sv), u"words");
    EXPECT_EQ(decoded("\0w\0o\0r\0d\0s"sv), u"words");
    EXPECT_EQ(decoded("\x80 5 caf\xE9"), u"€ 5 café");
    EXPECT_EQ(
        encodingOf("\x83\x65\x83\x58\x83\x67\x82\xCC\x95\xB6\x8F\xCD\x82\xC5\x82\xB7\x81\x42"),
        "SHIFT_JIS");
}

TEST(TextDecodingTest, LinesEndInOneWay) {
    EXPECT_EQ(decoded("a\r\nb\rc\nd\r\r\ne"), u"a\nb\nc\nd\n\ne");
    EXPECT_EQ(decoded("a\tb\fc"), u"a\tb\fc");
}

TEST(TextDecodingTest, WhatIsNoTextIsRefused) {
    EXPECT_EQ(decodedText("").error(), "it is empty");
    EXPECT_EQ(decodedText("\1\2\3\4\5\6"sv).error(), "it is no text");
    EXPECT_EQ(decodedText("%PDF-1.7").error(), "it is a PDF by another name");
}

TEST(TextDecodingTest, BrokenLettersBecomeReplacements) {
    EXPECT_EQ(decoded("\xEF\xBB\xBF"
                      "a\xFFz"),
              u"a\uFFFDz");
    EXPECT_EQ(decoded("\xFF\xFE"
                      "a\0z"sv),
              u"a\uFFFD");
}

TEST(TextDecodingTest, BrokenLettersOfEastAsianEncodingsAreSeen) {
    const std::string japanese =
        "\x83\x65\x83\x58\x83\x67\x82\xCC\x95\xB6\x8F\xCD\x82\xC5\x82\xB7\x81\x42\n";
    ASSERT_EQ(encodingOf(japanese), "SHIFT_JIS");
    std::string text;
    std::u16string expected;
    for (int i = 0; i < 5; ++i) {
        text += japanese;
        expected += u"テストの文章です。\n";
    }
    EXPECT_EQ(decoded(text + "\xFF!"), expected + u"\uFFFD!");
    EXPECT_EQ(decoded(text + "\x81"), expected + u"\uFFFD");
}

TEST(TextDecodingTest, AFewBrokenLettersMakeNoOtherEncoding) {
    std::string text;
    std::u16string expected;
    for (int i = 0; i < 20; ++i) {
        text += "caf\xC3\xA9 \xE2\x82\xAC\n";
        expected += u"café €\n";
    }
    EXPECT_EQ(decoded(text + "cut \xE2\x82"), expected + u"cut \uFFFD");
    EXPECT_EQ(decoded("\xFF" + text), u"\uFFFD" + expected);
}

} // namespace
} // namespace quillorn::text
