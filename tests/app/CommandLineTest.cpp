#include "app/CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace quillorn {
namespace {

using Words = std::vector<std::string>;

/// The compose request that the words after "compose" make; fails the test if they make none.
ComposeRequest composeOf(Words words) {
    words.insert(words.begin(), "compose");
    auto command = parseCommandLine(words);
    if (!command) {
        ADD_FAILURE() << command.error().message;
        return {};
    }
    return std::get<ComposeRequest>(std::move(*command));
}

InfoRequest infoOf(Words words) {
    words.insert(words.begin(), "info");
    auto command = parseCommandLine(words);
    if (!command) {
        ADD_FAILURE() << command.error().message;
        return {};
    }
    return std::get<InfoRequest>(std::move(*command));
}

struct Mistake {
    Words words;
    std::string message;
};

void PrintTo(const Mistake& mistake, std::ostream* stream) {
    for (const std::string& word : mistake.words) {
        *stream << '[' << word << "] ";
    }
}

class CommandLineMistake : public testing::TestWithParam<Mistake> {};

TEST_P(CommandLineMistake, IsNamed) {
    const auto command = parseCommandLine(GetParam().words);
    ASSERT_FALSE(command);
    EXPECT_EQ(command.error().message, GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(Program, CommandLineMistake,
                         testing::Values(Mistake{{"composer"}, "There is no command composer."},
                                         Mistake{{"--verbose"}, "There is no option --verbose."},
                                         Mistake{{""}, "There is no command ."}));

INSTANTIATE_TEST_SUITE_P(
    Compose, CommandLineMistake,
    testing::Values(
        Mistake{{"compose"}, "There is no --group, so there is nothing to write."},
        Mistake{{"compose", "--json"}, "There is no --group, so there is nothing to write."},
        Mistake{{"compose", "a.pdf"}, "A file needs a --group before it: a.pdf"},
        Mistake{{"compose", "--", "a.pdf"}, "A file needs a --group before it: a.pdf"},
        Mistake{{"compose", "--group"}, "--group needs a value."},
        Mistake{{"compose", "--group", "--json"},
                "--group needs a value; one that begins with dashes is written --group=VALUE."},
        Mistake{{"compose", "--group", "A.pdf"}, "The group A.pdf has no files."},
        Mistake{{"compose", "--group", "A.pdf", "--group", "B.pdf", "b.pdf"},
                "The group A.pdf has no files."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--group", "A.pdf", "b.pdf"},
                "A.pdf already exists."},
        Mistake{{"compose", "--group", "A.txt", "a.pdf"}, "A.txt is not of a supported format."},
        Mistake{{"compose", "--group", ".pdf", "a.pdf"}, ".pdf is not of a supported format."},
        Mistake{{"compose", "--group", ".", "a.pdf"}, ". is not of a supported format."},
        Mistake{{"compose", "--group", "..", "a.pdf"}, ".. is not of a supported format."},
        Mistake{{"compose", "--group", "", "a.pdf"}, " is not of a supported format."},
        Mistake{{"compose", "--group", "x/A.pdf", "a.pdf"},
                "A group is named like a file, without a folder: x/A.pdf"},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--colour"},
                "There is no option --colour."},
        Mistake{{"compose", "--group", "A.pdf", "-x.pdf"}, "There is no option -x.pdf."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--json=yes"}, "--json takes no value."},
        Mistake{{"compose", "--group", "A.pdf", ""},
                "A file's name is empty in the group A.pdf."}));

INSTANTIATE_TEST_SUITE_P(
    OutputFolder, CommandLineMistake,
    testing::Values(Mistake{{"compose", "--output-folder"}, "--output-folder needs a value."},
                    Mistake{{"compose", "--output-folder=", "--group", "A.pdf", "a.pdf"},
                            "--output-folder needs the name of a folder."},
                    Mistake{{"compose", "--output-folder", "x", "--output-folder", "x", "--group",
                             "A.pdf", "a.pdf"},
                            "--output-folder is given twice."}));

INSTANTIATE_TEST_SUITE_P(
    FileOptions, CommandLineMistake,
    testing::Values(
        Mistake{{"compose", "--pages", "1", "--group", "A.pdf", "a.pdf"},
                "--pages belongs behind the file that it is for."},
        Mistake{{"compose", "--group", "A.pdf", "--rotate", "90", "a.pdf"},
                "--rotate belongs behind the file that it is for."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--group", "B.pdf", "--password", "x",
                 "b.pdf"},
                "--password belongs behind the file that it is for."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--pages"}, "--pages needs a value."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--pages", "1", "--pages", "1"},
                "--pages is given twice for a.pdf."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--rotate", "90", "--rotate=90"},
                "--rotate is given twice for a.pdf."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--password", "x", "--password", "x"},
                "More than one password is given for a.pdf."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--password", "x", "--password-file", "x"},
                "More than one password is given for a.pdf."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--rotate", "45"},
                "--rotate needs a multiple of 90 degrees, not 45."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--rotate", "right"},
                "--rotate needs a multiple of 90 degrees, not right."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--rotate", "90.0"},
                "--rotate needs a multiple of 90 degrees, not 90.0."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--rotate", ""},
                "--rotate needs a multiple of 90 degrees, not ."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--rotate", "+-90"},
                "--rotate needs a multiple of 90 degrees, not +-90."},
        Mistake{{"compose", "--group", "A.pdf", "a.pdf", "--rotate", "99999999999999999999"},
                "--rotate needs a multiple of 90 degrees, not 99999999999999999999."}));

INSTANTIATE_TEST_SUITE_P(
    Info, CommandLineMistake,
    testing::Values(Mistake{{"info"}, "There is no file to tell about."},
                    Mistake{{"info", "--json"}, "There is no file to tell about."},
                    Mistake{{"info", "--pages", "1", "a.pdf"}, "There is no option --pages."},
                    Mistake{{"info", "--password", "a", "--password=b", "a.pdf"},
                            "More than one password is given for the files."},
                    Mistake{{"info", "a.pdf", "--password"}, "--password needs a value."},
                    Mistake{{"info", "--json=1", "a.pdf"}, "--json takes no value."}));

TEST(CommandLine, AMistakeNamesTheHelpThatExplainsIt) {
    EXPECT_EQ(parseCommandLine({"compose", "--no"}).error().topic, HelpTopic::compose);
    EXPECT_EQ(parseCommandLine({"info", "--no"}).error().topic, HelpTopic::info);
    EXPECT_EQ(parseCommandLine({"--no"}).error().topic, HelpTopic::program);
}

TEST(CommandLine, AMistakeKnowsWhetherJsonWasWantedEvenBehindIt) {
    EXPECT_TRUE(parseCommandLine({"compose", "--no", "--json"}).error().json);
    EXPECT_TRUE(parseCommandLine({"info", "--json", "--no"}).error().json);
    EXPECT_FALSE(parseCommandLine({"compose", "--no"}).error().json);
}

TEST(CommandLine, HelpIsFoundForEachCommandWhateverElseIsThere) {
    const auto topicOf = [](const Words& words) {
        return std::get<HelpRequest>(parseCommandLine(words).value()).topic;
    };
    EXPECT_EQ(topicOf({"--help"}), HelpTopic::program);
    EXPECT_EQ(topicOf({"-h"}), HelpTopic::program);
    EXPECT_EQ(topicOf({"compose", "--help"}), HelpTopic::compose);
    EXPECT_EQ(topicOf({"compose", "--group", "A.pdf", "--help"}), HelpTopic::compose);
    EXPECT_EQ(topicOf({"info", "a.pdf", "-h"}), HelpTopic::info);
    EXPECT_TRUE(std::holds_alternative<VersionRequest>(parseCommandLine({"--version"}).value()));
}

TEST(CommandLine, GroupsTakeTheirFilesInTheOrderGiven) {
    const ComposeRequest request =
        composeOf({"--group", "A.pdf", "z.pdf", "a.pdf", "z.pdf", "--group", "B.PDF", "only.pdf"});
    ASSERT_EQ(request.groups.size(), 2U);
    EXPECT_EQ(request.groups[0].name, "A.pdf");
    ASSERT_EQ(request.groups[0].files.size(), 3U);
    EXPECT_EQ(request.groups[0].files[0].path, "z.pdf");
    EXPECT_EQ(request.groups[0].files[1].path, "a.pdf");
    EXPECT_EQ(request.groups[0].files[2].path, "z.pdf");
    EXPECT_EQ(request.groups[1].name, "B.PDF");
    EXPECT_FALSE(request.json || request.quiet || request.keepGoing);
    EXPECT_EQ(request.outputFolder, std::nullopt);
}

TEST(CommandLine, OptionsBelongToTheFileBeforeThem) {
    const ComposeRequest request =
        composeOf({"--group", "A.pdf", "a.pdf", "--pages", "2-6", "--rotate", "90", "b.pdf",
                   "--password", "secret", "c.pdf", "--password-file", "key.txt"});
    const auto& files = request.groups.at(0).files;
    ASSERT_EQ(files.size(), 3U);
    EXPECT_EQ(files[0].pages, "2-6");
    EXPECT_EQ(files[0].rotation, 90);
    EXPECT_FALSE(files[0].password.isGiven());
    EXPECT_EQ(files[1].pages, std::nullopt);
    EXPECT_EQ(files[1].rotation, std::nullopt);
    EXPECT_EQ(files[1].password.text, "secret");
    EXPECT_EQ(files[2].password.file, "key.txt");
}

TEST(CommandLine, TheSameFileMayHaveOtherOptionsTheNextTime) {
    const ComposeRequest request =
        composeOf({"--group", "A.pdf", "a.pdf", "--pages", "1", "a.pdf", "--pages", "2"});
    EXPECT_EQ(request.groups.at(0).files.at(0).pages, "1");
    EXPECT_EQ(request.groups.at(0).files.at(1).pages, "2");
}

TEST(CommandLine, ValuesMayBeGluedToTheirOption) {
    const ComposeRequest request = composeOf({"--output-folder=out", "--group=A=B.pdf", "a.pdf",
                                              "--pages=1", "--rotate=-90", "--password=--x=y"});
    EXPECT_EQ(request.outputFolder, "out");
    EXPECT_EQ(request.groups.at(0).name, "A=B.pdf");
    const FileRequest& file = request.groups.at(0).files.at(0);
    EXPECT_EQ(file.pages, "1");
    EXPECT_EQ(file.rotation, -90);
    EXPECT_EQ(file.password.text, "--x=y");
}

TEST(CommandLine, AnEmptyPasswordIsAPassword) {
    EXPECT_EQ(composeOf({"--group", "A.pdf", "a.pdf", "--password="})
                  .groups.at(0)
                  .files.at(0)
                  .password.text,
              "");
}

TEST(CommandLine, RotationsAreTakenWithinATurn) {
    const auto rotationOf = [](const std::string& degrees) {
        return composeOf({"--group", "A.pdf", "a.pdf", "--rotate", degrees})
            .groups.at(0)
            .files.at(0)
            .rotation;
    };
    EXPECT_EQ(rotationOf("0"), 0);
    EXPECT_EQ(rotationOf("+90"), 90);
    EXPECT_EQ(rotationOf("-90"), -90);
    EXPECT_EQ(rotationOf("450"), 90);
    EXPECT_EQ(rotationOf("-720"), 0);
    EXPECT_EQ(rotationOf("9000000000000000000"), 9000000000000000000 % 360);
}

TEST(CommandLine, GlobalOptionsMayStandAnywhere) {
    const ComposeRequest before = composeOf(
        {"--json", "--quiet", "--keep-going", "--output-folder", "o", "--group", "A.pdf", "a.pdf"});
    const ComposeRequest after = composeOf(
        {"--group", "A.pdf", "a.pdf", "--json", "--quiet", "--keep-going", "--output-folder", "o"});
    const ComposeRequest between =
        composeOf({"--group", "A.pdf", "--json", "--quiet", "a.pdf", "--keep-going",
                   "--output-folder", "o", "--pages", "1"});
    for (const ComposeRequest& request : {before, after, between}) {
        EXPECT_TRUE(request.json && request.quiet && request.keepGoing);
        EXPECT_EQ(request.outputFolder, "o");
    }
}

TEST(CommandLine, OtherMachinesAreLeftAloneUnlessSaid) {
    EXPECT_FALSE(composeOf({"--group", "A.pdf", "a.html"}).allowRemote);
    EXPECT_TRUE(composeOf({"--group", "A.pdf", "a.html", "--allow-remote"}).allowRemote);
}

TEST(CommandLine, AfterTwoDashesEveryWordIsAFile) {
    const ComposeRequest request =
        composeOf({"--group", "A.pdf", "--", "--pages", "--group", "--", "-x", "--a=b"});
    std::vector<std::string> paths;
    for (const FileRequest& file : request.groups.at(0).files) {
        paths.push_back(file.path);
    }
    EXPECT_THAT(paths, testing::ElementsAre("--pages", "--group", "--", "-x", "--a=b"));
    EXPECT_THAT(infoOf({"--", "--json"}).files, testing::ElementsAre("--json"));
}

TEST(CommandLine, AFileThatLooksLikeAnOptionIsReachedThroughItsFolder) {
    EXPECT_EQ(composeOf({"--group", "A.pdf", "./--pages"}).groups.at(0).files.at(0).path,
              "./--pages");
}

TEST(CommandLine, ALoneDashIsAFile) {
    EXPECT_EQ(composeOf({"--group", "A.pdf", "-"}).groups.at(0).files.at(0).path, "-");
}

TEST(CommandLine, InfoTakesFilesAndAPasswordForAllOfThem) {
    const InfoRequest request = infoOf({"a.pdf", "--password", "x", "--json", "b.pdf"});
    EXPECT_THAT(request.files, testing::ElementsAre("a.pdf", "b.pdf"));
    EXPECT_EQ(request.password.text, "x");
    EXPECT_TRUE(request.json);
    EXPECT_EQ(infoOf({"--password-file=k", "a.pdf"}).password.file, "k");
}

} // namespace
} // namespace quillorn
