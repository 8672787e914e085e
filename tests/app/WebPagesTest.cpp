#include "tests/app/ProgramFixture.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TestServer.h"
#include "tests/fakes/WebArchiveFile.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <system_error>
#include <vector>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// Processes whose command line mentions a folder, which every engine of this test does.
std::vector<pid_t> processesWith(const std::string& folder) {
    std::vector<pid_t> found;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename().string();
        pid_t process = 0;
        std::from_chars(name.data(), name.data() + name.size(), process);
        std::ifstream file(entry.path() / "cmdline");
        std::string words;
        std::getline(file, words);
        if (process > 0 && words.find(folder) != std::string::npos) {
            found.push_back(process);
        }
    }
    return found;
}

/// The parent of a process; 0 when it is gone.
pid_t parentOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/status");
    const std::string key = "PPid:";
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(key)) {
            return static_cast<pid_t>(std::stol(line.substr(key.size())));
        }
    }
    return 0;
}

/// Whether one of the processes below `ancestor` is in a user namespace of its own, as those of a
/// browser are in its sandbox.
bool hasSandboxBelow(pid_t ancestor) {
    return std::ranges::any_of(processesWith("--type="), [ancestor](pid_t process) {
        pid_t above = process;
        while (above > 1 && above != ancestor) {
            above = parentOf(above);
        }
        std::error_code error;
        const auto space = [&error](const std::string& name) {
            return fs::read_symlink("/proc/" + name + "/ns/user", error);
        };
        const bool isOwn = space(std::to_string(process)) != space(std::to_string(ancestor));
        return above == ancestor && isOwn && !error;
    });
}

class WebPagesTest : public ProgramFixture {
protected:
    WebPagesTest() {
        // The engine works without privileges, in the folder for temporary files.
        fs::permissions(folders.path(), fs::perms::all);
        fs::permissions(temporary, fs::perms::all);
        writeFile(work / "page.html", "<p>a page</p>");
    }
    [[nodiscard]] std::vector<std::string> composing(const std::vector<std::string>& files) const {
        std::vector<std::string> words = {"compose", "--output-folder", "out", "--group", "A.pdf"};
        words.insert(words.end(), files.begin(), files.end());
        return words;
    }
    [[nodiscard]] std::vector<pid_t> engines() const { return processesWith(temporary.string()); }
    /// The program for somebody without rights, installed where anybody may come.
    [[nodiscard]] Program forOrdinaryUser(const std::vector<std::string>& words) const {
        const fs::path installed = folders / "installed";
        if (fs::create_directory(installed)) {
            for (const char* const name :
                 {"quillorn-folivane", "quillorn-web.so", "quillorn-keeper"}) {
                fs::copy_file(fs::path(QUILLORN_PROGRAM).parent_path() / name, installed / name);
            }
        }
        for (const fs::path& folder : {work, home, temporary}) {
            giveToOrdinaryUser(folder);
        }
        return Program((installed / "quillorn-folivane").string(), words)
            .inFolder(work)
            .with("HOME", home.string())
            .with("TMPDIR", temporary.string())
            .asOrdinaryUser();
    }

    const fs::path out = work / "out";
};

TEST_F(WebPagesTest, ArePagesLikeOthers) {
    pdf("plain.pdf", 2);
    writeFile(
        work / "b.webarchive",
        binaryWebArchive({{"http://a.example/", "text/html", "<p>an archive</p>", ""}, {}, {}}));
    fs::create_directory(work / "other");
    writeFile(work / "other" / "page.html", "<p>another page</p>");
    const ProgramResult result =
        run(composing({"plain.pdf", "--pages", "1", "page.html", "b.webarchive", "--rotate", "90",
                       "other/page.html", "page.html"}));
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageTexts(out / "A.pdf"), ElementsAre("Page 1 of plain.pdf", "a page", "an archive",
                                                      "another page", "a page"));
    EXPECT_EQ(complaintsAbout(out / "A.pdf"), "");
    EXPECT_THAT(litter(), IsEmpty());
    EXPECT_THAT(engines(), IsEmpty());
}

TEST_F(WebPagesTest, ThatCannotBePrintedAreRefusedAndNothingIsWritten) {
    writeFile(work / "bad.webarchive", "no archive");
    const ProgramResult result = run(composing({"page.html", "bad.webarchive"}));
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, HasSubstr("bad.webarchive is not a legal file.\n"));
    EXPECT_THAT(result.errors, HasSubstr("it is no property list, which a web archive is"));
    EXPECT_FALSE(fs::exists(out / "A.pdf"));
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(WebPagesTest, AskNoOtherMachineUnlessThatIsWanted) {
    const TestServer server([](const std::string&) {
        return TestServer::page("text/css", "p::after{content:' with style'}");
    });
    writeFile(work / "page.html",
              "<link rel=stylesheet href='" + server.url() + "/a.css'><p>a page</p>");
    EXPECT_EQ(run(composing({"page.html"})).status, 0);
    EXPECT_THAT(pageTexts(out / "A.pdf"), ElementsAre("a page"));
    EXPECT_EQ(server.visitors(), 0);
    std::vector<std::string> words = composing({"page.html"});
    words.insert(words.begin() + 1, "--allow-remote");
    EXPECT_EQ(run(words).status, 0);
    EXPECT_THAT(pageTexts(out / "A.pdf"), ElementsAre("a page with style"));
}

TEST_F(WebPagesTest, MayAskOtherMachinesWhereThatIsPreferred) {
    const TestServer server([](const std::string&) {
        return TestServer::page("text/css", "p::after{content:' with style'}");
    });
    writeFile(work / "page.html",
              "<link rel=stylesheet href='" + server.url() + "/a.css'><p>a page</p>");
    const fs::path preferences = home / ".config/quillorn-folivane/quillorn-folivane.conf";
    fs::create_directories(preferences.parent_path());
    const auto convertedText = [&](const std::vector<std::string>& options) {
        std::vector<std::string> words = {"convert", "--output-folder", "out", "page.html"};
        words.insert(words.begin() + 1, options.begin(), options.end());
        EXPECT_EQ(run(words).status, 0);
        return pageTexts(out / "page.pdf");
    };
    for (const char* const value : {"false", "1", ""}) {
        writeFile(preferences, "[General]\nAllowRemote=" + std::string(value) + "\n");
        EXPECT_THAT(convertedText({}), ElementsAre("a page")) << value;
    }
    EXPECT_EQ(server.visitors(), 0);
    EXPECT_THAT(convertedText({"--allow-remote"}), ElementsAre("a page with style"));
    writeFile(preferences, "[General]\nAllowRemote=true\n");
    EXPECT_THAT(convertedText({}), ElementsAre("a page with style"));
    EXPECT_EQ(run(composing({"page.html"})).status, 0);
    EXPECT_THAT(pageTexts(out / "A.pdf"), ElementsAre("a page with style"));
}

TEST_F(WebPagesTest, NeedNothingWhenThereAreNone) {
    pdf("plain.pdf", 1);
    // Where neither module nor keeper nor engine could be found.
    const fs::path alone = folders / "alone";
    fs::create_directory(alone);
    fs::copy_file(QUILLORN_PROGRAM, alone / "program");
    const auto runAlone = [&](const std::vector<std::string>& files) {
        return Program((alone / "program").string(), composing(files))
            .inFolder(work)
            .with("TMPDIR", temporary.string())
            .run();
    };
    EXPECT_EQ(runAlone({"plain.pdf"}).status, 0);
    const ProgramResult refused = runAlone({"page.html"});
    EXPECT_EQ(refused.status, 3);
    EXPECT_THAT(refused.errors, HasSubstr("quillorn-web.so"));
}

TEST_F(WebPagesTest, AreConvertedForAnOrdinaryUser) {
    const ProgramResult result = forOrdinaryUser(composing({"page.html"})).run();
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageTexts(out / "A.pdf"), ElementsAre("a page"));
    EXPECT_THAT(litter(), IsEmpty());
}

class EndingWebPages : public WebPagesTest {
protected:
    /// Starts composing a page that keeps the engine busy for long, and waits until it does.
    [[nodiscard]] RunningProgram startedJob(bool asOrdinaryUser = false) const {
        writeFile(work / "endless.html", "<p>text</p><script src='" + server.url() +
                                             "/a.js'></script><script>for(;;){}</script>");
        std::vector<std::string> words = composing({"page.html", "endless.html"});
        words.insert(words.begin() + 1, "--allow-remote");
        RunningProgram running = (asOrdinaryUser ? forOrdinaryUser(words) : program(words)).start();
        EXPECT_TRUE(waitUntil([&]() { return server.visitors() > 0; }));
        return running;
    }

    const TestServer server{
        [](const std::string&) { return TestServer::page("text/javascript", ""); }};
};

TEST_F(EndingWebPages, ASignalEndsTheConversionAndLeavesNothing) {
    RunningProgram job = startedJob();
    EXPECT_THAT(engines(), Not(IsEmpty()));
    job.signal(SIGINT);
    EXPECT_EQ(job.wait().status, 128 + SIGINT);
    EXPECT_THAT(engines(), IsEmpty());
    EXPECT_THAT(litter(), IsEmpty());
    EXPECT_FALSE(fs::exists(out));
}

TEST_F(EndingWebPages, NoEngineSurvivesAKilledProgramAndTheNextRunCleansUp) {
    RunningProgram job = startedJob();
    EXPECT_THAT(engines(), Not(IsEmpty()));
    job.signal(SIGKILL);
    EXPECT_EQ(job.wait().status, -SIGKILL);
    EXPECT_TRUE(waitUntil([&]() { return engines().empty(); }));
    EXPECT_FALSE(fs::exists(out));
    EXPECT_THAT(litter(), Not(IsEmpty()));
    EXPECT_EQ(run(composing({"page.html"})).status, 0);
    EXPECT_THAT(pageTexts(out / "A.pdf"), ElementsAre("a page"));
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(EndingWebPages, NoEngineOfAnOrdinaryUserSurvivesEither) {
    RunningProgram job = startedJob(true);
    const std::vector<pid_t> running = engines();
    EXPECT_THAT(running, Not(IsEmpty()));
    if (Program("unshare", {"--user", "true"}).run().status == 0) {
        // Where the system grants namespaces, the browser's own sandbox is in force.
        EXPECT_TRUE(std::ranges::any_of(running, hasSandboxBelow));
    }
    job.signal(SIGKILL);
    EXPECT_EQ(job.wait().status, -SIGKILL);
    EXPECT_TRUE(waitUntil([&]() { return engines().empty(); }));
    EXPECT_THAT(litter(), Not(IsEmpty()));
    EXPECT_EQ(forOrdinaryUser(composing({"page.html"})).run().status, 0);
    EXPECT_THAT(pageTexts(out / "A.pdf"), ElementsAre("a page"));
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(EndingWebPages, ASecondSignalEndsEverythingAtOnce) {
    RunningProgram job = startedJob();
    job.signal(SIGTERM);
    job.signal(SIGTERM);
    EXPECT_EQ(job.wait().status, 128 + SIGTERM);
    EXPECT_TRUE(waitUntil([&]() { return engines().empty(); }));
}

TEST_F(EndingWebPages, AKilledEngineFailsItsPageOnly) {
    RunningProgram job = startedJob();
    for (const pid_t engine : engines()) {
        ::kill(engine, SIGKILL);
    }
    const ProgramResult result = job.wait();
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, HasSubstr("endless.html is not a legal file."));
    EXPECT_EQ(run(composing({"page.html"})).status, 0);
    EXPECT_THAT(litter(), IsEmpty());
}

} // namespace
} // namespace quillorn::tests
