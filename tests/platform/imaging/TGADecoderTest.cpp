#include "platform/imaging/worker/TGADecoder.h"

#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>
#include <string>
#include <variant>

namespace quillorn::worker {
namespace {

using tests::littleEndian;

struct TGA {
    int type = 2;
    int width = 2;
    int height = 2;
    int bits = 24;
    int descriptor = 0x20; ///< from the top unless told
    std::string palette{};
    int paletteFirst = 0;
    int paletteBits = 24;
    std::string data{};

    [[nodiscard]] std::vector<char> bytes() const {
        const auto two = [](int number) {
            return littleEndian(static_cast<std::uint64_t>(number), 2);
        };
        const int count = static_cast<int>(palette.size()) / ((paletteBits + 7) / 8);
        const std::string all = std::string(1, '\3') + static_cast<char>(palette.empty() ? 0 : 1) +
                                static_cast<char>(type) + two(paletteFirst) + two(count) +
                                static_cast<char>(palette.empty() ? 0 : paletteBits) + two(0) +
                                two(0) + two(width) + two(height) + static_cast<char>(bits) +
                                static_cast<char>(descriptor) + "idn" + palette + data;
        return {all.begin(), all.end()};
    }
};

Decoded decoded(const TGA& tga) {
    return decodeTGA(Task{ImageFormat::tga, {}}, tga.bytes());
}

/// The colours of all pixels as "rrggbb " each; of pictures with few colours only.
std::string coloursOf(const TGA& tga) {
    const auto result = decoded(tga);
    if (!result) {
        return "refused: " + result.error().reason;
    }
    const auto& image = std::get<PackedImage>(*result);
    // What was packed is told by an image of the same pixels that was packed by the same means.
    std::string text;
    for (const char part : image.palette) {
        constexpr const char* digits = "0123456789abcdef";
        const auto byte = static_cast<unsigned char>(part);
        text += digits[byte / 16];
        text += digits[byte % 16];
    }
    return text;
}

// The palette lists colours in the order in which pixels are met from the top left.
const std::string fourPixels("\1\0\0"
                             "\0\2\0"
                             "\0\0\3"
                             "\4\4\5",
                             12); // blue, green, red each

TEST(TGADecoder, StartsInEachCorner) {
    TGA tga;
    tga.data = fourPixels;
    EXPECT_EQ(coloursOf(tga), "000001000200030000050404");
    tga.descriptor = 0x30;
    EXPECT_EQ(coloursOf(tga), "000200000001050404030000");
    tga.descriptor = 0x00;
    EXPECT_EQ(coloursOf(tga), "030000050404000001000200");
    tga.descriptor = 0x10;
    EXPECT_EQ(coloursOf(tga), "050404030000000200000001");
}

TEST(TGADecoder, UndoesRunLengthsThatGoOnInTheNextRow) {
    TGA tga;
    tga.type = 10;
    tga.data = std::string("\x82\1\0\0\0\4\4\5", 8);
    EXPECT_EQ(coloursOf(tga), "000001050404");
    tga.data = std::string("\x01\1\0\0\0\2\0\x81\0\0\3", 11);
    EXPECT_EQ(coloursOf(tga), "000001000200030000");
}

TEST(TGADecoder, LooksUpItsPalette) {
    TGA tga;
    tga.type = 1;
    tga.bits = 8;
    tga.palette = fourPixels;
    tga.paletteFirst = 10;
    tga.data = "\x0D\x0C\x0B\x0A";
    EXPECT_EQ(coloursOf(tga), "050404030000000200000001");
    tga.data = "\x0D\x0C\x0B\x01"; // one that the palette does not have is black
    EXPECT_EQ(coloursOf(tga), "050404030000000200000000");
}

TEST(TGADecoder, ReadsFiveBitsAColour) {
    TGA tga;
    tga.bits = 16;
    tga.data = littleEndian(0x7C00, 2) + littleEndian(0x03E0, 2) + littleEndian(0x001F, 2) +
               littleEndian(0x0421, 2);
    EXPECT_EQ(coloursOf(tga), "ff000000ff000000ff080808");
}

TEST(TGADecoder, GreyMayHaveAlpha) {
    TGA tga;
    tga.type = 3;
    tga.bits = 16;
    tga.width = 1;
    tga.data = std::string("\x10\xFF\x20\x80", 4);
    const auto result = decoded(tga);
    ASSERT_TRUE(result);
    const auto& image = std::get<PackedImage>(*result);
    ASSERT_TRUE(image.alpha);
    EXPECT_EQ(image.colours.components, 1);
}

TEST(TGADecoder, AlphaCountsWhereTheFileSaysThatThereIsSome) {
    TGA tga;
    tga.bits = 32;
    tga.width = 1;
    tga.height = 2;
    tga.data = std::string("\1\2\3\x80\4\5\6\xFF", 8);
    EXPECT_FALSE(std::get<PackedImage>(*decoded(tga)).alpha);
    tga.descriptor = 0x28;
    EXPECT_TRUE(std::get<PackedImage>(*decoded(tga)).alpha);
    tga.data = std::string("\1\2\3\0\4\5\6\0", 8); // never set
    EXPECT_FALSE(std::get<PackedImage>(*decoded(tga)).alpha);
}

TEST(TGADecoder, RefusesWhatIsCutShortOrMakesNoSense) {
    TGA tga;
    tga.data = fourPixels.substr(0, 11);
    EXPECT_EQ(coloursOf(tga), "refused: the file ends before its picture does");
    tga.type = 10;
    tga.data = std::string("\x82\1\0", 3);
    EXPECT_EQ(coloursOf(tga), "refused: the file ends before its picture does");
    tga.width = 60000;
    tga.height = 4000;
    EXPECT_EQ(coloursOf(tga), "refused: the file ends before its picture does");
    tga.type = 7;
    EXPECT_FALSE(decoded(tga));
    tga.type = 2;
    tga.width = 0;
    EXPECT_FALSE(decoded(tga));
    EXPECT_FALSE(decodeTGA(Task{ImageFormat::tga, {}}, {}));
}

} // namespace
} // namespace quillorn::worker
