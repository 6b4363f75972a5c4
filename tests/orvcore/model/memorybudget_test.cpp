#include "orvcore/model/memorybudget.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "orvcore/model/sharedvalues.h"
#include "zorbase/zorexception.h"

namespace {

class Item : public OrvDroppable {
  public:
    std::size_t Drop() override {
        if (isInUse) return 25;
        isDropped = true;
        return 0;
    }
    bool isInUse = false;
    bool isDropped = false;
};

// The budget is the process's own: what other tests hold is let go first.
class MemoryBudget : public testing::Test {
  protected:
    MemoryBudget() { m_budget.SetLimit(1); }
    ~MemoryBudget() override { m_budget.SetLimit(0); }

    void SetRoom(std::size_t bytes) { m_budget.SetLimit(m_budget.GetHeld() + bytes); }

    OrvMemoryBudget& m_budget = OrvMemoryBudget::Get();
};

}  // namespace

TEST_F(MemoryBudget, TheLeastRecentlyUsedGoesAndWhatIsInUseStays) {
    SetRoom(100);
    const std::size_t before = m_budget.GetHeld();
    std::vector<std::shared_ptr<Item>> items;
    for (int i = 0; i < 4; ++i) {
        items.push_back(std::make_shared<Item>());
        m_budget.Note(items.back(), 25);
    }
    EXPECT_EQ(m_budget.GetHeld(), before + 100) << "exactly full is not too much";
    for (const auto& item : items) EXPECT_FALSE(item->isDropped);

    m_budget.Touch(*items[0]);
    items[1]->isInUse = true;
    const auto added = std::make_shared<Item>();
    m_budget.Note(added, 30);  // needs two of 25
    EXPECT_FALSE(items[0]->isDropped) << "used later than the others";
    EXPECT_FALSE(items[1]->isDropped) << "in use";
    EXPECT_TRUE(items[2]->isDropped);
    EXPECT_TRUE(items[3]->isDropped);
    EXPECT_EQ(m_budget.GetHeld(), before + 80);

    items.clear();
    EXPECT_EQ(m_budget.GetHeld(), before + 30) << "what has died counts no more";
    m_budget.Note(added, 500);
    EXPECT_FALSE(added->isDropped) << "never the one that is being used now";
    m_budget.SetLimit(1);
    EXPECT_TRUE(added->isDropped);
}

TEST_F(MemoryBudget, WhatIsHeldMakesRoomForWorkBeforeItBegins) {
    const auto held = [this] { return m_budget.GetHeld(); };
    const std::size_t before = held();
    m_budget.SetLimit(before + 400);
    std::vector<std::shared_ptr<Item>> items;
    for (int i = 0; i < 8; ++i) {
        items.push_back(std::make_shared<Item>());
        m_budget.Note(items.back(), 50);
    }
    {
        const OrvMemoryBudget::Working small(60);
        EXPECT_EQ(held(), before + 300) << "two of 50 went";
        EXPECT_TRUE(items[1]->isDropped && !items[2]->isDropped);
        m_budget.Note(std::make_shared<Item>(), 1);
        const OrvMemoryBudget::Working second(20);
        EXPECT_EQ(held(), before + 300) << "there was room for it";
    }
    const auto late = std::make_shared<Item>();
    m_budget.Note(late, 100);
    EXPECT_FALSE(items[2]->isDropped) << "work that is over takes no room";
    {
        const OrvMemoryBudget::Working large(1000000);
        EXPECT_FALSE(late->isDropped) << "a quarter of the room at most";
        EXPECT_TRUE(items[2]->isDropped);
    }
}

// Without it a block of 30 MB that was freed has the next one of 20 MB come from the heap, which is never returned as long as anything
// lies above it.
TEST(FreeMemory, LargeBlocksGoBackToTheSystem) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer's allocator";
#else
    ReturnLargeBlocks();
    void* volatile first = std::malloc(30 << 20);  // volatile: otherwise neither call is made
    std::free(first);
    // More than there are holes of that size in the heap.
    const auto before = mallinfo2().hblks;
    std::vector<void*> blocks;
    for (int i = 0; i < 8; ++i) blocks.push_back(std::malloc(20 << 20));
    EXPECT_GT(mallinfo2().hblks, before);
    for (void* block : blocks) std::free(block);
    EXPECT_EQ(mallinfo2().hblks, before);
#endif
}

TEST_F(MemoryBudget, ASharedValueIsMadeOncePerKeyAndAgainWhenItWasDropped) {
    OrvSharedValues values;
    std::atomic<int> made{0};
    const auto make = [&made]() -> OrvSharedValues::Made {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        return {std::make_shared<const int>(++made), 60, {}};
    };
    SetRoom(100);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i) threads.emplace_back([&] { values.Get("a", make); });
    }
    EXPECT_EQ(made, 1);
    EXPECT_TRUE(values.Has("a"));
    std::shared_ptr<const void> held = values.Get("b", make);
    EXPECT_EQ(made, 2);
    EXPECT_FALSE(values.Has("a")) << "there is room for one of them";
    values.Get("a", make);
    EXPECT_TRUE(values.Has("b")) << "it is in use";
    held.reset();
    values.Get("c", make);
    EXPECT_FALSE(values.Has("b"));
    EXPECT_EQ(made, 4);
}

TEST_F(MemoryBudget, AFailureThatLiesInTheBytesIsKeptAndAnyOtherTriedAgain) {
    OrvSharedValues values;
    int calls = 0;
    const auto fail = [&](ZorException::Kind kind) {
        return [&calls, kind]() -> OrvSharedValues::Made {
            ++calls;
            throw ZorException(__FILE__, __LINE__, kind, "On purpose");
        };
    };
    for (int i = 0; i < 2; ++i)
        EXPECT_THROW(values.Get("stopped", fail(ZorException::Kind::Aborted)), ZorException);
    EXPECT_EQ(calls, 2);
    for (int i = 0; i < 2; ++i)
        EXPECT_THROW(values.Get("damaged", fail(ZorException::Kind::Format)), ZorException);
    EXPECT_EQ(calls, 3);
    EXPECT_FALSE(values.Has("damaged"));
}
