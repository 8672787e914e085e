#include "platform/pdf/Passwords.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace quillorn {
namespace {

bool tries(const std::string& typed, const std::string& bytes) {
    const std::vector<std::string> candidates = passwordCandidates(typed);
    return std::find(candidates.begin(), candidates.end(), bytes) != candidates.end();
}

TEST(PasswordCandidates, AreFirstOfAllWhatWasTyped) {
    for (const std::string typed : {"", "plain", "caf\xc3\xa9", "\xe2\x85\xa8", "\xff\xfe"}) {
        ASSERT_FALSE(passwordCandidates(typed).empty());
        EXPECT_EQ(passwordCandidates(typed).front(), typed);
    }
}

TEST(PasswordCandidates, OfPlainTextAreThatAlone) {
    EXPECT_EQ(passwordCandidates("plain text"), std::vector<std::string>{"plain text"});
    EXPECT_EQ(passwordCandidates(""), std::vector<std::string>{""});
}

TEST(PasswordCandidates, ContainNothingTwice) {
    for (const std::string typed : {"caf\xc3\xa9", "cafe\xcc\x81", "\xe2\x82\xac\xc3\xa9"}) {
        const std::vector<std::string> candidates = passwordCandidates(typed);
        EXPECT_EQ(std::set<std::string>(candidates.begin(), candidates.end()).size(),
                  candidates.size());
    }
}

TEST(PasswordCandidates, ContainThePreparedForm) {
    EXPECT_TRUE(tries("\xe2\x85\xa8", "IX"));
    EXPECT_TRUE(tries("a\xc2\xa0z", "a z")) << "a space that does not break";
    EXPECT_TRUE(tries("cafe\xcc\x81", "caf\xc3\xa9"));
}

TEST(PasswordCandidates, ContainTheEncodingsOfOlderFiles) {
    for (const std::string euro : {"\xa0", "\x80"}) {
        EXPECT_TRUE(tries("\xe2\x82\xac", euro));
    }
    EXPECT_TRUE(tries("caf\xc3\xa9", "caf\xe9"));
    EXPECT_TRUE(tries("caf\xc3\xa9", "caf\x8e")) << "the Macintosh's";
    EXPECT_TRUE(tries("cafe\xcc\x81", "caf\xe9")) << "of the prepared form too";
}

TEST(PasswordCandidates, OfForbiddenAndBrokenTextLeaveThePreparedFormOut) {
    EXPECT_FALSE(passwordCandidates("a\x07z").empty());
    EXPECT_FALSE(passwordCandidates("\xc3").empty());
    EXPECT_FALSE(passwordCandidates("\xf8\x88\x80\x80\x80").empty());
}

} // namespace
} // namespace quillorn
