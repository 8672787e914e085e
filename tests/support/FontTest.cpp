#include "support/CASFont.h"

#include "support/detail/MacRoman.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

TEST(Font, DefaultsAreLucidaGrandeTenPointsBlack) {
    const CASFont font;
    EXPECT_STREQ(font.name, "Lucida Grande");
    EXPECT_EQ(font.size, 10);
    EXPECT_EQ(font.color, 0xFF000000U);
    EXPECT_EQ(font.style, 0U);
}

TEST(Font, LongNamesAreCutAt127Bytes) {
    const CASFont font(std::string(300, 'n').c_str());
    EXPECT_EQ(std::string(font.name), std::string(127, 'n'));
    EXPECT_STREQ(CASFont(nullptr).name, "");
}

TEST(Font, CopiesAreEqualAndEveryFieldCounts) {
    CASFont font("A");
    font.size = 12;
    const CASFont copy = font;
    EXPECT_TRUE(copy == font);
    CASFont assigned;
    assigned = font;
    EXPECT_TRUE(assigned == font);
    assigned.size = 13;
    EXPECT_FALSE(assigned == font);
    assigned = font;
    assigned.color = 1;
    EXPECT_FALSE(assigned == font);
    assigned = font;
    assigned.style = ASFontBold;
    EXPECT_FALSE(assigned == font);
    assigned = font;
    assigned.name[0] = 'B';
    EXPECT_FALSE(assigned == font);
}

TEST(Font, FullNameIsTheFamilyWithoutBoldAndItalic) {
    const char* family = "X";
    EXPECT_EQ(ASGetFontFullName(family, 0), family);
    EXPECT_EQ(ASGetFontFullName(family, ASFontUnderline | ASFontStrikeThrough), family);
    EXPECT_EQ(ASGetFontFullName(family, ASFontBold), family); // no such family
    EXPECT_EQ(ASGetFontFullName(nullptr, ASFontBold), nullptr);
    EXPECT_STREQ(ASGetFontFullName("", ASFontBold), "");
}

TEST(Font, FullNameIsTheFittingMemberOfTheFamily) {
    EXPECT_STREQ(ASGetFontFullName("DejaVu Serif", ASFontBold), "DejaVuSerif-Bold");
    EXPECT_STREQ(ASGetFontFullName("DejaVu Serif", ASFontItalic), "DejaVuSerif-Italic");
    EXPECT_STREQ(ASGetFontFullName("DejaVu Serif", ASFontBold | ASFontItalic),
                 "DejaVuSerif-BoldItalic");
    // Slanted members of this family are called oblique.
    EXPECT_STREQ(ASGetFontFullName("DejaVu Sans Mono", ASFontItalic), "DejaVu Sans Mono");
}

TEST(Font, DescriptionGivesItsOwnFullName) {
    CASFont font("DejaVu Serif");
    EXPECT_STREQ(font.GetFontFullName(), "DejaVu Serif");
    font.style = ASFontBold | ASFontUnderline;
    EXPECT_STREQ(font.GetFontFullName(), "DejaVuSerif-Bold");
}

TEST(FontCollection, NamesTheInstalledFonts) {
    CASFontCollection fonts;
    ASSERT_GT(fonts.GetSystemFontCount(), 0);
    bool found = false;
    const char* buffer = fonts.GetSystemFontname(0);
    for (int32_t i = 0; i < fonts.GetSystemFontCount(); ++i) {
        const char* name = fonts.GetSystemFontname(i);
        EXPECT_EQ(name, buffer);
        ASSERT_NE(name, nullptr);
        EXPECT_LT(std::strlen(name), 128U);
        found = found || std::string(name) == "DejaVuSans";
    }
    EXPECT_TRUE(found);
}

TEST(FontCollection, IndexesThatDoNotExistGiveNull) {
    CASFontCollection fonts;
    EXPECT_EQ(fonts.GetSystemFontname(-1), nullptr);
    EXPECT_EQ(fonts.GetSystemFontname(fonts.GetSystemFontCount()), nullptr);
}

TEST(MacRoman, BytesBecomeTheirCharacters) {
    EXPECT_EQ(ASMacRomanToUTF8("abc"), "abc");
    EXPECT_EQ(ASMacRomanToUTF8("\x80\x8E\xA5\xDB\xFF"), "Äé•€ˇ");
    EXPECT_EQ(ASMacRomanToUTF8(""), "");
}
