#include "tests/import/SourcePane.h"

#include "platform/ui/CacheFolder.h"
#include "platform/ui/OwnedThreads.h"
#include "tests/fakes/WindowLoop.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace quillorn {
namespace {

using Names = std::vector<std::string>;
using Kind = ImportRefusal::Kind;

class ImageViewFirIntakeTest : public testing::Test {
protected:
    static tests::FakeDrag dragOf(const Names& files) {
        return tests::FakeDrag(tests::FakePasteboard::ofFiles(files));
    }
    static tests::FakeDrag pageDrag() {
        tests::FakePasteboard pasteboard;
        writePageDrag({}, {}, pasteboard);
        return tests::FakeDrag(pasteboard);
    }

    tests::SourcePane source;
    ImageViewFir& pane = source.pane;
    tests::FakeImageBrowser& browser = source.controls.browser;
};

TEST_F(ImageViewFirIntakeTest, TheOpenPanelStartsAmongTheDocumentsAndOffersItsTypes) {
    source.filePanels.cancel();
    pane.addImageButtonClicked();
    OpenPanel expected;
    expected.allowsMultipleSelection = true;
    expected.folder = (source.home / "Documents").string();
    expected.types = {"icns", "tiff", "tif", "jpg", "png", "ico",   "tga",
                      "psd",  "jpeg", "gif", "bmp", "jp2", "pages", "pdf"};
    EXPECT_EQ(source.filePanels.m_panels, std::vector<OpenPanel>{expected});
    EXPECT_EQ(source.threads.m_started, 0);
    EXPECT_TRUE(source.preferences.m_values.empty()) << "cancel remembers nothing";
}

TEST_F(ImageViewFirIntakeTest, ChosenFilesComeInOnAThreadOfTheirOwn) {
    const Names files = {source.pdf("a.pdf", 1), source.file("b.png")};
    source.filePanels.choose(OpenPanelChoice{files, "/some/folder"});
    pane.addImageButtonClicked();
    EXPECT_EQ(source.threads.m_started, 1);
    EXPECT_EQ(source.shown(), "a.pdf: 1-a | b.png: b.png");
    EXPECT_EQ(pane.fileArray(), files);
    EXPECT_EQ(source.preferences.m_values.at("AddFilePath"), "/some/folder");
    source.filePanels.cancel();
    pane.addImageButtonClicked();
    EXPECT_EQ(source.filePanels.m_panels.back().folder, "/some/folder") << "it is where one was";
}

TEST_F(ImageViewFirIntakeTest, TheOpenPanelSendsEachTypeItsWay) {
    source.open({source.file("a.PNG"), source.file("b.rtf"), source.file("c.doc"),
                 source.file("d.docx"), source.file("e.rtfd")});
    EXPECT_EQ(source.conversions.calls(),
              (Names{"image2PDF a.PNG", "rtf2PDF b.rtf", "rtf2PDF c.doc", "rtf2PDF d.docx",
                     "rtf2PDF e.rtfd"}));
    EXPECT_EQ(source.shown(), "a.PNG: a.PNG | b.rtf: 1-b | c.doc: 1-c | d.docx: 1-d | e.rtfd: 1-e");
}

TEST_F(ImageViewFirIntakeTest, ADropSendsEachTypeItsWay) {
    EXPECT_TRUE(
        source.drop({source.file("a.jpg"), source.file("b.html"), source.file("c.HTM"),
                     source.file("d.webarchive"), source.file("e.txt"), source.file("f.doc"),
                     source.file("g.docx"), source.pdf("REPORT.PDF", 2)}));
    EXPECT_EQ(source.conversions.calls(),
              (Names{"image2PDF a.jpg", "html2PDF b.html", "html2PDF c.HTM",
                     "html2PDF d.webarchive", "rtf2PDF e.txt", "doc2PDF f.doc", "rtf2PDF g.docx"}));
    EXPECT_EQ(source.shown(), "a.jpg: a.jpg | b.html: 1-b | c.HTM: 1-c | d.webarchive: 1-d | "
                              "e.txt: 1-e | f.doc: 1-f | g.docx: 1-g | REPORT.PDF: 1-REPORT "
                              "2-REPORT");
    EXPECT_EQ(source.threads.m_started, 0) << "a drop is waited for";
}

TEST_F(ImageViewFirIntakeTest, AnIllegalFileEndsADropAndTheRestIsNotRead) {
    source.alerts.expect("Infomation", "notes.xyz is not a legal file.");
    EXPECT_FALSE(
        source.drop({source.file("photo.png"), source.file("notes.xyz"), source.pdf("a.pdf", 1)}));
    EXPECT_EQ(source.shown(), "photo.png: photo.png");
}

TEST_F(ImageViewFirIntakeTest, PagesAreNotDroppedHere) {
    EXPECT_EQ(pane.draggingEntered(pageDrag()), DragOperation::none);
    EXPECT_EQ(pane.draggingUpdated(pageDrag()), DragOperation::none);
    EXPECT_FALSE(pane.performDragOperation(pageDrag()));
}

TEST_F(ImageViewFirIntakeTest, ADragWithoutFilesIsTakenAndBringsNothing) {
    EXPECT_EQ(pane.draggingEntered(dragOf({})), DragOperation::copy);
    EXPECT_EQ(pane.draggingUpdated(dragOf({})), DragOperation::copy);
    EXPECT_TRUE(pane.performDragOperation(dragOf({})));
    const tests::FakeDrag nothing{tests::FakePasteboard()};
    EXPECT_EQ(pane.draggingEntered(nothing), DragOperation::copy);
    EXPECT_TRUE(pane.performDragOperation(nothing));
}

TEST_F(ImageViewFirIntakeTest, TheFirstFileDecidesWhetherADragIsTaken) {
    for (const std::string& first : {source.pdf("a.pdf", 1), source.file("b.png"),
                                     source.file("c.PDF"), source.file("d.pages")}) {
        EXPECT_EQ(pane.draggingUpdated(dragOf({first})), DragOperation::copy) << first;
    }
    for (const std::string& first :
         {source.file("a.html"), source.file("b.rtf"), source.file("c.doc"), source.file("d.txt"),
          source.file("e.xyz"), (source.home / "gone.png").string()}) {
        EXPECT_EQ(pane.draggingUpdated(dragOf({first, source.file("x.png")})), DragOperation::none)
            << first;
        EXPECT_EQ(pane.draggingEntered(dragOf({first})), DragOperation::none) << first;
    }
    EXPECT_EQ(pane.draggingUpdated(dragOf({source.file("b.png"), source.file("a.html")})),
              DragOperation::copy);
}

TEST_F(ImageViewFirIntakeTest, ADragOfFilesOpensTheLastGroupFirst) {
    source.open({source.pdf("a.pdf", 1), source.pdf("b.pdf", 1)});
    const tests::FakeDrag drag = dragOf({source.file("c.png")});
    EXPECT_EQ(pane.draggingEntered(drag), DragOperation::none);
    EXPECT_EQ(browser.expansion(), "-+");
    EXPECT_EQ(pane.draggingEntered(drag), DragOperation::copy);
    EXPECT_EQ(pane.draggingUpdated(drag), DragOperation::copy);
}

TEST_F(ImageViewFirIntakeTest, TheSameFileTwiceIsRefused) {
    const std::string path = source.pdf("a.pdf", 2);
    source.open({path});
    source.alerts.expect("Infomation", "a.pdf already exists!");
    source.open({path});
    EXPECT_EQ(source.shown(), "a.pdf: 1-a 2-a");
    EXPECT_EQ(pane.pdfFilesName().size(), 1U);
    EXPECT_EQ(pane.pdfFileNumber(), 0);
}

TEST_F(ImageViewFirIntakeTest, TheSameImageTwiceIsConvertedAndThenRefused) {
    const std::string path = source.file("photo.png");
    source.drop({path});
    source.alerts.expect("Infomation", "photo.png already exists!");
    source.drop({path});
    EXPECT_EQ(source.conversions.calls().size(), 2U);
    EXPECT_EQ(pane.pdfFilesName(), Names{cacheFolder(source.home.path().string()) + "/photo.png"});
    EXPECT_EQ(source.shown(), "photo.png: photo.png");
}

/// Two pictures of the same name in two folders, of which one has a page more.
struct Namesakes {
    explicit Namesakes(tests::SourcePane& source) {
        std::filesystem::create_directory(source.home / "a");
        std::filesystem::create_directory(source.home / "b");
        one = source.file("a/photo.png");
        two = source.file("b/photo.png");
        source.conversions.m_pages = [this](const std::string& path) {
            return path == one ? 1U : 2U;
        };
    }
    std::string one;
    std::string two;
};

TEST_F(ImageViewFirIntakeTest, ANamesakeThatIsRefusedNeverTakesThePlaceOfTheFirst) {
    const Namesakes photos(source);
    source.open({photos.one, source.pdf("c.pdf", 1)});
    source.alerts.expect("Infomation", "photo.png already exists!");
    source.open({photos.two});
    browser.setSelectionIndexes(IndexSet{1}, false);
    pane.closePDFFile();
    EXPECT_EQ(source.shown(), "photo.png: photo.png") << "the others are opened anew";
}

TEST_F(ImageViewFirIntakeTest, TheSameWebPageTwiceIsPrintedAgainAndThenRefused) {
    const std::string page = source.file("page.html");
    source.drop({source.file("a.png"), page}); // it must not be the first
    source.alerts.expect("Infomation", "page.html already exists!");
    source.drop({source.file("b.png"), page});
    EXPECT_EQ(source.conversions.calls(), (Names{"image2PDF a.png", "html2PDF page.html",
                                                 "image2PDF b.png", "html2PDF page.html"}));
    EXPECT_EQ(source.shown(), "a.png: a.png | page.html: 1-page | b.png: b.png");
}

TEST_F(ImageViewFirIntakeTest, WhatIsNoPDFIsReportedAndTheOthersComeIn) {
    source.alerts.expect("Infomation", "no.pdf is not a legal file.");
    source.alerts.expect("Infomation", "gone.pdf is not a legal file.");
    source.open(
        {source.file("no.pdf"), (source.home / "gone.pdf").string(), source.pdf("a.pdf", 1)});
    EXPECT_EQ(source.shown(), "a.pdf: 1-a");
    EXPECT_EQ(source.statusLine.m_messages.size(), 2U) << "the status line tells why";
}

TEST_F(ImageViewFirIntakeTest, ARefusedConversionIsARefusedFile) {
    source.conversions.refuse("b.png", Kind::notLegal, "it is cut short");
    source.conversions.refuse("c.rtf", Kind::needsConverter, "the converter is missing");
    source.alerts.expect("Infomation", "b.png is not a legal file.");
    source.alerts.expect("Infomation", "c.rtf is not a legal file.");
    EXPECT_TRUE(source.drop(
        {source.file("a.png"), source.file("b.png"), source.file("c.rtf"), source.file("d.png")}));
    EXPECT_EQ(source.shown(), "a.png: a.png | d.png: d.png");
    EXPECT_EQ(source.statusLine.m_messages,
              (Names{"b.png was not taken in: it is cut short.",
                     "c.rtf was not taken in: the converter is missing."}));
}

TEST_F(ImageViewFirIntakeTest, AWebPageThatFailsShowsNoAlert) {
    source.conversions.refuse("b.html", Kind::notLegal, "it never finished loading");
    EXPECT_TRUE(source.drop({source.file("a.png"), source.file("b.html")}));
    EXPECT_EQ(source.shown(), "a.png: a.png");
    EXPECT_EQ(source.statusLine.m_messages.size(), 1U);
    source.open({source.file("c.webarchive")});
    EXPECT_EQ(source.statusLine.m_messages.size(), 2U) << "opened as a PDF, and silently none";
}

TEST_F(ImageViewFirIntakeTest, AFolderContributesItsEntriesEachAsAFile) {
    std::filesystem::create_directories(source.home / "p.pages/inner");
    source.pdf("p.pages/one.pdf", 2);
    source.pdf("p.pages/.two.pdf", 1);
    source.pdf("p.pages/inner/three.pdf", 4);
    source.alerts.expect("Infomation", "inner is not a legal file.");
    EXPECT_TRUE(source.drop({(source.home / "p.pages").string()}));
    ASSERT_EQ(browser.groups().size(), 2U);
    const bool oneFirst = browser.groups()[0].title == "one.pdf";
    EXPECT_EQ(source.shown(), oneFirst ? "one.pdf: 1-one 2-one | .two.pdf: 1-.two"
                                       : ".two.pdf: 1-.two | one.pdf: 1-one 2-one");
    EXPECT_EQ(pane.rangeStart(), 3) << "each file is a group of its own pages";
}

TEST_F(ImageViewFirIntakeTest, RecursivelyAFolderInAFolderIsGoneInto) {
    std::filesystem::create_directories(source.home / "outer/inner");
    source.pdf("outer/inner/deep.pdf", 1);
    ImportRun run;
    pane.addImagesWithPath((source.home / "outer").string(), true, run);
    EXPECT_EQ(pane.importedImages().size(), 1U);
    EXPECT_EQ(pane.pdfFileName(), Names{"deep.pdf"});
    EXPECT_EQ(pane.pdfFileNumber(), 1);
    pane.updateDatasource();
    EXPECT_EQ(source.shown(), "deep.pdf: 1-deep");
}

TEST_F(ImageViewFirIntakeTest, ConversionsTellWhatTheyDo) {
    source.drop({source.file("a.png")});
    EXPECT_EQ(source.longWork.m_texts, Names{"Converting a.png"});
}

TEST_F(ImageViewFirIntakeTest, CancellingAConversionEndsTheWholeList) {
    source.longWork.m_cancelFrom = 1; // the second
    EXPECT_TRUE(source.drop({source.file("a.png"), source.file("b.png"), source.file("c.png"),
                             source.pdf("d.pdf", 1)}));
    EXPECT_EQ(source.shown(), "a.png: a.png");
    EXPECT_EQ(source.conversions.calls(), (Names{"image2PDF a.png", "image2PDF b.png"}));
    EXPECT_EQ(source.statusLine.m_messages, Names{"Cancelled. 3 files were not read."});
}

TEST_F(ImageViewFirIntakeTest, ImportDocumentsOffersEveryTypeOfADropAndTakesItsWay) {
    source.filePanels.choose(OpenPanelChoice{
        {source.file("a.html"), source.file("b.doc"), source.file("c.xyz"), source.pdf("d.pdf", 1)},
        ""});
    source.alerts.expect("Infomation", "c.xyz is not a legal file.");
    pane.importDocumentsClicked();
    for (const char* type : {"pdf", "png", "html", "webarchive", "rtf", "txt", "doc", "docx"}) {
        EXPECT_NE(std::ranges::find(source.filePanels.m_panels.at(0).types, type),
                  source.filePanels.m_panels.at(0).types.end())
            << type;
    }
    EXPECT_EQ(source.conversions.calls(), (Names{"html2PDF a.html", "doc2PDF b.doc"}));
    EXPECT_EQ(source.shown(), "a.html: 1-a | b.doc: 1-b | d.pdf: 1-d");
}

TEST_F(ImageViewFirIntakeTest, ALockedFileIsOpenedWithItsPassword) {
    source.expectQuestion("private.pdf", AlertAnswer::defaultButton);
    source.typePassword("secret");
    const std::string path = source.encrypted("private.pdf", "secret");
    source.open({path});
    EXPECT_EQ(source.shown(), "private.pdf: 1-private 2-private");
    EXPECT_EQ(pane.pdfPasswordPath(), path);
    EXPECT_EQ(pane.pdfFilesName(), Names{path});
    EXPECT_EQ(source.passwordWindow.m_stops, 1);
    EXPECT_FALSE(source.passwordWindow.m_isShown);
    EXPECT_EQ(source.passwordText.m_value, "") << "the password is not left lying around";
}

TEST_F(ImageViewFirIntakeTest, AnswerCancelAndNothingMoreHappens) {
    source.expectQuestion("private.pdf", AlertAnswer::alternateButton);
    source.open({source.encrypted("private.pdf", "secret")});
    EXPECT_EQ(source.shown(), "");
    EXPECT_EQ(source.passwordWindow.m_runs, 0);
    EXPECT_TRUE(pane.pdfFilesName().empty());
}

TEST_F(ImageViewFirIntakeTest, AWrongPasswordIsReportedOnce) {
    source.expectQuestion("private.pdf", AlertAnswer::defaultButton);
    source.typePassword("guess");
    source.alerts.expect("Infomation", "Password entered is incorrect!");
    source.open({source.encrypted("private.pdf", "secret")});
    EXPECT_EQ(source.shown(), "");
    EXPECT_TRUE(pane.pdfFilesName().empty());
    EXPECT_EQ(source.passwordWindow.m_runs, 1);
}

TEST_F(ImageViewFirIntakeTest, AFileThatForbidsPrintingNeedsTheOwnersPassword) {
    const std::string path = source.encrypted("open.pdf", "", {"--print=none"});
    source.expectQuestion("open.pdf", AlertAnswer::defaultButton);
    source.typePassword("");
    source.alerts.expect("Infomation", "Password entered is incorrect!");
    source.open({path});
    EXPECT_EQ(source.shown(), "");
    source.expectQuestion("open.pdf", AlertAnswer::defaultButton);
    source.typePassword("owner");
    source.open({path});
    EXPECT_EQ(source.shown(), "open.pdf: 1-open 2-open");
}

TEST_F(ImageViewFirIntakeTest, TheUsersPasswordIsNotEnoughWhereCopyingIsForbidden) {
    source.expectQuestion("private.pdf", AlertAnswer::defaultButton);
    source.typePassword("secret");
    source.alerts.expect("Infomation", "Password entered is incorrect!");
    source.open({source.encrypted("private.pdf", "secret", {"--extract=n"})});
    EXPECT_EQ(source.shown(), "");
}

TEST_F(ImageViewFirIntakeTest, ThePasswordWindowCanBeLeftWithoutAPassword) {
    source.expectQuestion("private.pdf", AlertAnswer::defaultButton);
    source.passwordWindow.m_user = [this]() { pane.cancelPassword(source.passwordWindow); };
    source.open({source.encrypted("private.pdf", "secret")});
    EXPECT_EQ(source.shown(), "");
    EXPECT_EQ(source.passwordWindow.m_stops, 1);
}

TEST_F(ImageViewFirIntakeTest, OfTwoFilesThatWaitOnlyTheLaterOneIsRemembered) {
    source.expectQuestion("one.pdf", std::nullopt);
    source.expectQuestion("two.pdf", std::nullopt);
    const std::string two = source.encrypted("two.pdf", "secret");
    source.open({source.encrypted("one.pdf", "secret"), two});
    source.typePassword("secret");
    source.alerts.answerSheet(AlertAnswer::defaultButton);
    EXPECT_EQ(pane.pdfFilesName(), Names{two});
    source.alerts.answerSheet(AlertAnswer::alternateButton);
    EXPECT_EQ(source.shown(), "two.pdf: 1-two 2-two");
}

TEST_F(ImageViewFirIntakeTest, ALockedFileThatComesWhileAPasswordIsTypedWaits) {
    source.expectQuestion("one.pdf", AlertAnswer::defaultButton);
    const std::string one = source.encrypted("one.pdf", "first");
    const std::string two = source.encrypted("two.pdf", "second");
    source.passwordWindow.m_user = [this, &two]() {
        source.passwordText.m_value = "first";
        source.open({two}); // by another list
        EXPECT_EQ(source.passwordText.m_value, "first") << "what is typed stays";
        source.expectQuestion("two.pdf", AlertAnswer::alternateButton);
        pane.isEnterPassword(source.passwordWindow);
    };
    source.open({one});
    EXPECT_EQ(source.shown(), "one.pdf: 1-one 2-one");
    EXPECT_EQ(source.passwordWindow.m_runs, 1);
}

TEST_F(ImageViewFirIntakeTest, QuestionsOfADropComeWhenItIsOver) {
    source.alerts.expect("Infomation", "no.pdf is not a legal file.");
    source.expectQuestion("one.pdf", AlertAnswer::alternateButton);
    EXPECT_TRUE(source.drop({source.encrypted("one.pdf", "secret"), source.file("no.pdf")}));
}

TEST_F(ImageViewFirIntakeTest, AnsweredAtOnceEachFileIsAskedAbout) {
    source.expectQuestion("one.pdf", AlertAnswer::defaultButton);
    source.expectQuestion("two.pdf", AlertAnswer::defaultButton);
    source.typePassword("secret");
    source.open({source.encrypted("one.pdf", "secret"), source.encrypted("two.pdf", "secret")});
    EXPECT_EQ(source.shown(), "one.pdf: 1-one 2-one | two.pdf: 1-two 2-two");
}

/// The window's thread and real worker threads.
class WorkerIntakeTest : public testing::Test {
protected:
    tests::WindowLoop window;
    tests::WindowWork work{window};
};

TEST_F(WorkerIntakeTest, TwoListsAtOnceGiveOneGroupForEachFile) {
    OwnedThreads threads;
    tests::SourcePane source(window.queue, threads, work);
    Names first;
    Names second;
    for (int i = 0; i < 8; ++i) {
        first.push_back(source.pdf("a" + std::to_string(i) + ".pdf", 3));
        second.push_back(source.file("b" + std::to_string(i) + ".png"));
    }
    source.pane.openFilesLoad(first);
    source.pane.openFilesLoad(second);
    window.runUntil([&source]() { return source.pane.groupArray().size() == 16; });
    std::size_t next = 0;
    for (const ImageBrowserGroup& group : source.pane.groupArray()) {
        EXPECT_EQ(group.range.first, next);
        EXPECT_EQ(group.range.end - group.range.first, group.title.front() == 'a' ? 3U : 1U);
        for (std::size_t i = group.range.first; i < group.range.end; ++i) {
            EXPECT_EQ(source.pane.images().at(i)->filename(), group.title);
        }
        next = group.range.end;
    }
    window.queue.close();
    threads.finish();
}

TEST_F(WorkerIntakeTest, NamesakesOfTwoListsAreNotMistakenForEachOther) {
    OwnedThreads threads;
    tests::SourcePane source(window.queue, threads, work);
    const Namesakes photos(source);
    std::promise<void> firstStands;
    std::atomic<int> standing = 0;
    const auto givesTheSecondTime = [&standing]() {
        const auto patience = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
        while (standing == 1 && std::chrono::steady_clock::now() < patience) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    };
    source.conversions.m_after = [&firstStands, &standing, &givesTheSecondTime]() {
        if (++standing == 1) {
            firstStands.set_value();
            givesTheSecondTime();
        }
    };
    source.alerts.expect("Infomation", "photo.png already exists!");
    source.pane.openFilesLoad({photos.one});
    firstStands.get_future().wait();
    source.pane.openFilesLoad({photos.two});
    givesTheSecondTime(); // before the first is open
    givesTheSecondTime(); // before it stands in the pane, which this thread would see to
    EXPECT_EQ(standing, 1) << "the second waits for the first";
    window.runUntil(
        [&source]() { return source.alerts.isDone() && !source.pane.groupArray().empty(); });
    EXPECT_EQ(source.shown(), "photo.png: photo.png");
    window.queue.close();
    threads.finish();
}

TEST_F(WorkerIntakeTest, TheProgramCanEndWhileFilesComeIn) {
    OwnedThreads threads;
    tests::SourcePane source(window.queue, threads, work);
    Names files;
    for (int i = 0; i < 50; ++i) {
        files.push_back(source.file("b" + std::to_string(i) + ".png"));
    }
    source.pane.openFilesLoad(files);
    window.runUntil([&source]() { return !source.pane.groupArray().empty(); });
    window.queue.close();
    threads.finish();
    EXPECT_LT(source.conversions.calls().size(), 50U);
}

TEST_F(WorkerIntakeTest, TheWindowLivesWhileADropIsConverted) {
    OwnedThreads threads;
    tests::SourcePane source(window.queue, threads, work);
    bool painted = false;
    source.conversions.m_during = [this, &painted]() {
        EXPECT_FALSE(window.queue.isCurrent());
        window.queue.runAndWait([&painted]() { painted = true; });
    };
    EXPECT_TRUE(source.drop({source.file("a.png"), source.pdf("b.pdf", 2)}));
    EXPECT_TRUE(painted);
    EXPECT_EQ(source.shown(), "a.png: a.png | b.pdf: 1-b 2-b") << "the drop was waited for";
}

} // namespace
} // namespace quillorn
