#include "LayoutProbe.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <type_traits>

namespace {

using Probe = SupportLayoutProbe;

// Fields lie in the given order behind `first` bytes (the virtual table, mostly), none twice.
void ExpectAscending(const Probe::Offsets& offsets, ptrdiff_t first) {
    ASSERT_FALSE(offsets.empty());
    EXPECT_EQ(offsets.front(), first);
    for (size_t i = 1; i < offsets.size(); ++i)
        EXPECT_LT(offsets[i - 1], offsets[i]) << i;
}

constexpr ptrdiff_t behindTable = sizeof(void*);

// The function in a slot of an object's virtual table; the destructor takes the first two.
template <typename Function>
Function Slot(const void* object, size_t index) {
    void* const* table = *static_cast<void* const* const*>(object);
    return reinterpret_cast<Function>(table[index]);
}

struct Recorder : CASObject {
    int assigned = 0;
    mutable int compared = 0;
    using CASObject::operator=;
    CASObject& operator=(const CASObject& /*other*/) override {
        ++assigned;
        return *this;
    }
    bool operator==(const CASObject& /*other*/) const override {
        ++compared;
        return false;
    }
};

struct ThreadRecorder : CASThread {
    using CASThread::operator=;
    void* given = nullptr;
    int32_t Execute(void* param) override {
        given = param;
        return 7;
    }
};

struct ResourceRecorder : CASResourceLoad {
    using CASResourceLoad::operator=;
    ResourceRecorder() : CASResourceLoad(nullptr) {}
    const char* getResourceName(uint32_t id) override { return id == 5 ? "name" : nullptr; }
    const char* getResourcePathName() override { return "folder"; }
};

using Assign = CASObject& (*)(void*, const CASObject&);
using Compare = bool (*)(const void*, const CASObject&);

} // namespace

TEST(Layout, RecordsHaveTheirFieldsInOrder) {
    static_assert(sizeof(ASMessageData) == 24);
    EXPECT_EQ(offsetof(ASMessageData, message), 0U);
    EXPECT_EQ(offsetof(ASMessageData, param), 4U);
    EXPECT_EQ(offsetof(ASMessageData, value1), 8U);
    EXPECT_EQ(offsetof(ASMessageData, value2), 16U);
    EXPECT_EQ(offsetof(CASMemoryChunk, data), 0U);
    EXPECT_EQ(offsetof(CASMemoryChunk, dataSize), 8U);
    EXPECT_EQ(offsetof(CASMemoryChunk, usedSize), 12U);
    EXPECT_EQ(offsetof(CASMemoryChunk, isAllocationChunk), 16U);
    EXPECT_EQ(offsetof(CASMemoryChunk, next), 24U);
    EXPECT_EQ(sizeof(CASMemoryChunk), 32U);
}

TEST(Layout, ClassesHaveTheirFieldsInOrder) {
    ExpectAscending(Probe::of(CMacEvent(false, false, nullptr)), behindTable);
    ExpectAscending(Probe::of(CASMacSemaphore(0, 1, nullptr)), behindTable);
    ExpectAscending(Probe::of(CASQueue()), behindTable);
    ExpectAscending(Probe::of(CASMemoryPool(8, 64, 8)), behindTable);
    ExpectAscending(Probe::of(CASFile(nullptr, ASFileOperationRead)), behindTable);
    ExpectAscending(Probe::of(CASResourceData()), behindTable);
    ExpectAscending(Probe::of(CASFontCollection()), behindTable);
    ExpectAscending(Probe::of(CASSize()), behindTable);
    ExpectAscending(Probe::of(CASRect(0, 0, 0, 0)), behindTable);
    ExpectAscending(Probe::of(CASFont()), 0);
    const CASMessageQueue queue;
    const auto offsets = Probe::of(queue);
    ExpectAscending(offsets, offsets.front());
    EXPECT_GE(offsets[1], static_cast<ptrdiff_t>(sizeof(CASQueue)));
}

TEST(Layout, ClassesAreAsLargeAsTheirFields) {
    EXPECT_EQ(sizeof(CASObject), sizeof(void*));
    EXPECT_EQ(sizeof(CASFileManager), sizeof(void*));
    EXPECT_EQ(sizeof(CASDrawGraphic), sizeof(void*));
    EXPECT_EQ(sizeof(CASThread), sizeof(void*) + sizeof(pthread_t));
    EXPECT_EQ(sizeof(CASLocalizedStrings), 2 * sizeof(void*));
    EXPECT_EQ(sizeof(CASFont), 140U);
    EXPECT_EQ(sizeof(CASSize), 16U);
    EXPECT_EQ(sizeof(CASRect), 24U);
    EXPECT_EQ(sizeof(CASMemoryPool), 8 + sizeof(pthread_mutex_t) + 3 * 8 + 8 * 4);
}

TEST(Layout, AllClassesButThreeDeriveFromTheRoot) {
    EXPECT_TRUE((std::is_base_of_v<CASObject, CASQueue>));
    EXPECT_TRUE((std::is_base_of_v<CASQueue, CASMessageQueue>));
    EXPECT_TRUE((std::is_base_of_v<CASObject, CASSize>));
    EXPECT_TRUE((std::is_base_of_v<CASObject, CASRect>));
    EXPECT_TRUE((std::is_base_of_v<CASObject, CASLocalizedStrings>));
    EXPECT_TRUE((std::is_base_of_v<CASObject, CASResourceData>));
    EXPECT_FALSE((std::is_base_of_v<CASObject, CMacEvent>));
    EXPECT_FALSE((std::is_base_of_v<CASObject, CASMacSemaphore>));
    EXPECT_FALSE((std::is_polymorphic_v<CASFont>));
}

TEST(Layout, RootSlotsAreDestructorAssignmentComparison) {
    Recorder object;
    const CASObject other;
    EXPECT_EQ(&Slot<Assign>(&object, 2)(&object, other), &object);
    EXPECT_FALSE(Slot<Compare>(&object, 3)(&object, other));
    EXPECT_EQ(object.assigned, 1);
    EXPECT_EQ(object.compared, 1);
}

TEST(Layout, ClassesWithoutOwnSlotsUseTheRootsComparison) {
    const CASMemoryPool pool(8, 64, 8);
    const CASFile file(nullptr, ASFileOperationRead);
    const CASFileManager manager;
    const CASObject root;
    for (const CASObject* object :
         {static_cast<const CASObject*>(&pool), static_cast<const CASObject*>(&file),
          static_cast<const CASObject*>(&manager)})
        EXPECT_EQ(Slot<Compare>(object, 3), Slot<Compare>(&root, 3));
}

TEST(Layout, ThreadWorkFollowsTheRootSlots) {
    using Execute = int32_t (*)(void*, void*);
    ThreadRecorder thread;
    int value = 0;
    EXPECT_EQ(Slot<Execute>(&thread, 4)(&thread, &value), 7);
    EXPECT_EQ(thread.given, &value);
}

TEST(Layout, ResourceNamesFollowTheRootSlots) {
    using Name = const char* (*)(void*, uint32_t);
    using PathName = const char* (*)(void*);
    ResourceRecorder loader;
    EXPECT_STREQ(Slot<Name>(&loader, 4)(&loader, 5), "name");
    EXPECT_STREQ(Slot<PathName>(&loader, 5)(&loader), "folder");
}
