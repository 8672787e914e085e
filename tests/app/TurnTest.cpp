#include "app/Turn.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stop_token>
#include <thread>

namespace quillorn {
namespace {

TEST(Turn, ComesWhenTheOneBeforeEnds) {
    Turn turn;
    std::atomic<bool> ended = false;
    std::jthread second;
    {
        const TurnHolder first(turn, {});
        ASSERT_TRUE(first.isHeld());
        second = std::jthread([&]() {
            const TurnHolder holder(turn, {});
            EXPECT_TRUE(holder.isHeld());
            EXPECT_TRUE(ended);
        });
        ended = true;
    }
    second.join();
}

TEST(Turn, IsNotWaitedForByWhoIsToldToStop) {
    Turn turn;
    const TurnHolder first(turn, {});
    ASSERT_TRUE(first.isHeld());
    std::stop_source stop;
    // Ends although the first turn does not.
    std::jthread second([&]() { EXPECT_FALSE(TurnHolder(turn, stop.get_token()).isHeld()); });
    stop.request_stop();
    second.join();
}

TEST(Turn, IsNotTakenByWhoWasToldToStopBefore) {
    Turn turn;
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(TurnHolder(turn, stop.get_token()).isHeld());
    EXPECT_TRUE(TurnHolder(turn, {}).isHeld());
}

} // namespace
} // namespace quillorn
