#include "platform/office/DocumentKind.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>

namespace quillorn::tests {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view locked = "it is locked with a password";

/// A compound file with one stream of this name, which begins with `head`.
std::string compoundFile(std::string_view name, std::string_view head) {
    constexpr std::size_t sector = 512;
    std::string file(4 * sector, '\0');
    file.replace(0, 8, "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1");
    file[30] = 9; // two to this power are a sector's bytes
    std::size_t at = 2 * sector;
    for (const char letter : name) {
        file[at] = letter;
        at += 2;
    }
    file[2 * sector + 116] = 2; // the stream begins in sector 2, the fourth block of the file
    file.replace(3 * sector, head.size(), head);
    return file;
}

std::string_view reasonAgainst(const std::string& file) {
    return reasonAgainstDocument(file).value_or("none");
}

TEST(DocumentKindTest, TheContentTellsTheKind) {
    EXPECT_EQ(documentKindOf("{\\rtf1 text}"sv), DocumentKind::richText);
    EXPECT_EQ(documentKindOf("PK\3\4"sv), DocumentKind::wordXML);
    EXPECT_EQ(documentKindOf(compoundFile("WordDocument", "\xEC\xA5\xC1"sv)), DocumentKind::word);
    EXPECT_EQ(documentKindOf(compoundFile("WordDocument", "\xDC\xA5\x68"sv)), DocumentKind::word95);
    EXPECT_EQ(documentKindOf("\xDB\xA5\x2D\0"sv), DocumentKind::word2);
    EXPECT_EQ(documentKindOf("text"sv), DocumentKind::other);
    EXPECT_EQ(documentKindOf(""sv), DocumentKind::other);
}

TEST(DocumentKindTest, PasswordsAreSeenInEveryKindOfWordDocument) {
    constexpr std::string_view flagged = "\0\0\0\0\0\0\0\0\0\1"sv;
    for (const std::string_view mark : {"\xEC\xA5"sv, "\xDC\xA5"sv}) {
        const std::string head(mark);
        EXPECT_EQ(reasonAgainst(compoundFile("WordDocument", head + std::string(flagged))), locked);
        EXPECT_EQ(reasonAgainst(compoundFile("WordDocument", head)), "none");
    }
    EXPECT_EQ(reasonAgainst("\xDB\xA5" + std::string(flagged)), locked);
    EXPECT_EQ(reasonAgainst(std::string("\xDB\xA5\x2D\0"sv)), "none");
    EXPECT_EQ(reasonAgainst(compoundFile("EncryptedPackage", "")), locked);
}

TEST(DocumentKindTest, ACompoundFileThatLiesIsNotFollowed) {
    std::string file = compoundFile("WordDocument", "\xEC\xA5");
    for (std::size_t i = 0; i < 4; ++i) {
        file[1024 + 116 + i] = '\xFF';
    }
    EXPECT_EQ(reasonAgainst(file), "none");
    file[30] = '\x7F';
    EXPECT_EQ(reasonAgainst(file), "none");
    EXPECT_EQ(reasonAgainst(file.substr(0, 600)), "it holds no Word document");
}

} // namespace
} // namespace quillorn::tests
