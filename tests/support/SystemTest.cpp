#include "support/ASSystem.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <limits>
#include <string>
#include <thread>

namespace {

void ExpectSize(const CASSize& size, int32_t width, int32_t height) {
    EXPECT_EQ(size.width, width);
    EXPECT_EQ(size.height, height);
}

std::string TimeOf(int64_t ticks) {
    char buffer[32] = {};
    EXPECT_EQ(ASConvertInt64ToTimeString(buffer, sizeof buffer, ticks), buffer);
    return buffer;
}

constexpr int64_t second = 10'000'000;

} // namespace

TEST(Object, ObjectsCompareEqualAndAssignNothing) {
    CASObject object;
    const CASObject other;
    EXPECT_TRUE(object == other);
    EXPECT_EQ(&(object = other), &object);
    CASSize small(1, 2);
    EXPECT_TRUE(small.CASObject::operator==(CASSize(3, 4)));
    CASObject& base = small;
    base = CASSize(3, 4);
    ExpectSize(small, 1, 2);
}

TEST(Geometry, SizesAndRectanglesAreCopied) {
    ExpectSize(CASSize(), 0, 0);
    CASSize size(3, 4);
    const CASSize copy = size;
    size = CASSize(5, 6);
    ExpectSize(copy, 3, 4);
    ExpectSize(size, 5, 6);
    CASRect rect(1, 2, 3, 4);
    rect = CASRect(rect);
    EXPECT_EQ(rect.x, 1);
    EXPECT_EQ(rect.y, 2);
    EXPECT_EQ(rect.width, 3);
    EXPECT_EQ(rect.height, 4);
}

TEST(Geometry, SourceIsFittedIntoTheBox) {
    ExpectSize(ASExtensionSize(400, 300, 200, 200), 200, 150);
    ExpectSize(ASExtensionSize(300, 400, 200, 200), 150, 200);
    ExpectSize(ASExtensionSize(10, 10, 200, 100), 100, 100);
    ExpectSize(ASExtensionSize(3, 2, 100, 100), 100, 66);
    ExpectSize(ASExtensionSize(CASSize(400, 300), CASSize(200, 200)), 200, 150);
    ExpectSize(ASExtensionSize(CASSize(400, 300), 200, 200), 200, 150);
    ExpectSize(ASExtensionSize(400, 300, CASSize(200, 200)), 200, 150);
}

TEST(Geometry, SidesOfNothingGiveNothing) {
    ExpectSize(ASExtensionSize(0, 300, 200, 200), 0, 0);
    ExpectSize(ASExtensionSize(400, 0, 200, 200), 0, 0);
    ExpectSize(ASExtensionSize(400, 300, -1, 200), 0, 0);
    ExpectSize(ASExtensionSize(400, 300, 200, std::numeric_limits<int32_t>::min()), 0, 0);
}

TEST(Geometry, ProductsBeyondThirtyTwoBitsWrap) {
    // 65536 * 65536 is 0 in 32 bits, and so is 65536 * 131072.
    ExpectSize(ASExtensionSize(65536, 65536, 131072, 65536), 0, 65536);
    const int32_t largest = std::numeric_limits<int32_t>::max();
    ExpectSize(ASExtensionSize(largest, largest, largest, largest), 0, largest);
}

TEST(TimeText, TicksBecomeHoursMinutesSeconds) {
    char buffer[16];
    EXPECT_STREQ(ASConvertInt64ToTimeString(buffer, 16, 36'610'000'000), "01:01:01");
    EXPECT_EQ(TimeOf(0), "00:00:00");
    EXPECT_EQ(TimeOf(59 * second + second - 1), "00:00:59");
    EXPECT_EQ(TimeOf(100 * 3600 * second), "100:00:00");
}

TEST(TimeText, SmallOrMissingBuffersAreLeftAlone) {
    char buffer[16] = "untouched";
    EXPECT_EQ(ASConvertInt64ToTimeString(buffer, 15, 36'610'000'000), buffer);
    EXPECT_STREQ(buffer, "untouched");
    EXPECT_EQ(ASConvertInt64ToTimeString(nullptr, 100, 0), nullptr);
}

TEST(TimeText, SecondsAreThirtyTwoBitsWide) {
    EXPECT_EQ(TimeOf(int64_t{0xFFFFFFFF} * second), "00:00:-1");
    EXPECT_EQ(TimeOf(std::numeric_limits<int32_t>::max() * second), "596523:14:07");
    char buffer[16];
    EXPECT_STREQ(
        ASConvertInt64ToTimeString(buffer, 16, std::numeric_limits<int32_t>::min() * second),
        "-596523:-14:-8");
    EXPECT_EQ(TimeOf(std::numeric_limits<int64_t>::min()).empty(), false);
}

TEST(Hardware, MemoryIsTheKernelsTotal) {
    std::ifstream file("/proc/meminfo");
    std::string label;
    unsigned long long kilobytes = 0;
    file >> label >> kilobytes;
    ASSERT_EQ(label, "MemTotal:");
    EXPECT_EQ(ASGetMemorySize(), kilobytes * 1024);
}

TEST(Hardware, CoresAreThoseOnline) {
    EXPECT_GE(ASGetCpuCoreCount(), 1);
    EXPECT_GE(ASGetCpuCoreCount(), static_cast<int32_t>(std::thread::hardware_concurrency()));
}
