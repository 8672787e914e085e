#include "platform/office/RichTextPackage.h"

#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <vector>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string png = "\x89PNG\r\n\x1A\n";

class RichTextPackageTest : public testing::Test {
protected:
    /// The text with attachments, all of which are the same picture.
    std::string inlined(const std::string& text) {
        const RichText result = withAttachments(text, [this](const std::string& name) {
            asked.push_back(name);
            return std::optional(png);
        });
        notices = result.notices;
        return result.text;
    }
    std::vector<std::string> asked;
    std::vector<std::string> notices;
};

TEST_F(RichTextPackageTest, APictureTakesThePlaceOfItsReference) {
    EXPECT_EQ(inlined(R"({\rtf1 a{{\NeXTGraphic my dot.png \width40 \height60 \noorient})"
                      "\n\\'ac}b}"),
              "{\\rtf1 a{\\pict\\pngblip\\picwgoal40\\pichgoal60\n89504e470d0a1a0a}b}");
    EXPECT_THAT(asked, ElementsAre("my dot.png"));
    EXPECT_THAT(notices, IsEmpty());
}

TEST_F(RichTextPackageTest, NamesAreReadWithTheirEscapes) {
    static_cast<void>(
        inlined(R"({{\NeXTGraphic caf\'e9 \u8364? \u-10179?\u-8704?.png \width1}x})"));
    EXPECT_THAT(asked, ElementsAre("café € 😀.png"));
}

TEST_F(RichTextPackageTest, NamesThatLeadElsewhereAreNotFollowed) {
    for (const char* const name : {"../x.png", "/etc/passwd", "..", ".", "a/b.png"}) {
        const std::string text = inlined("{\\rtf1{{\\NeXTGraphic " + std::string(name) + "}x}}");
        EXPECT_EQ(text, "{\\rtf1[" + std::string(name) + "]}");
        EXPECT_THAT(notices, ElementsAre(HasSubstr(name)));
    }
    EXPECT_THAT(asked, IsEmpty());
}

TEST_F(RichTextPackageTest, BrokenReferencesStay) {
    for (const char* const text :
         {"{\\rtf1 {\\NeXTGraphic", "\\NeXTGraphic a.png", "{\\NeXTGraphics a.png}",
          "{\\NeXTGraphic a{b}", "{\\rtf1 no attachment}", ""}) {
        EXPECT_EQ(inlined(text), text);
    }
}

TEST_F(RichTextPackageTest, LinksOutOfThePackageAreNotFollowed) {
    const TemporaryFolder folder;
    fs::create_directory(folder / "a.rtfd");
    writeFile(folder / "secret.png", png);
    fs::create_symlink(folder / "secret.png", folder / "a.rtfd/link.png");
    writeFile(folder / "a.rtfd/TXT.rtf", "{\\rtf1{{\\NeXTGraphic link.png}x}}");
    const auto text = readRichTextPackage(folder / "a.rtfd");
    ASSERT_TRUE(text);
    EXPECT_EQ(text->text, "{\\rtf1[link.png]}");
    fs::remove(folder / "a.rtfd/TXT.rtf");
    fs::create_symlink(folder / "secret.png", folder / "a.rtfd/TXT.rtf");
    EXPECT_FALSE(readRichTextPackage(folder / "a.rtfd"));
}

} // namespace
} // namespace quillorn::tests
