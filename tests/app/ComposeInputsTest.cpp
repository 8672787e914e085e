#include "app/ComposeInputs.h"

#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
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

    /// Takes web pages too, through the converter that this opens.
    [[nodiscard]] ComposeInputs
    withWebPages(std::function<FileResult<std::unique_ptr<HTMLConverter>>()> open) const {
        return ComposeInputs(
            PDFIntake(), FileConversions::Tools{ImageReader({}), folder.path(), std::move(open)});
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

TEST_F(ComposeInputsTest, WithoutConversionsOnlyPDFsAreTaken) {
    for (const char* const name : {"a.jpg", "a.html", "a.txt", "a.doc"}) {
        tests::writeFile(folder / name, "content");
        const ComposePlan made = plan({{"A.pdf", {file((folder / name).string())}}});
        ASSERT_EQ(made.refused.size(), 1U);
        EXPECT_EQ(made.refused[0].kind, ImportRefusal::Kind::needsConverter);
        EXPECT_NE(made.refused[0].reason, "");
    }
}

/// Answers every web page with the same PDF, or refuses it.
class ScriptedConverter final : public HTMLConverter {
public:
    ScriptedConverter(std::string pdf, std::vector<std::string>& asked)
        : m_pdf(std::move(pdf)), m_asked(asked) {}
    ImportResult<std::string> html2PDF(const std::string& path,
                                       const std::stop_token& /*stop*/) override {
        m_asked.push_back(path);
        if (m_pdf.empty()) {
            return tl::unexpected(
                ImportRefusal::make(ImportRefusal::Kind::notLegal, path, "as the test says"));
        }
        return m_pdf;
    }

private:
    std::string m_pdf;
    std::vector<std::string>& m_asked;
};

TEST_F(ComposeInputsTest, WebPagesBecomePagesByTheConverterWhichIsOpenedOnce) {
    std::vector<std::string> asked;
    int opened = 0;
    ComposeInputs converting = withWebPages([&]() -> FileResult<std::unique_ptr<HTMLConverter>> {
        ++opened;
        return std::make_unique<ScriptedConverter>(pdf("made.pdf", 2), asked);
    });
    std::vector<FileRequest> files = {file(pdf("a.pdf", 1))};
    for (const char* const name : {"a.html", "b.HTM", "c.webarchive", "a.html"}) {
        tests::writeFile(folder / name, "content");
        files.push_back(file((folder / name).string()));
    }
    ComposeRequest request;
    request.groups = {{"A.pdf", {files[0]}}};
    static_cast<void>(converting.plan(request, {}));
    EXPECT_EQ(opened, 0);
    request.groups = {{"A.pdf", files}};
    const ComposePlan made = converting.plan(request, {});
    EXPECT_TRUE(made.refused.empty());
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(asked, (std::vector<std::string>{files[1].path, files[2].path, files[3].path}));
    EXPECT_EQ(made.groups.at(0).document->pageCount(), 9U);
}

TEST_F(ComposeInputsTest, AWebPageThatCannotBeConvertedIsRefusedByItsOwnName) {
    std::vector<std::string> asked;
    ComposeInputs converting = withWebPages([&]() -> FileResult<std::unique_ptr<HTMLConverter>> {
        return std::make_unique<ScriptedConverter>("", asked);
    });
    ComposeInputs missing = withWebPages([]() -> FileResult<std::unique_ptr<HTMLConverter>> {
        return tl::unexpected(FileError{"module.so", "cannot be opened", 0});
    });
    tests::writeFile(folder / "a.html", "content");
    ComposeRequest request;
    request.groups = {{"A.pdf", {file((folder / "a.html").string())}}};
    const ComposePlan refused = converting.plan(request, {});
    ASSERT_EQ(refused.refused.size(), 1U);
    EXPECT_EQ(refused.refused[0].message, "a.html is not a legal file.");
    EXPECT_EQ(refused.refused[0].reason, "as the test says");
    const ComposePlan unopened = missing.plan(request, {});
    ASSERT_EQ(unopened.refused.size(), 1U);
    EXPECT_EQ(unopened.refused[0].kind, ImportRefusal::Kind::needsConverter);
    EXPECT_EQ(unopened.refused[0].reason, "module.so: cannot be opened");
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
