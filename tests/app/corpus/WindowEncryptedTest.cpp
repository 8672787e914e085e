#include "tests/app/window/TroubleFixture.h"
#include "tests/corpus/Corpus.h"
#include "tests/fakes/Program.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>

namespace quillorn::tests {
namespace {

using corpus::Corpus;
using corpus::Document;
using corpus::KnownPassword;
using testing::ElementsAre;
using testing::IsEmpty;

/// Whether a password lets somebody copy and print, as qpdf sees it; nothing where qpdf does not
/// open the file with it.
std::optional<bool> allowsAll(const Document& document, const std::string& password) {
    const ProgramResult result =
        Program("qpdf", {"--show-encryption", "--password=" + password, document.file.string()})
            .run();
    const auto says = [&result](const char* what) {
        return result.output.find(what) != std::string::npos;
    };
    if ((result.status != 0 && result.status != 3) || says("Incorrect password supplied")) {
        return std::nullopt;
    }
    return says("Supplied password is owner password") || says("File is not encrypted") ||
           (says("extract for any purpose: allowed") && says("print low resolution: allowed"));
}

class WindowEncryptedTest : public TroubleFixture, public testing::WithParamInterface<Document> {
protected:
    [[nodiscard]] static std::string name() { return GetParam().file.filename().string(); }
    [[nodiscard]] static std::string question() {
        return "Infomation !: " + name() + " has been encrypted,do you want to enter a password?";
    }
    [[nodiscard]] bool isTakenIn() {
        const Texts titles = sourceTitles();
        return std::ranges::find(titles, name()) != titles.end();
    }
    /// Whether it opens without a question.
    [[nodiscard]] static bool isFree() { return allowsAll(GetParam(), "") == true; }
};

TEST_P(WindowEncryptedTest, IsTakenInWithThePasswordThatAllowsIt) {
    std::vector<KnownPassword> passwords = GetParam().passwords;
    const std::string wrong = "certainly wrong";
    passwords.push_back({KnownPassword::Kind::user, wrong});
    for (const KnownPassword& password : passwords) {
        SCOPED_TRACE(password.text);
        stop();
        start();
        const std::size_t before = messages().size();
        answerEverything(password.text);
        offer({GetParam().file.string()});
        const Texts now(messages().begin() + static_cast<std::ptrdiff_t>(before), messages().end());
        if (isFree()) {
            EXPECT_THAT(now, IsEmpty());
            EXPECT_TRUE(isTakenIn());
            continue;
        }
        const auto expected = allowsAll(GetParam(), password.text);
        const bool isTheOwners = password.kind == KnownPassword::Kind::owner;
        if (password.text == wrong) {
            EXPECT_FALSE(isTakenIn());
        } else if (isTheOwners || expected) {
            EXPECT_EQ(isTakenIn(), isTheOwners || *expected);
        }
        if (isTakenIn()) {
            EXPECT_THAT(now, ElementsAre(question()));
            group(name(), "Unlocked.pdf");
            save();
            const auto& pages = *program().output().PDFArray().front();
            EXPECT_EQ(saved("Unlocked.pdf").size(), pages.pageCount()) << told();
        } else {
            EXPECT_THAT(now, ElementsAre(question(), "Infomation: Password entered is incorrect!"));
        }
    }
}

TEST_P(WindowEncryptedTest, IsLeftOutWithoutAPassword) {
    start();
    answerEverything();
    offer({pdf("first.pdf", 1), GetParam().file.string(), pdf("second.pdf", 1)});
    EXPECT_EQ(isTakenIn(), isFree());
    EXPECT_THAT(messages(),
                isFree() ? IsEmpty() : testing::Matcher<Texts>(ElementsAre(question())));
    EXPECT_EQ(sourceTitles().size(), isFree() ? 4U : 3U);
}

INSTANTIATE_TEST_SUITE_P(Corpus, WindowEncryptedTest,
                         testing::ValuesIn(Corpus::get().documents("pdf-encrypted")),
                         [](const auto& instance) { return testName(instance.param); });

} // namespace
} // namespace quillorn::tests
