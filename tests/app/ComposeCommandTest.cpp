#include "app/ComposeCommand.h"

#include "app/ExitStatus.h"
#include "tests/fakes/Environment.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <stop_token>
#include <string>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

/// Runs the command with something happening between the check of the inputs and the writing:
/// the question for the default output folder comes just then.
class ComposeCommandTest : public testing::Test {
protected:
    ComposeCommandTest() { fs::create_directory(folder / "out"); }

    void request(const std::string& group, const fs::path& file) {
        composing.groups.push_back(GroupRequest{group, {{file.string(), {}, {}, {}}}});
    }
    int run(const std::function<void()>& meanwhile) {
        composing.json = true;
        ComposeCommand command(composing, {{results, troubles, 0},
                                           [&]() {
                                               meanwhile();
                                               return (folder / "out").string();
                                           },
                                           stop.get_token(),
                                           []() { return 130; },
                                           false,
                                           {},
                                           [this](const fs::path& file, std::size_t pages) {
                                               damage(file);
                                               return verifyPDF(file, pages);
                                           }});
        const int status = command.run();
        report = nlohmann::json::parse(results.str());
        return status;
    }

    const tests::TemporaryFolder folder;
    const tests::EnvironmentVariable temporary{"TMPDIR", folder.path().string()};
    /// What happens to an output between its writing and its verification.
    std::function<void(const fs::path&)> damage = [](const fs::path&) {};
    std::stop_source stop;
    ComposeRequest composing;
    std::ostringstream results;
    std::ostringstream troubles;
    nlohmann::json report;
};

TEST_F(ComposeCommandTest, ASourceThatIsRewrittenMeanwhileIsNamedAndNothingIsWrittenFromIt) {
    constexpr std::size_t tooLargeToBeCopied = 2U << 20U;
    const fs::path file =
        tests::TestPDF("old", 2).padPages(tooLargeToBeCopied / 2).writeTo(folder / "source.pdf");
    request("A.pdf", file);
    request("B.pdf", tests::TestPDF("other", 1).writeTo(folder / "other.pdf"));
    const int status = run([&file]() {
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekp(100);
        stream << "overwritten in place";
    });
    EXPECT_EQ(status, exit_status::notWritten);
    EXPECT_THAT(troubles.str(), HasSubstr("A.pdf was not written.\n"));
    EXPECT_THAT(troubles.str(),
                HasSubstr(file.string() + ": the file was changed while it was open"));
    EXPECT_THAT(tests::namesIn(folder / "out"), ElementsAre("B.pdf"));
    EXPECT_THAT(std::string(report["failed"][0]["reason"]), HasSubstr("source.pdf"));
}

TEST_F(ComposeCommandTest, ASmallSourceThatIsRewrittenMeanwhileIsWrittenAsItWas) {
    const fs::path file = tests::TestPDF("old", 2).writeTo(folder / "source.pdf");
    request("A.pdf", file);
    EXPECT_EQ(run([&file]() {
                  std::ofstream stream(file, std::ios::binary | std::ios::trunc);
                  stream << tests::TestPDF("new", 1).bytes();
              }),
              exit_status::done);
    EXPECT_THAT(tests::pageTexts(folder / "out" / "A.pdf"),
                ElementsAre("Page 1 of old", "Page 2 of old"));
}

TEST_F(ComposeCommandTest, ASourceThatIsRemovedMeanwhileIsWrittenAllTheSame) {
    const fs::path file = tests::TestPDF("old", 2).writeTo(folder / "source.pdf");
    request("A.pdf", file);
    EXPECT_EQ(run([&file]() { fs::remove(file); }), exit_status::done);
    EXPECT_EQ(tests::pageTexts(folder / "out" / "A.pdf").size(), 2U);
}

TEST_F(ComposeCommandTest, AStopRequestBeforeTheFirstWriteLeavesNothing) {
    request("A.pdf", tests::TestPDF("a", 2).writeTo(folder / "a.pdf"));
    request("B.pdf", folder / "a.pdf");
    EXPECT_EQ(run([this]() { stop.request_stop(); }), 130);
    EXPECT_EQ(report["status"], 130);
    EXPECT_EQ(report["failed"].size(), 2U);
    EXPECT_EQ(report["failed"][1]["reason"], "interrupted");
    EXPECT_THAT(troubles.str(), HasSubstr("Interrupted. Of 2 files, 0 were written.\n"));
    EXPECT_THAT(tests::namesIn(folder / "out"), IsEmpty());
}

TEST_F(ComposeCommandTest, TheFolderForCopiesIsGoneAfterwards) {
    request("A.pdf", tests::TestPDF("a", 2).writeTo(folder / "a.pdf"));
    bool wasThere = false;
    EXPECT_EQ(run([&]() {
                  for (const std::string& name : folder.names()) {
                      wasThere = wasThere || name.starts_with("quillorn-folivane-");
                  }
              }),
              exit_status::done);
    EXPECT_TRUE(wasThere);
    EXPECT_THAT(folder.names(), ElementsAre("a.pdf", "out"));
}

TEST_F(ComposeCommandTest, AnOutputThatTurnsOutWrongIsToldAndFailsTheCommand) {
    const fs::path other = tests::TestPDF("other", 3).writeTo(folder / "other.pdf");
    request("A.pdf", tests::TestPDF("a", 2).writeTo(folder / "a.pdf"));
    request("B.pdf", folder / "a.pdf");
    composing.verify = true;
    damage = [&other](const fs::path& file) {
        if (file.filename() == "A.pdf") {
            fs::copy_file(other, file, fs::copy_options::overwrite_existing);
        }
    };
    EXPECT_EQ(run([]() {}), exit_status::notWritten);
    const std::string file = (folder / "out" / "A.pdf").string();
    EXPECT_EQ(troubles.str(), "A.pdf did not pass the verification.\n  " + file +
                                  ": it has 3 pages instead of 2\n");
    EXPECT_EQ(report["status"], exit_status::notWritten);
    ASSERT_EQ(report["failed"].size(), 1U);
    EXPECT_EQ(report["failed"][0]["file"], file);
    EXPECT_EQ(report["failed"][0]["reason"], "it has 3 pages instead of 2");
}

TEST_F(ComposeCommandTest, AnOutputThatCannotBeReadBackIsToldAndFailsTheCommand) {
    request("A.pdf", tests::TestPDF("a", 2).writeTo(folder / "a.pdf"));
    composing.verify = true;
    damage = [](const fs::path& file) { tests::writeFile(file, "no longer a PDF"); };
    EXPECT_EQ(run([]() {}), exit_status::notWritten);
    EXPECT_THAT(troubles.str(), HasSubstr("A.pdf did not pass the verification.\n"));
    EXPECT_EQ(report["failed"].size(), 1U);
}

TEST_F(ComposeCommandTest, AnOutputIsReadBackOnlyOnRequest) {
    request("A.pdf", tests::TestPDF("a", 2).writeTo(folder / "a.pdf"));
    bool wasRead = false;
    damage = [&wasRead](const fs::path&) { wasRead = true; };
    EXPECT_EQ(run([]() {}), exit_status::done);
    EXPECT_FALSE(wasRead);
}

TEST_F(ComposeCommandTest, WithoutAFolderForCopiesTheWorkIsDoneAllTheSame) {
    const tests::EnvironmentVariable nowhere("TMPDIR", (folder / "file").string());
    tests::writeFile(folder / "file", "no folder");
    request("A.pdf", tests::TestPDF("a", 2).writeTo(folder / "a.pdf"));
    EXPECT_EQ(run([]() {}), exit_status::done);
    EXPECT_EQ(tests::pageTexts(folder / "out" / "A.pdf").size(), 2U);
}

TEST_F(ComposeCommandTest, AnInterruptionBeforeTheWritingIsReportedForEveryGroup) {
    composing.outputFolder = (folder / "fresh").string();
    request("A.pdf", tests::TestPDF("a", 1).writeTo(folder / "a.pdf"));
    request("B.pdf", tests::TestPDF("b", 1).writeTo(folder / "b.pdf"));
    stop.request_stop();
    EXPECT_EQ(run([]() {}), 130);
    ASSERT_EQ(report["failed"].size(), 2U);
    EXPECT_EQ(report["failed"][0]["file"], (folder / "fresh" / "A.pdf").string());
    EXPECT_EQ(report["failed"][0]["reason"], "interrupted");
    EXPECT_FALSE(fs::exists(folder / "fresh"));
}

TEST_F(ComposeCommandTest, NoFolderIsMadeWhereEveryFileIsRefused) {
    composing.outputFolder = (folder / "fresh").string();
    composing.keepGoing = true;
    tests::writeFile(folder / "no.pdf", "no PDF");
    request("A.pdf", folder / "no.pdf");
    EXPECT_EQ(run([]() {}), exit_status::refused);
    EXPECT_EQ(report["failed"][0]["reason"], "all of its files were refused");
    EXPECT_FALSE(fs::exists(folder / "fresh"));
}

TEST_F(ComposeCommandTest, WhateverEndsItIsReported) {
    request("A.pdf", tests::TestPDF("a", 1).writeTo(folder / "a.pdf"));
    EXPECT_EQ(run([]() { throw std::runtime_error("the sky fell"); }), exit_status::notWritten);
    EXPECT_EQ(report["error"], "the sky fell");
    EXPECT_EQ(report["status"], exit_status::notWritten);
    EXPECT_THAT(troubles.str(), HasSubstr("The program cannot go on: the sky fell\n"));
}

} // namespace
} // namespace quillorn
