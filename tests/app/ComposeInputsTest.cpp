#include "app/ComposeInputs.h"

#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <gtest/gtest.h>
#include <set>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

class ComposeInputsTest : public testing::Test {
protected:
    [[nodiscard]] std::string pdf(const std::string& name, std::size_t pages) const {
        return tests::TestPDF(name, pages).writeTo(folder / name).string();
    }
    [[nodiscard]] static FileRequest file(const std::string& path) { return {path, {}, {}, {}}; }
    ComposePlan plan(std::vector<GroupRequest> groups, const std::stop_token& stop = {}) {
        ComposeRequest request;
        request.groups = std::move(groups);
        return inputs.plan(request, stop);
    }

    const tests::TemporaryFolder folder;
    ComposeInputs inputs{PDFIntake()};
};

TEST_F(ComposeInputsTest, AFileNamedSeveralTimesIsOpenedOnce) {
    const std::string path = pdf("a.pdf", 3);
    const ComposePlan made = plan({{"A.pdf", {file(path), file(path)}}, {"B.pdf", {file(path)}}});
    std::set<const PDFSource*> sources;
    for (const OutputGroup& group : made.groups) {
        for (const PDFPageReference& page : group.document->pageReferences()) {
            sources.insert(page.source.get());
        }
    }
    EXPECT_EQ(sources.size(), 1U);
    EXPECT_EQ(made.groups.at(0).document->pageCount(), 6U);
    EXPECT_EQ(made.groups.at(1).document->pageCount(), 3U);
}

TEST_F(ComposeInputsTest, PagesAreTakenAsRangeAndRotationSay) {
    FileRequest request = file(pdf("a.pdf", 5));
    request.pages = "4-2,5";
    request.rotation = -90;
    const ComposePlan made = plan({{"A.pdf", {request}}});
    const auto pages = made.groups.at(0).document->pageReferences();
    ASSERT_EQ(pages.size(), 4U);
    const std::vector<std::size_t> expected = {3, 2, 1, 4};
    for (std::size_t i = 0; i < pages.size(); ++i) {
        EXPECT_EQ(pages[i].index, expected[i]);
        EXPECT_EQ(pages[i].addedRotation, -90);
    }
}

TEST_F(ComposeInputsTest, ARefusedFileIsNotedOnceHoweverOftenItIsNamed) {
    const std::string gone = (folder / "gone.pdf").string();
    const ComposePlan made =
        plan({{"A.pdf", {file(gone), file(pdf("a.pdf", 1)), file(gone)}}, {"B.pdf", {file(gone)}}});
    ASSERT_EQ(made.refused.size(), 1U);
    EXPECT_EQ(made.refused[0].path, gone);
    EXPECT_TRUE(made.hasInputs.at(0));
    EXPECT_FALSE(made.hasInputs.at(1));
}

TEST_F(ComposeInputsTest, TheSameFileIsTriedWithEachPasswordGivenForIt) {
    const std::string path =
        tests::encryptPDF(pdf("plain.pdf", 2), folder / "locked.pdf", {"user", "owner", {}})
            .string();
    FileRequest right = file(path);
    right.password.text = "user";
    FileRequest wrong = file(path);
    wrong.password.text = "wrong";
    const ComposePlan made = plan({{"A.pdf", {file(path), wrong, right}}});
    ASSERT_EQ(made.refused.size(), 2U);
    EXPECT_EQ(made.refused[0].message, "locked.pdf is encrypted.");
    EXPECT_EQ(made.refused[1].message, "Password entered is incorrect!");
    EXPECT_EQ(made.groups.at(0).document->pageCount(), 2U);
}

TEST_F(ComposeInputsTest, FilesThatNeedAConverterAreRefusedWithTheReason) {
    for (const char* const name : {"a.html", "a.txt", "a.doc"}) {
        tests::writeFile(folder / name, "content");
        const ComposePlan made = plan({{"A.pdf", {file((folder / name).string())}}});
        ASSERT_EQ(made.refused.size(), 1U) << name;
        EXPECT_EQ(made.refused[0].kind, ImportRefusal::Kind::needsConverter) << name;
        EXPECT_NE(made.refused[0].reason.find("by this version yet"), std::string::npos) << name;
    }
}

TEST_F(ComposeInputsTest, WithoutConversionsImagesAreRefusedWithTheReason) {
    tests::writeFile(folder / "a.jpg", "content");
    const ComposePlan made = plan({{"A.pdf", {file((folder / "a.jpg").string())}}});
    ASSERT_EQ(made.refused.size(), 1U);
    EXPECT_EQ(made.refused[0].kind, ImportRefusal::Kind::needsConverter);
    EXPECT_NE(made.refused[0].reason, "");
}

TEST_F(ComposeInputsTest, AMissingFileIsMissingWhateverItsType) {
    const ComposePlan made = plan({{"A.pdf", {file((folder / "gone.html").string())}}});
    ASSERT_EQ(made.refused.size(), 1U);
    EXPECT_EQ(made.refused[0].reason, "No such file or directory");
}

TEST_F(ComposeInputsTest, AFileWithoutARouteIsTriedAsAPdf) {
    const ComposePlan made = plan({{"A.pdf", {file(pdf("scan-0001", 2))}}});
    EXPECT_TRUE(made.refused.empty());
    EXPECT_EQ(made.groups.at(0).document->pageCount(), 2U);
}

TEST_F(ComposeInputsTest, AStopRequestEndsTheCheckingEarly) {
    std::stop_source stop;
    stop.request_stop();
    const ComposePlan made =
        plan({{"A.pdf", {file((folder / "gone.pdf").string())}}}, stop.get_token());
    EXPECT_TRUE(made.groups.empty());
    EXPECT_TRUE(made.refused.empty());
}

} // namespace
} // namespace quillorn
