#include "tests/app/window/TroubleFixture.h"
#include "tests/corpus/Corpus.h"
#include "tests/fakes/PDFContents.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using corpus::Corpus;
using corpus::Document;
using testing::HasSubstr;

/// A damaged file between two good ones.
class WindowDamagedTest : public TroubleFixture, public testing::WithParamInterface<Document> {
protected:
    [[nodiscard]] static std::string name() { return GetParam().file.filename().string(); }
    [[nodiscard]] bool isTakenIn() {
        const Texts titles = sourceTitles();
        return std::ranges::find(titles, name()) != titles.end();
    }
};

TEST_P(WindowDamagedTest, IsTakenInOrRefusedAndHarmsNoOther) {
    const std::string before = readFile(GetParam().file);
    start();
    answerEverything();
    offer({pdf("first.pdf", 3), GetParam().file.string(), pdf("second.pdf", 2)});
    if (isTakenIn()) {
        EXPECT_THAT(messages(), testing::IsEmpty());
        group(name(), "Damaged.pdf");
    } else {
        ASSERT_EQ(messages().size(), 1U);
        EXPECT_THAT(messages().front(),
                    testing::AnyOf("Infomation: " + name() + " is not a legal file.",
                                   "Infomation !: " + name() +
                                       " has been encrypted,do you want to enter a password?"));
        EXPECT_THAT(told(), HasSubstr(name()));
    }
    group("first.pdf", "First.pdf");
    group("second.pdf", "Second.pdf");
    program().source().expandAllGroups();
    save();
    EXPECT_EQ(saved("First.pdf"), pagesNamed("first.pdf", 3));
    EXPECT_EQ(saved("Second.pdf"), pagesNamed("second.pdf", 2));
    const bool isWritten = std::filesystem::exists(outputFolder / "Damaged.pdf");
    if (isTakenIn()) {
        EXPECT_TRUE(isWritten || told().find("Damaged.pdf was not written: ") != std::string::npos)
            << told();
    }
    if (isWritten) {
        const std::size_t pages = program().output().PDFArray().front()->pageCount();
        EXPECT_EQ(pageRotations(outputFolder / "Damaged.pdf").size(),
                  std::max(pages, std::size_t{1}));
    }
    EXPECT_EQ(readFile(GetParam().file), before);
    EXPECT_TRUE(window().close());
}

INSTANTIATE_TEST_SUITE_P(Corpus, WindowDamagedTest,
                         testing::ValuesIn(Corpus::get().documents("pdf-damaged")),
                         [](const auto& instance) { return testName(instance.param); });

} // namespace
} // namespace quillorn::tests
