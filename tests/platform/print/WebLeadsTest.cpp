#include "platform/print/WebLeads.h"

#include <chrono>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace quillorn {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

/// Plays the part of the engine.
class WebLeadsTest : public testing::Test {
protected:
    WebLeadsTest() { load("start"); }

    void load(const std::string& url) {
        leads.start(url);
        EXPECT_TRUE(leads.ask(url, false, now)) << "a page asks for itself";
        leads.arrive();
    }
    /// What a script does that sets the location; whether the page was given.
    bool lead(const std::string& url, bool isThere = true) {
        leads.announce(seconds(0), now);
        leads.begin(now);
        leads.withdraw(); // the announcement is used up by then
        return leads.ask(url, isThere, now);
    }
    [[nodiscard]] bool isSettled() const { return leads.isLoaded() && !leads.openUntil(); }

    WebLeads leads;
    WebLeads::Clock::time_point now{seconds(1'000)};
};

TEST_F(WebLeadsTest, APlainPageIsSettledWhenItHasLoaded) {
    EXPECT_TRUE(leads.isShown());
    EXPECT_FALSE(isSettled());
    leads.setLoaded();
    EXPECT_TRUE(isSettled());
    EXPECT_FALSE(leads.takeReload());
}

TEST_F(WebLeadsTest, WhatWasThereBeforeThePageDoesNotCount) {
    leads.start("next");
    leads.arrive(); // of the page before
    leads.setLoaded();
    leads.announce(seconds(0), now);
    leads.begin(now);
    EXPECT_FALSE(leads.isShown());
    EXPECT_FALSE(leads.isLoaded());
    EXPECT_FALSE(leads.openUntil());
    EXPECT_TRUE(leads.ask("next", true, now));
}

TEST_F(WebLeadsTest, APageThatLeadsOnWhileItLoadsIsFollowed) {
    EXPECT_TRUE(lead("other"));
    EXPECT_EQ(leads.page(), "start");
    EXPECT_TRUE(leads.openUntil());
    leads.arrive();
    EXPECT_EQ(leads.page(), "other");
    EXPECT_FALSE(isSettled());
    leads.setLoaded();
    EXPECT_TRUE(isSettled());
}

TEST_F(WebLeadsTest, ARefreshThatIsDueAtOnceIsFollowedAfterTheLoad) {
    leads.setLoaded();
    leads.announce(milliseconds(500), now);
    EXPECT_FALSE(isSettled());
    leads.begin(now);
    leads.withdraw();
    EXPECT_FALSE(isSettled());
    EXPECT_TRUE(leads.ask("other", true, now));
    leads.arrive();
    leads.setLoaded();
    EXPECT_TRUE(isSettled());
    EXPECT_EQ(leads.page(), "other");
}

TEST_F(WebLeadsTest, ARefreshForReadersIsNotWaitedFor) {
    leads.setLoaded();
    leads.announce(seconds(1), now);
    EXPECT_TRUE(isSettled());
}

TEST_F(WebLeadsTest, AnAnnouncementMayBeWithdrawn) {
    leads.setLoaded();
    leads.announce(seconds(0), now);
    leads.withdraw();
    EXPECT_TRUE(isSettled());
}

TEST_F(WebLeadsTest, ACompletePageThatLeadsOutStaysAsItIs) {
    leads.setLoaded();
    EXPECT_FALSE(lead("elsewhere", false));
    EXPECT_TRUE(isSettled());
    EXPECT_FALSE(leads.takeReload());
}

TEST_F(WebLeadsTest, AnIncompletePageThatLeadsOutIsLoadedOnceMore) {
    EXPECT_FALSE(lead("elsewhere", false));
    EXPECT_EQ(leads.takeReload(), "start");
    EXPECT_FALSE(leads.takeReload());
    load("start");
    EXPECT_FALSE(lead("elsewhere", false));
    EXPECT_FALSE(lead("other", true)) << "it was loaded once more to be what it is";
    EXPECT_FALSE(leads.takeReload());
    leads.setLoaded();
    EXPECT_TRUE(isSettled());
}

TEST_F(WebLeadsTest, ThePageThatLeadsOutIsTheOneThatIsLoadedOnceMore) {
    EXPECT_TRUE(lead("other"));
    leads.arrive();
    EXPECT_FALSE(lead("elsewhere", false));
    EXPECT_EQ(leads.takeReload(), "other");
}

TEST_F(WebLeadsTest, ALeadToADownloadIsNone) {
    EXPECT_TRUE(lead("archive.zip"));
    leads.fail();
    EXPECT_FALSE(leads.openUntil());
    EXPECT_EQ(leads.takeReload(), "start") << "the engine reads no further in it";
}

TEST_F(WebLeadsTest, ALeadToADownloadFromACompletePageLeavesIt) {
    leads.setLoaded();
    EXPECT_TRUE(lead("archive.zip"));
    EXPECT_FALSE(isSettled());
    leads.fail();
    EXPECT_TRUE(isSettled());
    EXPECT_FALSE(leads.takeReload());
}

TEST_F(WebLeadsTest, AFailureOfSomethingElseMeansNothing) {
    leads.fail();
    EXPECT_FALSE(leads.takeReload());
}

TEST_F(WebLeadsTest, APageThatLeavesWithoutAskingIsFetchedBack) {
    leads.setLoaded();
    leads.arrive(); // an empty page, for instance
    EXPECT_FALSE(leads.isShown());
    leads.setLoaded();
    EXPECT_FALSE(leads.isLoaded()) << "the empty one is";
    EXPECT_EQ(leads.takeReload(), "start");
}

TEST_F(WebLeadsTest, PagesThatLeadInACircleAreFollowedAFewTimes) {
    int followed = 0;
    for (; followed < 100 && lead("page" + std::to_string(followed)); ++followed) {
        leads.arrive();
    }
    EXPECT_EQ(followed, 10);
    EXPECT_EQ(leads.takeReload(), "page9");
}

TEST_F(WebLeadsTest, APageThatLeadsOnAllTheTimeGetsNoMoreTimeThanAnother) {
    ASSERT_TRUE(lead("other"));
    const auto until = leads.openUntil();
    ASSERT_TRUE(until);
    for (int i = 0; i < 5; ++i) {
        now += milliseconds(100);
        leads.announce(seconds(0), now);
        leads.begin(now);
        EXPECT_TRUE(leads.ask("other" + std::to_string(i), true, now));
        EXPECT_EQ(leads.openUntil(), until);
    }
    leads.expire(*until - milliseconds(1));
    EXPECT_TRUE(leads.openUntil());
    leads.expire(*until);
    EXPECT_FALSE(leads.openUntil());
    EXPECT_EQ(leads.takeReload(), "start");
}

TEST_F(WebLeadsTest, ALeadThatComesToNothingIsGivenUp) {
    leads.setLoaded();
    leads.announce(seconds(0), now);
    leads.expire(now + seconds(10));
    EXPECT_TRUE(isSettled());
    EXPECT_FALSE(leads.takeReload());
}

TEST_F(WebLeadsTest, AFinishedPageIsNoLongerFollowed) {
    leads.setLoaded();
    leads.finish();
    leads.announce(seconds(0), now);
    leads.begin(now);
    EXPECT_TRUE(isSettled());
    EXPECT_FALSE(lead("other"));
    EXPECT_FALSE(leads.takeReload());
}

} // namespace
} // namespace quillorn
