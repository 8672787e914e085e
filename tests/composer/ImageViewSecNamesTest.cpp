#include "tests/composer/OutputPane.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

class ImageViewSecNamesTest : public testing::Test {
protected:
    /// What the user of the new-group sheet does: types a name and presses a button.
    void answerNewGroup(const std::string& name) {
        output.groupNameWindow.m_user = [this, name]() {
            output.groupNameText.m_value = name;
            pane.clickSureBtn(output.groupNameWindow);
        };
    }

    tests::OutputPane output;
    ImageViewSec& pane = output.pane;
    tests::FakeImageBrowser& browser = output.controls.browser;
};

TEST_F(ImageViewSecNamesTest, TheSheetMakesAGroupOfTheTypedNameAndTheExtension) {
    answerNewGroup("Report");
    pane.addNewGroup();
    EXPECT_EQ(output.shown(), "Report.pdf: blank");
    EXPECT_EQ(output.groupNameWindow.m_runs, 1);
    EXPECT_EQ(output.groupNameWindow.m_stops, 1);
    EXPECT_FALSE(output.groupNameWindow.m_isShown);
}

TEST_F(ImageViewSecNamesTest, NothingStandsBetweenNameAndExtension) {
    output.extentionName.m_value = "pdf";
    output.alerts.expect("Infomation", "Reportpdf is not of a supported format.");
    answerNewGroup("Report");
    pane.addNewGroup();
}

TEST_F(ImageViewSecNamesTest, ARefusedNameClosesTheNewGroupSheet) {
    pane.getGroupName("Report.pdf");
    output.alerts.expect("Infomation", "Report.pdf already exists.");
    answerNewGroup("Report");
    pane.addNewGroup();
    EXPECT_EQ(output.shown(), "Report.pdf: blank");
    EXPECT_EQ(output.groupNameWindow.m_stops, 1);
    EXPECT_FALSE(output.groupNameWindow.m_isShown);
}

TEST_F(ImageViewSecNamesTest, CancelMakesNoGroup) {
    output.groupNameWindow.m_user = [this]() {
        output.groupNameText.m_value = "Report";
        pane.clickConcelBtn(output.groupNameWindow);
    };
    pane.addNewGroup();
    EXPECT_EQ(output.shown(), "");
    EXPECT_EQ(output.groupNameWindow.m_stops, 1);
}

TEST_F(ImageViewSecNamesTest, RenamingStartsFromTheNameWithoutItsExtension) {
    output.addGroup("a.b.pdf", 1);
    output.addGroup("c.pdf", 2);
    output.select({2});
    output.changeNameWindow.m_user = [this]() {
        EXPECT_EQ(output.changeNameText.m_value, "c");
        output.changeNameText.m_value = "new";
        pane.clickChangeSureBtn(output.changeNameWindow);
    };
    pane.itemChangePDFName();
    EXPECT_EQ(output.shown(), "a.b.pdf: a1 | new.pdf: c1 c2");
    EXPECT_EQ(browser.expansion(), "-+");
    EXPECT_EQ(output.changeNameWindow.m_stops, 1);
    EXPECT_FALSE(pane.isSave());
    EXPECT_TRUE(std::filesystem::exists(output.cache() / "c.pdf")) << "its working file stays";
    output.select({0});
    pane.modifySelectTextName();
    EXPECT_EQ(output.changeNameText.m_value, "a.b");
}

TEST_F(ImageViewSecNamesTest, ARenamedGroupTakesPagesUnderItsNewName) {
    output.addGroup("a.pdf", 1);
    output.select({0});
    output.changeNameText.m_value = "b";
    pane.clickChangeSureBtn(output.changeNameWindow);
    output.drag("x", 1);
    output.dropAt(1);
    EXPECT_EQ(output.shown(), "b.pdf: a1 x1");
    pane.getGroupName("a.pdf");
    EXPECT_EQ(output.shown(), "b.pdf: a1 x1 | a.pdf: blank") << "the old name is free";
}

TEST_F(ImageViewSecNamesTest, ARefusedRenameKeepsTheSheetOpen) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 1);
    output.select({0});
    output.changeNameText.m_value = "b";
    output.alerts.expect("Infomation", "b.pdf already exists.");
    pane.clickChangeSureBtn(output.changeNameWindow);
    output.extentionName.m_value = ".txt";
    output.changeNameText.m_value = "c";
    output.alerts.expect("Infomation", "c.txt is not of a supported format.");
    pane.clickChangeSureBtn(output.changeNameWindow);
    EXPECT_EQ(output.changeNameWindow.m_stops, 0);
    EXPECT_EQ(output.shown(), "a.pdf: a1 | b.pdf: b1");
}

TEST_F(ImageViewSecNamesTest, ItsOwnNameIsRefusedToo) {
    output.addGroup("a.pdf", 1);
    output.select({0});
    pane.modifySelectTextName();
    output.alerts.expect("Infomation", "a.pdf already exists.");
    pane.clickChangeSureBtn(output.changeNameWindow);
    EXPECT_EQ(output.changeNameWindow.m_stops, 0);
}

TEST_F(ImageViewSecNamesTest, WithoutASelectionTheSheetStaysOpen) {
    output.addGroup("a.pdf", 1);
    output.changeNameText.m_value = "b";
    pane.clickChangeSureBtn(output.changeNameWindow);
    EXPECT_EQ(output.changeNameWindow.m_stops, 0);
    EXPECT_EQ(output.shown(), "a.pdf: a1");
}

TEST_F(ImageViewSecNamesTest, ARenamedEmptyGroupHasAPlaceholderWithoutAPicture) {
    output.addGroup("a.pdf", 0);
    output.addGroup("b.pdf", 1);
    output.select({0});
    output.changeNameText.m_value = "c";
    pane.clickChangeSureBtn(output.changeNameWindow);
    EXPECT_EQ(output.shown(), "c.pdf: blank | b.pdf: b1");
    EXPECT_EQ(pane.images()[0]->page(), nullptr);
    EXPECT_EQ(output.changeNameWindow.m_stops, 1);
    output.drag("x", 2);
    output.dropAt(1);
    EXPECT_EQ(output.shown(), "c.pdf: x1 x2 | b.pdf: b1") << "it can be filled all the same";
}

TEST_F(ImageViewSecNamesTest, CancelLeavesTheNameAsItIs) {
    output.addGroup("a.pdf", 1);
    output.select({0});
    output.changeNameWindow.m_user = [this]() {
        output.changeNameText.m_value = "b";
        pane.clickConcelBtn(output.changeNameWindow);
    };
    pane.itemChangePDFName();
    EXPECT_EQ(output.shown(), "a.pdf: a1");
}

} // namespace
} // namespace quillorn
