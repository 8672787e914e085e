#include "import/NameTurns.h"

#include <atomic>
#include <gtest/gtest.h>
#include <stop_token>
#include <thread>

namespace quillorn {
namespace {

TEST(NameTurns, DifferentNamesDoNotWait) {
    NameTurns turns;
    const NameTurns::Turn one(turns, "a.png", {});
    const NameTurns::Turn other(turns, "b.png", {});
    EXPECT_TRUE(one.hasCome());
    EXPECT_TRUE(other.hasCome());
}

TEST(NameTurns, OneAtATimeHasAName) {
    NameTurns turns;
    std::atomic<int> inside = 0;
    std::atomic<bool> met = false;
    const auto use = [&turns, &inside, &met]() {
        for (int i = 0; i < 200; ++i) {
            const NameTurns::Turn turn(turns, "a.png", {});
            if (++inside > 1) {
                met = true;
            }
            std::this_thread::yield();
            --inside;
        }
    };
    {
        const std::jthread one(use);
        const std::jthread two(use);
    }
    EXPECT_FALSE(met);
}

TEST(NameTurns, AStopEndsTheWait) {
    NameTurns turns;
    const NameTurns::Turn held(turns, "a.png", {});
    std::stop_source stop;
    const std::jthread stopper([&stop]() { stop.request_stop(); });
    const NameTurns::Turn waiting(turns, "a.png", stop.get_token());
    EXPECT_FALSE(waiting.hasCome());
}

} // namespace
} // namespace quillorn
