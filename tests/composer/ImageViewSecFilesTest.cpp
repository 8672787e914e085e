#include "tests/composer/OutputPane.h"

#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using Texts = std::vector<std::string>;

class ImageViewSecFilesTest : public testing::Test {
protected:
    std::string file(const std::string& name, std::size_t pages) {
        return tests::TestPDF(name, pages).writeTo(output.home / name).string();
    }

    tests::OutputPane output;
    ImageViewSec& pane = output.pane;
};

TEST_F(ImageViewSecFilesTest, TheirPagesAreShownInNoGroupAndGoAtTheNextRebuild) {
    output.addGroup("a.pdf", 1);
    output.filePanels.choose(OpenPanelChoice{{file("x.pdf", 2), file("y.pdf", 1)}, ""});
    pane.addImageButtonClicked();
    OpenPanel expected;
    expected.allowsMultipleSelection = true;
    expected.types = {"pdf", "PDF", "pages"};
    EXPECT_EQ(output.filePanels.m_panels.at(0), expected);
    EXPECT_EQ(output.threads.m_started, 1) << "on a thread of its own";
    EXPECT_EQ(pane.images().size(), 4U);
    EXPECT_EQ(output.shown(), "a.pdf: a1");
    EXPECT_EQ(pane.images()[1]->imagePath(), (output.home / "x.pdf").string());
    EXPECT_EQ(pane.addPDFFileName(), Texts{"a.pdf"});
    EXPECT_FALSE(pane.isSave());
    pane.clearAllData();
    pane.loadData();
    EXPECT_EQ(pane.images().size(), 1U);
}

TEST_F(ImageViewSecFilesTest, CancellingThePanelStartsNothing) {
    output.filePanels.cancel();
    pane.addImageButtonClicked();
    EXPECT_EQ(output.threads.m_started, 0);
}

TEST_F(ImageViewSecFilesTest, AnEncryptedFileIsRefusedAndTheOthersGoOn) {
    const std::string locked =
        tests::encryptPDF(file("plain.pdf", 1), output.home / "locked.pdf", {"user", "owner", {}})
            .string();
    const std::string open =
        tests::encryptPDF(file("other.pdf", 1), output.home / "open.pdf", {"", "owner", {}})
            .string();
    output.alerts.expect("Infomation", "locked.pdf is encrypted.");
    output.alerts.expect("Infomation", "open.pdf is encrypted.");
    pane.addImagesWithPaths({locked, open, file("x.pdf", 2)}, {});
    EXPECT_EQ(pane.images().size(), 2U);
}

TEST_F(ImageViewSecFilesTest, AFolderContributesItsFiles) {
    std::filesystem::create_directories(output.home / "p.pages/inner");
    (void)file("p.pages/one.pdf", 1);
    (void)file("p.pages/.two.pdf", 2);
    (void)file("p.pages/inner/three.pdf", 4);
    pane.addImagesWithPath((output.home / "p.pages").string(), false);
    EXPECT_EQ(pane.importedImages().size(), 3U) << "folders inside fail as files";
    EXPECT_EQ(output.statusLine.m_messages.size(), 1U);
    pane.addImagesWithPath((output.home / "p.pages").string(), true);
    EXPECT_EQ(pane.importedImages().size(), 10U) << "recursively they are gone into";
}

TEST_F(ImageViewSecFilesTest, WhatIsNoPDFIsToldOfWithoutAnAlert) {
    tests::writeFile(output.home / "no.pdf", "text");
    pane.addAnImageWithPath((output.home / "no.pdf").string());
    EXPECT_TRUE(pane.importedImages().empty());
    EXPECT_EQ(output.statusLine.m_messages.size(), 1U);
}

} // namespace
} // namespace quillorn
