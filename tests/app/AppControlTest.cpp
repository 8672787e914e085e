#include "app/AppControl.h"

#include "platform/pdf/PDFSource.h"
#include "platform/ui/CacheFolder.h"
#include "tests/fakes/FakeControls.h"
#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class AppControlTest : public testing::Test {
protected:
    [[nodiscard]] fs::path cache() const { return cacheFolder(home.path().string()); }

    tests::TemporaryFolder home;
    tests::TemporaryFolder resources;
    tests::FakeWindow window;
    tests::FakeScreen screen;
    tests::FakeSplitView splitView;
    tests::FakeButton btnSavePath;
    tests::FakeSlider sliderFir;
    tests::FakeSlider sliderSec;
    tests::FakeMenuItem menuAbout;
    tests::FakeMenuItem menuQuit;
    tests::FakeMenuItem menuHide;
    tests::FakeMenuItem menuHelp;
    tests::FakeSheet winAbout;
    tests::FakeLabel version;
    tests::FakeLabel labTitle;
    tests::FakeLabel labNotice;
    tests::FakeWorkspace workspace;
    tests::FakeStatusLine statusLine;
    AppControl control{
        AppControlOutlets{window, screen, splitView, btnSavePath, sliderFir, sliderSec, menuAbout,
                          menuQuit, menuHide, menuHelp, winAbout, version, labTitle, labNotice},
        AppControlServices{workspace, statusLine, Resources({resources.path()}), "1.2.3",
                           "https://example.org/support", home.path().string()}};
};

TEST_F(AppControlTest, TheMenusCarryTheProgramsName) {
    control.awakeFromNib();
    EXPECT_EQ(menuAbout.m_title, "About Quillorn Folivane");
    EXPECT_EQ(menuQuit.m_title, "Quit Quillorn Folivane");
    EXPECT_EQ(menuHide.m_title, "Hide Quillorn Folivane");
    EXPECT_EQ(menuHelp.m_title, "Quillorn Folivane Help");
}

TEST_F(AppControlTest, TheAboutWindowTellsNameVersionAndMaker) {
    control.awakeFromNib();
    EXPECT_EQ(labTitle.m_value, "Quillorn Folivane");
    EXPECT_EQ(labTitle.m_font, std::pair(14.0, true));
    EXPECT_EQ(version.m_value, "Version 1.2.3");
    EXPECT_FALSE(labNotice.m_value.empty());
    EXPECT_EQ(labNotice.m_value.find('\n'), std::string::npos) << "it is one line";
}

TEST_F(AppControlTest, TheCacheFolderGetsABlankFileWithoutPages) {
    control.awakeFromNib();
    const auto blank = PDFSource::open(cache() / "blank.pdf");
    ASSERT_TRUE(blank.has_value());
    EXPECT_EQ((*blank)->pageCount(), 0U);
    EXPECT_TRUE(statusLine.m_messages.empty());
}

TEST_F(AppControlTest, AtTheNextStartTheFolderStaysAndTheBlankFileIsRewritten) {
    fs::create_directories(cache());
    tests::writeFile(cache() / "other.pdf", "stays");
    tests::writeFile(cache() / "blank.pdf", "old");
    control.awakeFromNib();
    EXPECT_EQ(tests::namesIn(cache()), (Texts{"blank.pdf", "other.pdf"}));
    EXPECT_TRUE(PDFSource::open(cache() / "blank.pdf").has_value());
}

TEST_F(AppControlTest, ACacheFolderThatCannotBeMadeIsToldOfAndNoMore) {
    tests::writeFile(home / "Library", "in the way");
    control.awakeFromNib();
    EXPECT_EQ(statusLine.m_messages.size(), 1U);
    EXPECT_EQ(window.m_frame.width, 400) << "the start goes on";
}

TEST_F(AppControlTest, TheWindowStartsSmallInTheMiddleOfTheScreen) {
    control.awakeFromNib();
    EXPECT_EQ(window.m_frame, (WindowFrame{520, 250, 400, 400}));
    EXPECT_TRUE(window.m_animated);
    EXPECT_EQ(window.m_minSize, (WindowSize{250, 300}));
    EXPECT_EQ(splitView.m_position, std::pair(160000.0, std::size_t{0}))
        << "far beyond, where the divider stops by itself";
    EXPECT_EQ(splitView.m_style, DividerStyle::thin);
    EXPECT_EQ(splitView.m_frame, (WindowFrame{-2, 0, 403, 379}));
}

TEST_F(AppControlTest, TheAboutWindowIsModalUntilItIsClosed) {
    winAbout.m_user = [this]() { EXPECT_TRUE(control.windowShouldClose(winAbout)); };
    control.showAboutPanel();
    EXPECT_EQ(winAbout.m_runs, 1);
    EXPECT_EQ(winAbout.m_stops, 2) << "once by its close box, once afterwards";
}

TEST_F(AppControlTest, HelpOpensTheManual) {
    tests::writeFile(resources / "Help.pdf", "manual");
    control.showHelpFile();
    EXPECT_EQ(workspace.m_opened, Texts{"file " + (resources / "Help.pdf").string()});
    workspace.m_works = false;
    control.showHelpFile();
    EXPECT_EQ(statusLine.m_messages.size(), 1U);
}

TEST_F(AppControlTest, AMissingManualIsToldOf) {
    control.showHelpFile();
    EXPECT_TRUE(workspace.m_opened.empty());
    EXPECT_EQ(statusLine.m_messages, Texts{"The manual is not installed."});
}

TEST_F(AppControlTest, SupportOpensItsPage) {
    control.showHelpMenu();
    EXPECT_EQ(workspace.m_opened, Texts{"url https://example.org/support"});
    workspace.m_works = false;
    control.showHelpMenu();
    EXPECT_EQ(statusLine.m_messages.size(), 1U);
}

TEST_F(AppControlTest, TheConvertersConfigurationCanBeCopiedIntoTheHomeFolder) {
    tests::writeFile(resources / "wvHtml.xml", "<config/>");
    control.createBin();
    EXPECT_EQ(tests::readFile(home / ".bin/wvHtml.xml"), "<config/>");
    tests::writeFile(resources / "wvHtml.xml", "<newer/>");
    control.createBin();
    EXPECT_EQ(tests::readFile(home / ".bin/wvHtml.xml"), "<newer/>");
    EXPECT_TRUE(statusLine.m_messages.empty());
}

TEST_F(AppControlTest, AConfigurationThatIsNotThereIsToldOf) {
    control.createBin();
    EXPECT_EQ(statusLine.m_messages.size(), 1U);
    EXPECT_TRUE(fs::is_directory(home / ".bin"));
}

TEST_F(AppControlTest, TheStartCopiesNoConfiguration) {
    tests::writeFile(resources / "wvHtml.xml", "<config/>");
    control.awakeFromNib();
    EXPECT_FALSE(fs::exists(home / ".bin"));
}

} // namespace
} // namespace quillorn
