#include "app/ProgressLine.h"

#include <chrono>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace quillorn {
namespace {

using namespace std::chrono_literals;

class ProgressLineTest : public testing::Test {
protected:
    [[nodiscard]] ProgressLine line(std::size_t width, const std::string& name) {
        return ProgressLine(terminal, width, name, [this]() { return now; });
    }
    /// What was printed since the last call.
    std::string printed() {
        std::string text = terminal.str();
        terminal.str({});
        return text;
    }

    std::ostringstream terminal;
    std::chrono::steady_clock::time_point now{1h};
};

TEST_F(ProgressLineTest, TellsHowManyPagesAreDone) {
    ProgressLine progress = line(80, "Letters.pdf");
    progress.documentBeginWrite(1200);
    now += 60ms;
    progress.documentEndPageWrite(119);
    EXPECT_EQ(printed(), "\r\033[KLetters.pdf: 120 of 1,200 pages");
}

TEST_F(ProgressLineTest, IsRedrawnNoMoreThanTwentyTimesASecond) {
    ProgressLine progress = line(80, "A.pdf");
    progress.documentBeginWrite(10'000);
    int redraws = 0;
    for (std::size_t page = 0; page < 10'000; ++page) {
        now += 100us; // a second in all
        progress.documentEndPageWrite(page);
        redraws += printed().empty() ? 0 : 1;
    }
    EXPECT_EQ(redraws, 20);
}

TEST_F(ProgressLineTest, LeavesABlankLineAtTheEnd) {
    ProgressLine progress = line(80, "A.pdf");
    progress.documentBeginWrite(2);
    now += 60ms;
    progress.documentEndPageWrite(0);
    printed();
    progress.documentEndWrite();
    EXPECT_EQ(printed(), "\r\033[K");
}

TEST_F(ProgressLineTest, LeavesABlankLineWhenTheWriteFails) {
    {
        ProgressLine progress = line(80, "A.pdf");
        progress.documentBeginWrite(2);
        now += 60ms;
        progress.documentEndPageWrite(0);
        printed();
    }
    EXPECT_EQ(printed(), "\r\033[K");
}

TEST_F(ProgressLineTest, SaysNothingAboutAWriteThatIsOverAtOnce) {
    {
        ProgressLine progress = line(80, "A.pdf");
        progress.documentBeginWrite(1);
        progress.documentEndPageWrite(0);
        progress.documentEndWrite();
    }
    EXPECT_EQ(printed(), "");
}

TEST_F(ProgressLineTest, ShortensALongNameToStayOnOneLine) {
    ProgressLine progress = line(40, std::string(100, 'x') + ".pdf");
    progress.documentBeginWrite(10);
    now += 60ms;
    progress.documentEndPageWrite(4);
    const std::string text = printed();
    EXPECT_EQ(text, "\r\033[K" + std::string(23, 'x') + "…: 5 of 10 pages");
}

} // namespace
} // namespace quillorn
