#include "platform/imaging/ImageFormat.h"

#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

using namespace tests;

TEST(ImageFormat, IsToldByContentWhateverTheName) {
    const std::string png = TestPNG(testPicture(4, 4)).bytes();
    EXPECT_EQ(recogniseImage(png, "png"), ImageFormat::png);
    EXPECT_EQ(recogniseImage(png, "jpg"), ImageFormat::png);
    EXPECT_EQ(recogniseImage(png, "tga"), ImageFormat::png);
    EXPECT_EQ(recogniseImage(png, ""), ImageFormat::png);
    EXPECT_EQ(recogniseImage(jpegBytes(testPicture(4, 4)), "txt"), ImageFormat::jpeg);
    EXPECT_EQ(recogniseImage(std::string("MM\0+", 4), ""), ImageFormat::tiff);
    EXPECT_EQ(recogniseImage("GIF89a....", "bmp"), ImageFormat::gif);
}

TEST(ImageFormat, BrandsTellHEIFFromAVIFAndFromFilms) {
    const auto box = [](const std::string& brands) {
        return bigEndian(8 + brands.size(), 4) + "ftyp" + brands;
    };
    EXPECT_EQ(recogniseImage(box("heic" + bigEndian(0, 4) + "mif1"), ""), ImageFormat::heif);
    EXPECT_EQ(recogniseImage(box("mif1" + bigEndian(0, 4) + "avif"), ""), ImageFormat::avif);
    EXPECT_FALSE(recogniseImage(box("isom" + bigEndian(0, 4) + "mp42"), "heic"));
}

TEST(ImageFormat, ADrawingIsOneByItsFirstElement) {
    EXPECT_EQ(recogniseImage("<svg xmlns='http://www.w3.org/2000/svg'/>", ""), ImageFormat::svg);
    EXPECT_EQ(recogniseImage("\xEF\xBB\xBF <?xml version='1.0'?><!-- <p> -->\n"
                             "<!DOCTYPE svg [ <!ENTITY a 'b'> ]>\n<svg/>",
                             "xml"),
              ImageFormat::svg);
    EXPECT_FALSE(recogniseImage("<!DOCTYPE html><html><svg/></html>", "svg"));
    EXPECT_FALSE(recogniseImage("text with <svg/>", ""));
    EXPECT_EQ(recogniseImage("\x1F\x8B....", "svgz"), ImageFormat::svg);
    EXPECT_EQ(recogniseImage("\x1F\x8B....", "svg"), ImageFormat::svg);
    EXPECT_FALSE(recogniseImage("\x1F\x8B....", "gz"));
    for (const char* const mark : {"\xFF\xFE", ""}) {
        const std::string wide("<\0s\0v\0g\0/\0>\0", 12);
        EXPECT_EQ(recogniseImage(mark + wide, ""), ImageFormat::svg);
        EXPECT_EQ(recogniseImage(mark + std::string("<\0p\0>\0", 6), ""), std::nullopt);
    }
    EXPECT_EQ(recogniseImage(std::string("\xFE\xFF\0<\0s\0v\0g\0/\0>", 14), ""), ImageFormat::svg);
}

TEST(ImageFormat, ATargaFileNeedsItsExtension) {
    const std::string tga = std::string("\0\0\2", 3) + std::string(9, '\0') + littleEndian(4, 2) +
                            littleEndian(4, 2) + "\x18" + '\0';
    EXPECT_EQ(recogniseImage(tga, "TGA"), ImageFormat::tga);
    EXPECT_NE(recogniseImage(tga, ""), ImageFormat::tga);
}

TEST(ImageFormat, WhatIsNoImageIsNone) {
    for (const std::string bytes : {"", "a", "BM", "%PDF-1.7", "PK\3\4", "plain text"}) {
        EXPECT_FALSE(recogniseImage(bytes, "jpg")) << bytes;
    }
}

TEST(ImageFormat, EachHasANameOfItsOwn) {
    for (int i = 0; i <= static_cast<int>(ImageFormat::avif); ++i) {
        const auto format = static_cast<ImageFormat>(i);
        EXPECT_EQ(imageFormatNamed(imageFormatName(format)), format);
    }
    EXPECT_FALSE(imageFormatNamed("exe"));
}

} // namespace
} // namespace quillorn
