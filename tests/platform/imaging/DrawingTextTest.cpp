#include "platform/imaging/worker/DrawingText.h"

#include <gtest/gtest.h>
#include <string>
#include <string_view>
#include <zlib.h>

namespace quillorn::worker {
namespace {

using namespace std::string_literals;

constexpr std::uint64_t limit = 1U << 20U;

std::string textOf(const std::string& file) {
    const auto text = readDrawingText(file, limit);
    return text ? *text : "refused: " + text.error();
}

std::string gzipped(const std::string& data) {
    z_stream state{};
    constexpr int gzip = 16;
    EXPECT_EQ(deflateInit2(&state, 9, Z_DEFLATED, MAX_WBITS + gzip, 9, Z_DEFAULT_STRATEGY), Z_OK);
    std::string packed(deflateBound(&state, data.size()), '\0');
    state.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.data()));
    state.avail_in = static_cast<uInt>(data.size());
    state.next_out = reinterpret_cast<Bytef*>(packed.data());
    state.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&state, Z_FINISH), Z_STREAM_END);
    packed.resize(packed.size() - state.avail_out);
    deflateEnd(&state);
    return packed;
}

std::string inUTF16(const std::string& text, bool isBigEndian) {
    std::string wide;
    for (const char letter : text) {
        wide += isBigEndian ? std::string{'\0', letter} : std::string{letter, '\0'};
    }
    return wide;
}

TEST(DrawingText, IsHandedOnAsItIs) {
    const std::string drawing = "<svg width='1'><text a=\"x>y\">a &amp; &#98; &unknown; c</text>"
                                "<style><![CDATA[ a > b { &no; } ]]></style></svg>\n";
    EXPECT_EQ(textOf(drawing), drawing);
}

TEST(DrawingText, LosesWhatIsNotDrawn) {
    EXPECT_EQ(textOf("<?xml version='1.0'?><?xml-stylesheet href='/etc/a.css'?>"
                     "<!-- <svg> --><!DOCTYPE svg PUBLIC \"-//W3C\" 'http://a>b'>\n<svg/>"),
              "\n<svg/>");
}

TEST(DrawingText, HasItsEntitiesExpanded) {
    EXPECT_EQ(textOf("<!DOCTYPE svg [\n<!-- ]> --><!ELEMENT a (b)><!ATTLIST svg x CDATA '>'>\n"
                     "<!ENTITY ns 'http://a'> <!ENTITY ns 'second'>\n"
                     "<!ENTITY away SYSTEM '/etc/passwd'><!ENTITY s \"fill:&#35;f00;\">\n]>"
                     "<svg xmlns='&ns;'><a style=\"&s;\">&ns;&away;</a><![CDATA[&ns;]]></svg>"),
              "<svg xmlns='http://a'><a style=\"fill:&#35;f00;\">http://a</a>"
              "<![CDATA[&ns;]]></svg>");
}

TEST(DrawingText, EntitiesThatStandForOthersAreRefused) {
    const std::string reason = "refused: its entities stand for more than text";
    EXPECT_EQ(textOf("<!DOCTYPE svg [<!ENTITY a 'x'><!ENTITY b '&a;&a;'>]><svg>&b;</svg>"), reason);
    EXPECT_EQ(textOf("<!DOCTYPE svg [<!ENTITY b '%a;'>]><svg>&b;</svg>"), reason);
    EXPECT_EQ(textOf("<!DOCTYPE a [<!ENTITY b '<!DOCTYPE svg [ ]>'>]>&b;<svg/>"), reason);
}

TEST(DrawingText, DeclarationsThatArePutTogetherAreRefused) {
    const std::string reason = "refused: it puts its declarations together while it is read";
    EXPECT_EQ(textOf("<!DOCTYPE svg [<!ENTITY % a '<!ENTITY b \"c\">'>]><svg/>"), reason);
    EXPECT_EQ(textOf("<!DOCTYPE svg [ %a; ]><svg/>"), reason);
}

/// One entity of a thousand letters, a hundred thousand times, in an attribute or in text.
std::string bomb(bool inAttribute) {
    std::string uses;
    for (int i = 0; i < 100'000; ++i) {
        uses += "&a;";
    }
    return "<!DOCTYPE svg [<!ENTITY a '" + std::string(1000, 'x') + "'>]><svg" +
           (inAttribute ? " a='" + uses + "'/>" : "><desc>" + uses + "</desc></svg>");
}

TEST(DrawingText, ManyUsesOfALongEntityAreRefusedInAnyEncoding) {
    const std::string reason = "refused: its entities stand for more text than a drawing may have";
    for (const bool inAttribute : {true, false}) {
        EXPECT_EQ(textOf(bomb(inAttribute)), reason);
        EXPECT_EQ(textOf("\xFF\xFE" + inUTF16(bomb(inAttribute), false)), reason);
        EXPECT_EQ(textOf("\xFE\xFF" + inUTF16(bomb(inAttribute), true)), reason);
        EXPECT_EQ(textOf(inUTF16(bomb(inAttribute), false)), reason);
        EXPECT_EQ(textOf(gzipped(bomb(inAttribute))), reason);
        EXPECT_EQ(textOf(gzipped("\xFF\xFE" + inUTF16(bomb(inAttribute), false))), reason);
    }
    // "+ACY-a;" is "&a;" in an encoding that looks like any other.
    std::string uses;
    for (int i = 0; i < 20'000; ++i) {
        uses += "+ACY-a+ADs-";
    }
    EXPECT_EQ(textOf("<?xml version='1.0' encoding='UTF-7'?><!DOCTYPE svg [<!ENTITY a '" +
                     std::string(1000, 'x') + "'>]><svg a='" + uses + "'/>"),
              reason);
}

TEST(DrawingText, IsUnpackedWithinItsLimit) {
    EXPECT_EQ(textOf(gzipped("<svg>") + gzipped("</svg>")), "<svg></svg>");
    const std::string reason = "refused: it has more text than a drawing may have";
    EXPECT_EQ(textOf(gzipped("<svg>" + std::string(64U << 20U, ' ') + "</svg>")), reason);
    EXPECT_EQ(textOf(std::string(limit + 1, ' ')), reason);
    EXPECT_EQ(textOf(std::string(limit / 2, '\xE9')), reason); // two bytes more each as UTF-8
    const std::string packed = gzipped("<svg/>");
    EXPECT_EQ(textOf(packed.substr(0, packed.size() - 4)),
              "refused: its compressed data is damaged");
    EXPECT_EQ(textOf(packed + "more"), "refused: its compressed data is damaged");
}

TEST(DrawingText, IsUTF8WhateverTheFileWas) {
    EXPECT_EQ(textOf("<?xml version='1.0' encoding=\"ISO-8859-1\"?><svg a='\xE9'/>"),
              "<svg a='\xC3\xA9'/>");
    EXPECT_EQ(textOf("\xEF\xBB\xBF<svg a='\xC3\xA9\xE9'/>"), "<svg a='\xC3\xA9\xEF\xBF\xBD'/>");
    EXPECT_EQ(textOf("\xFE\xFF" + inUTF16("<?xml encoding='UTF-16'?><svg/>", true)), "<svg/>");
    EXPECT_EQ(textOf("<\0\0\0s\0\0\0/\0\0\0>\0\0\0"s), "<s/>");
    // What cannot be true, or is no name of an encoding.
    for (const char* const name : {"UTF-16", "none", "", "UTF-8//TRANSLIT"}) {
        EXPECT_EQ(textOf("<?xml encoding='"s + name + "'?><svg a='\xC3\xA9'/>"),
                  "<svg a='\xC3\xA9'/>");
    }
}

TEST(DrawingText, ElementsLoseTheirPrefix) {
    EXPECT_EQ(textOf("<svg:svg xmlns:svg='u'><svg:g/></svg:svg>"), "<svg xmlns:svg='u'><g/></svg>");
}

TEST(DrawingText, VeryLongLinesOfLettersAreRefused) {
    const std::string reason = "refused: a line of its text is too long";
    const std::string letters(60'000, 'x');
    EXPECT_EQ(textOf("<svg><text>" + letters + "</text></svg>"), reason);
    EXPECT_EQ(textOf("<svg><text><![CDATA[" + letters + "]]>x</text></svg>"), reason);
    const std::string font = "<svg><style>" + letters + "</style><path d='" + letters + "'/></svg>";
    EXPECT_EQ(textOf(font), font);
}

TEST(DrawingText, WhatEndsInTheMiddleIsRefused) {
    const std::string reason = "refused: it is no drawing, or a damaged one";
    for (const char* const file :
         {"<svg", "<svg a='", "<svg a='<'>", "<svg <g>", "<!-- ", "<?xml", "<![CDATA[ ]",
          "<!DOCTYPE svg", "<!DOCTYPE svg [", "<!DOCTYPE svg [<!ENTITY",
          "<!DOCTYPE svg [<!ENTITY a", "<!DOCTYPE svg [<!ENTITY a 'b", "<!DOCTYPE svg [ x ]><svg/>",
          "<!ENTITY a 'b'><svg/>", "<svg/><!DOCTYPE svg [<!ENTITY a 'b'>]>",
          "<!DOCTYPE a><!DOCTYPE b><svg/>"}) {
        EXPECT_EQ(textOf(file), reason) << file;
    }
}

} // namespace
} // namespace quillorn::worker
