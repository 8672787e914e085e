#include "app/ConvertCommand.h"

#include "app/ExitStatus.h"
#include "tests/fakes/Environment.h"
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
using testing::HasSubstr;
using testing::IsEmpty;

/// Runs the command with something happening between the look at a PDF and its copy: the question
/// for the program's own folder comes just then.
class ConvertCommandTest : public testing::Test {
protected:
    ConvertCommandTest() {
        converting.json = true;
        fs::create_directory(folder / "out");
    }

    fs::path pdf(const std::string& name) {
        fs::path file = tests::TestPDF(name, 2).padPages(100'000).writeTo(folder / name);
        converting.files.push_back(file.string());
        return file;
    }
    int run(const std::function<FileResult<std::string>()>& settleFolder) {
        ConvertCommand command(
            converting,
            {{results, troubles, 0}, settleFolder, stop.get_token(), []() { return 130; }});
        const int status = command.run();
        report = nlohmann::json::parse(results.str());
        EXPECT_EQ(report["status"], status);
        return status;
    }
    int runWhile(const std::function<void()>& meanwhile) {
        return run([&]() {
            meanwhile();
            return (folder / "out").string();
        });
    }

    const tests::TemporaryFolder folder;
    const tests::EnvironmentVariable temporary{"TMPDIR", folder.path().string()};
    std::stop_source stop;
    ConvertRequest converting;
    std::ostringstream results;
    std::ostringstream troubles;
    nlohmann::json report;
};

TEST_F(ConvertCommandTest, APdfThatIsRewrittenMeanwhileIsRefused) {
    const fs::path file = pdf("in.pdf");
    const int status = runWhile([&file]() {
        std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
        stream.seekp(100);
        stream << "overwritten in place";
    });
    EXPECT_EQ(status, exit_status::refused);
    EXPECT_THAT(tests::namesIn(folder / "out"), IsEmpty());
    EXPECT_EQ(report["refused"][0]["file"], file.string());
    EXPECT_EQ(report["refused"][0]["message"], "in.pdf is not a legal file.");
    EXPECT_EQ(report["refused"][0]["reason"], "the file was changed while it was open");
}

TEST_F(ConvertCommandTest, APdfThatIsCutShortMeanwhileIsRefused) {
    const fs::path file = pdf("in.pdf");
    const int status = runWhile([&file]() { fs::resize_file(file, 1000); });
    EXPECT_EQ(status, exit_status::refused);
    EXPECT_THAT(tests::namesIn(folder / "out"), IsEmpty());
}

TEST_F(ConvertCommandTest, APdfThatIsReplacedMeanwhileIsCopiedAsItWas) {
    const fs::path file = pdf("in.pdf");
    const std::string before = tests::readFile(file);
    const int status = runWhile([this, &file]() {
        tests::writeFile(folder / "new", "something else");
        fs::rename(folder / "new", file);
    });
    EXPECT_EQ(status, exit_status::done);
    EXPECT_EQ(tests::readFile(folder / "out" / "in.pdf"), before);
}

TEST_F(ConvertCommandTest, NoFolderIsMadeWhereNothingIsWritten) {
    converting.outputFolder = (folder / "fresh" / "deep").string();
    tests::writeFile(folder / "no.pdf", "no PDF");
    converting.files = {(folder / "no.pdf").string()};
    EXPECT_EQ(run([]() -> FileResult<std::string> { throw std::logic_error("not asked"); }),
              exit_status::refused);
    EXPECT_FALSE(fs::exists(folder / "fresh"));
}

TEST_F(ConvertCommandTest, AFolderThatCannotBeMadeIsNamed) {
    tests::writeFile(folder / "file", "no folder");
    converting.outputFolder = (folder / "file" / "deep").string();
    pdf("in.pdf");
    pdf("other.pdf");
    EXPECT_EQ(run([]() -> FileResult<std::string> { throw std::logic_error("not asked"); }),
              exit_status::notWritten);
    EXPECT_THAT(troubles.str(), HasSubstr("in.pdf was not written.\n"));
    EXPECT_THAT(troubles.str(), HasSubstr("the output folder cannot be made: Not a directory"));
    EXPECT_EQ(report["failed"].size(), 1U);
    EXPECT_EQ(report["failed"][0]["file"], (folder / "file" / "deep" / "in.pdf").string());
}

TEST_F(ConvertCommandTest, AFolderOfItsOwnThatCannotBeSettledIsReported) {
    pdf("in.pdf");
    EXPECT_EQ(run([]() -> FileResult<std::string> {
                  return tl::unexpected(FileError{"settings", "cannot be read", 0});
              }),
              exit_status::notWritten);
    EXPECT_EQ(report["failed"][0]["file"], "in.pdf");
    EXPECT_THAT(std::string(report["failed"][0]["reason"]), HasSubstr("cannot be read"));
}

TEST_F(ConvertCommandTest, WhateverEndsItIsReported) {
    pdf("in.pdf");
    EXPECT_EQ(runWhile([]() { throw std::runtime_error("the sky fell"); }),
              exit_status::notWritten);
    EXPECT_EQ(report["error"], "the sky fell");
    EXPECT_THAT(troubles.str(), HasSubstr("The program cannot go on: the sky fell\n"));
}

TEST_F(ConvertCommandTest, AnInterruptedOneTellsWhatItLeft) {
    pdf("in.pdf");
    pdf("other.pdf");
    EXPECT_EQ(runWhile([this]() { stop.request_stop(); }), 130);
    EXPECT_THAT(tests::namesIn(folder / "out"), IsEmpty());
    ASSERT_EQ(report["failed"].size(), 2U);
    EXPECT_EQ(report["failed"][1]["file"], (folder / "out" / "other.pdf").string());
    EXPECT_EQ(report["failed"][1]["reason"], "interrupted");
}

} // namespace
} // namespace quillorn
