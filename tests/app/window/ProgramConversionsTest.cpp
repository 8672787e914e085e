#include "app/ProgramConversions.h"

#include "tests/fakes/TemporaryFolder.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn::tests {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

TEST(ProgramConversionsTest, ANoticeNamesTheFileThatItConcerns) {
    std::signal(SIGPIPE, SIG_IGN); // as the program does
    const TemporaryFolder folder;
    std::filesystem::create_directory(folder / "cache");
    writeFile(folder / "my letter.rtf", R"({\rtf1{\fonttbl{\f0 Gone Sans;}}\f0 text})");
    std::vector<std::string> told;
    ProgramConversions::Options options;
    options.workerFolder = QUILLORN_PROGRAM_FOLDER;
    options.cacheFolder = folder / "cache";
    options.tell = [&told](const std::string& notice) { told.push_back(notice); };
    ProgramConversions conversions(options);
    ASSERT_TRUE(conversions.rtf2PDF((folder / "my letter.rtf").string(), {}));
    EXPECT_THAT(told, ElementsAre(AllOf(StartsWith("my letter.rtf: "), HasSubstr("Gone Sans"))));
}

} // namespace
} // namespace quillorn::tests
