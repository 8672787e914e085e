#include "tests/app/ProgramFixture.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/PDFContents.h"

#include <charconv>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Whether one of the processes of an engine or its keeper works in a folder.
bool isAnyoneIn(const fs::path& folder) {
    for (const auto& entry : fs::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "cmdline");
        std::string words;
        std::getline(file, words);
        if (words.find(folder.string()) != std::string::npos) {
            return true;
        }
    }
    return false;
}

class ConvertTest : public ProgramFixture {
protected:
    ConvertTest() {
        // The engines work without privileges, in the folder for temporary files.
        fs::permissions(folders.path(), fs::perms::all);
        fs::permissions(temporary, fs::perms::all);
        writeFile(work / "letter.rtf", R"({\rtf1\ansi rich text})");
        writeFile(work / "notes.txt", "plain text");
    }
    [[nodiscard]] static std::vector<std::string>
    converting(const std::vector<std::string>& words) {
        std::vector<std::string> all = {"convert", "--output-folder", "out"};
        all.insert(all.end(), words.begin(), words.end());
        return all;
    }

    const fs::path out = work / "out";
};

TEST_F(ConvertTest, EachFileBecomesAPdfOfItsName) {
    pdf("plain.pdf", 1);
    writeFile(work / "page.html", "<p>a page</p>");
    const ProgramResult result =
        run(converting({"letter.rtf", "notes.txt", "page.html", "plain.pdf"}));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(namesIn(out), ElementsAre("letter.pdf", "notes.pdf", "page.pdf", "plain.pdf"));
    EXPECT_THAT(pageTexts(out / "letter.pdf"), ElementsAre("rich text"));
    EXPECT_THAT(pageTexts(out / "notes.pdf"), ElementsAre("plain text"));
    EXPECT_THAT(pageTexts(out / "page.pdf"), ElementsAre("a page"));
    EXPECT_EQ(readFile(out / "plain.pdf"), readFile(work / "plain.pdf"));
    EXPECT_THAT(result.output, HasSubstr("out/notes.pdf, "));
    EXPECT_THAT(litter(), IsEmpty());
    EXPECT_FALSE(isAnyoneIn(temporary));
}

TEST_F(ConvertTest, ARefusedFileEndsItUnlessItIsToGoOn) {
    writeFile(work / "bad.rtf", "");
    ProgramResult result = run(converting({"notes.txt", "bad.rtf", "letter.rtf"}));
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, HasSubstr("bad.rtf is not a legal file.\n"));
    EXPECT_THAT(namesIn(out), ElementsAre("notes.pdf"));
    result = run(converting({"--keep-going", "bad.rtf", "letter.rtf", "gone.txt"}));
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(namesIn(out), ElementsAre("letter.pdf", "notes.pdf"));
    EXPECT_THAT(result.errors, HasSubstr("gone.txt is not a legal file.\n"));
}

TEST_F(ConvertTest, WhatCannotBeWrittenIsToldAndTheOthersAreWritten) {
    fs::create_directories(out / "notes.pdf");
    const ProgramResult result = run(converting({"notes.txt", "letter.rtf"}));
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.errors, HasSubstr("notes.pdf was not written."));
    EXPECT_THAT(pageTexts(out / "letter.pdf"), ElementsAre("rich text"));
}

TEST_F(ConvertTest, ReportsAsJSON) {
    writeFile(work / "bad.rtf", "");
    const ProgramResult result =
        run(converting({"--json", "--keep-going", "notes.txt", "bad.rtf"}));
    const auto report = nlohmann::json::parse(result.output);
    EXPECT_EQ(report["status"], 3);
    EXPECT_EQ(report["outputs"].size(), 1U);
    EXPECT_EQ(report["outputs"][0]["file"], (out / "notes.pdf").string());
    EXPECT_EQ(report["outputs"][0]["source"], (work / "notes.txt").string());
    EXPECT_EQ(report["outputs"][0]["bytes"], fs::file_size(out / "notes.pdf"));
    EXPECT_EQ(report["refused"][0]["reason"], "it is empty");
    EXPECT_EQ(run(converting({"--quiet", "notes.txt"})).output, "");
}

TEST_F(ConvertTest, ACommandLineWithoutSenseWritesNothing) {
    EXPECT_EQ(run({"convert"}).status, 2);
    const ProgramResult result = run(converting({"notes.txt", "other/notes.rtf"}));
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.errors, HasSubstr("notes.pdf already exists.\n"));
    EXPECT_THAT(result.errors, HasSubstr("More than one file would become notes.pdf."));
    const auto report =
        reportIn(run(converting({"--json", "notes.txt", "--keep-going", "other/notes.rtf"})));
    EXPECT_EQ(report["error"], "notes.pdf already exists.");
    EXPECT_EQ(report["status"], 2);
    EXPECT_FALSE(report.contains("notices")) << "that is how compose reports";
    EXPECT_EQ(run(converting({"--group", "notes.txt"})).status, 2);
    EXPECT_FALSE(fs::exists(out));
    EXPECT_THAT(run({"convert", "--help"}).output, HasSubstr("letter.docx becomes letter.pdf"));
}

TEST_F(ConvertTest, ComposingTakesTextDocumentsToo) {
    const ProgramResult result = run({"compose", "--output-folder", "out", "--group", "A.pdf",
                                      "letter.rtf", "notes.txt", "letter.rtf"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageTexts(out / "A.pdf"), ElementsAre("rich text", "plain text", "rich text"));
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(ConvertTest, NoEngineSurvivesAKilledProgramAndTheNextRunCleansUp) {
    std::vector<std::string> words;
    for (int i = 0; i < 60; ++i) {
        const std::string name = "letter" + std::to_string(i) + ".rtf";
        fs::copy_file(work / "letter.rtf", work / name);
        words.push_back(name);
    }
    RunningProgram job = program(converting(words)).start();
    ASSERT_TRUE(waitUntil([&]() { return fs::exists(out / "letter3.pdf"); }));
    EXPECT_TRUE(isAnyoneIn(temporary));
    job.signal(SIGKILL);
    EXPECT_EQ(job.wait().status, -SIGKILL);
    EXPECT_TRUE(waitUntil([&]() { return !isAnyoneIn(temporary); }));
    EXPECT_THAT(litter(), Not(IsEmpty()));
    for (const std::string& name : namesIn(out)) {
        EXPECT_EQ(complaintsAbout(out / name), "") << name;
    }
    EXPECT_EQ(run(converting({"notes.txt"})).status, 0);
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(ConvertTest, ASignalEndsItBetweenWholeFiles) {
    std::vector<std::string> words;
    for (int i = 0; i < 60; ++i) {
        const std::string name = "letter" + std::to_string(i) + ".rtf";
        fs::copy_file(work / "letter.rtf", work / name);
        words.push_back(name);
    }
    RunningProgram job = program(converting(words)).start();
    ASSERT_TRUE(waitUntil([&]() { return fs::exists(out / "letter1.pdf"); }));
    job.signal(SIGINT);
    const ProgramResult result = job.wait();
    EXPECT_EQ(result.status, 128 + SIGINT);
    EXPECT_THAT(result.errors, HasSubstr("Interrupted. Of 60 files"));
    for (const std::string& name : namesIn(out)) {
        EXPECT_EQ(complaintsAbout(out / name), "") << name;
    }
    EXPECT_FALSE(isAnyoneIn(temporary));
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(ConvertTest, AnOrdinaryUserMayConvert) {
    const fs::path installed = folders / "installed";
    fs::create_directory(installed);
    for (const char* const name :
         {"quillorn-folivane", "quillorn-keeper", "quillorn-settings.so", "quillorn-office-worker",
          "quillorn-office-part.so", "quillorn-text-worker"}) {
        fs::copy_file(fs::path(QUILLORN_PROGRAM).parent_path() / name, installed / name);
    }
    for (const fs::path& folder : {work, home, temporary}) {
        giveToOrdinaryUser(folder);
    }
    const ProgramResult result =
        Program((installed / "quillorn-folivane").string(), converting({"letter.rtf", "notes.txt"}))
            .inFolder(work)
            .with("HOME", home.string())
            .with("TMPDIR", temporary.string())
            .asOrdinaryUser()
            .run();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageTexts(out / "letter.pdf"), ElementsAre("rich text"));
    EXPECT_THAT(litter(), IsEmpty());
}

} // namespace
} // namespace quillorn::tests
