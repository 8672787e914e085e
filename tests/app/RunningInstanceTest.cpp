#include "app/RunningInstance.h"
#include "tests/fakes/TemporaryFolder.h"

#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <optional>
#include <poll.h>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

class RunningInstanceTest : public testing::Test {
protected:
    RunningInstance claimed() {
        auto result = RunningInstance::claim(folder.path(), "/home/somebody");
        EXPECT_TRUE(result.has_value() && result->has_value());
        return std::move(**result);
    }
    static bool waitForSender(const RunningInstance& instance) {
        pollfd entry{instance.descriptor(), POLLIN, 0};
        return ::poll(&entry, 1, 60'000) == 1;
    }

    const tests::TemporaryFolder folder;
};

TEST_F(RunningInstanceTest, ASecondStartHandsItsFilesOver) {
    RunningInstance first = claimed();
    const auto second = RunningInstance::claim(folder.path(), "/home/somebody");
    ASSERT_TRUE(second.has_value());
    EXPECT_FALSE(second->has_value()) << "there is one already";
    const HandedOver files{{"/a b.pdf", "/\xff.png"}};
    auto handed = std::async(std::launch::async, [this, &files]() {
        return RunningInstance::handOver(folder.path(), "/home/somebody", files);
    });
    ASSERT_TRUE(waitForSender(first));
    EXPECT_EQ(first.accept(), files);
    EXPECT_TRUE(handed.get().has_value());
}

TEST_F(RunningInstanceTest, AnotherHomeFolderHasAnInstanceOfItsOwn) {
    const RunningInstance first = claimed();
    const auto other = RunningInstance::claim(folder.path(), "/home/other");
    ASSERT_TRUE(other.has_value());
    EXPECT_TRUE(other->has_value());
}

TEST_F(RunningInstanceTest, WhatADeadProgramLeftIsNoHindrance) {
    { const RunningInstance first = claimed(); }
    tests::writeFile(folder.path() / "stale", "");
    const RunningInstance second = claimed();
    EXPECT_GE(second.descriptor(), 0);
}

TEST_F(RunningInstanceTest, AProgramThatDoesNotAnswerIsTold) {
    const RunningInstance first = claimed();
    const auto handed = RunningInstance::handOver(folder.path(), "/home/somebody", {});
    ASSERT_FALSE(handed.has_value());
    EXPECT_EQ(handed.error().reason, "the running program does not answer");
}

TEST_F(RunningInstanceTest, AProgramThatStandsStillIsNotWaitedForForEver) {
    // More than a socket takes while nobody reads it.
    std::optional<RunningInstance> first = claimed();
    HandedOver many;
    for (int i = 0; i < 20'000; ++i) {
        many.files.push_back("/some/folder/with/a/long/name/file number " + std::to_string(i));
    }
    auto handed = std::async(std::launch::async, [this, &many]() {
        return RunningInstance::handOver(folder.path(), "/home/somebody", many);
    });
    const bool hasEnded = handed.wait_for(std::chrono::minutes(1)) == std::future_status::ready;
    EXPECT_TRUE(hasEnded);
    first.reset(); // lets go whoever still waits
    const auto result = handed.get();
    ASSERT_FALSE(result.has_value());
    if (hasEnded) {
        EXPECT_EQ(result.error().reason, "the running program does not answer");
    }
}

TEST_F(RunningInstanceTest, AProgramThatStandsStillWithAFullQueueIsNotWaitedForForEver) {
    std::optional<RunningInstance> first = claimed();
    std::vector<std::future<FileResult<void>>> senders;
    for (int i = 0; i < 40; ++i) { // more than may wait to be accepted
        senders.push_back(std::async(std::launch::async, [this]() {
            return RunningInstance::handOver(folder.path(), "/home/somebody", {});
        }));
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::minutes(1);
    for (auto& sender : senders) {
        EXPECT_EQ(sender.wait_until(deadline), std::future_status::ready);
    }
    first.reset();
    for (auto& sender : senders) {
        const auto result = sender.get();
        ASSERT_FALSE(result.has_value());
        EXPECT_EQ(result.error().reason, "the running program does not answer");
    }
}

TEST(HandedOverText, ReadsWhatItWrote) {
    EXPECT_EQ(parseHandedOver(handedOverText({})), HandedOver{});
    const HandedOver files{{"/a", "/b\nc"}};
    EXPECT_EQ(parseHandedOver(handedOverText(files)), files);
}

TEST(HandedOverText, RefusesWhatIsNoMessage) {
    for (const std::string& text : {std::string(), std::string("GET / HTTP/1.1\r\n"),
                                    std::string("quillorn-folivane 1\nrelative\0", 29),
                                    std::string("quillorn-folivane 1\n/cut off"),
                                    std::string("quillorn-folivane 1\n\0", 21)}) {
        EXPECT_FALSE(parseHandedOver(text).has_value()) << text;
    }
}

} // namespace
} // namespace quillorn
