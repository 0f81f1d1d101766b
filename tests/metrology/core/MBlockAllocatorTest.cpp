#include "MBlockAllocator.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

using namespace ZOLAR3D;

namespace {

struct Slot {
    int index;
    double value;
};

} // namespace

TEST(MBlockAllocator, The1025thSlotOpensASecondBlockAndNoSlotMoves)
{
    MBlockAllocator<Slot> allocator;
    EXPECT_EQ(allocator.blockSize(), 1024);
    std::vector<Slot *> slots;
    for (int i = 0; i < 1024; ++i) {
        slots.push_back(allocator.allocate());
        *slots.back() = Slot{i, 0.5 * i};
    }
    EXPECT_EQ(allocator.numBlocks(), 1);
    EXPECT_EQ(slots.back(), slots.front() + 1023); // one contiguous block

    Slot *next = allocator.allocate();
    next->index = 1024;
    EXPECT_EQ(allocator.numBlocks(), 2);
    EXPECT_NE(next, slots.front() + 1024);
    for (int i = 0; i < 1024; ++i) {
        EXPECT_EQ(slots[i]->index, i);
        EXPECT_EQ(slots[i]->value, 0.5 * i);
    }
    EXPECT_EQ(allocator.allocate(), next + 1);
}

TEST(MBlockAllocator, ANewBlockSizeAppliesToTheNextBlockOnly)
{
    MBlockAllocator<Slot> allocator;
    allocator.setBlockSize(2);
    Slot *first = allocator.allocate();
    allocator.setBlockSize(100);
    EXPECT_EQ(allocator.allocate(), first + 1);
    EXPECT_EQ(allocator.numBlocks(), 1);

    Slot *third = allocator.allocate(); // the two-slot block is full
    EXPECT_EQ(allocator.numBlocks(), 2);
    for (int i = 1; i < 100; ++i)
        EXPECT_EQ(allocator.allocate(), third + i);
    EXPECT_EQ(allocator.numBlocks(), 2);
}

TEST(MBlockAllocator, NonPositiveBlockSizeStillGivesUsableSlots)
{
    MBlockAllocator<Slot> allocator;
    allocator.setBlockSize(0);
    allocator.allocate()->index = 1;
    allocator.setBlockSize(-5);
    allocator.allocate()->index = 2;
    EXPECT_EQ(allocator.numBlocks(), 2);
}

TEST(MBlockAllocator, ClearFreesAllBlocksAndStartsAgain)
{
    MBlockAllocator<Slot> allocator;
    allocator.setBlockSize(4);
    for (int i = 0; i < 9; ++i)
        allocator.allocate();
    EXPECT_EQ(allocator.numBlocks(), 3);
    allocator.clear();
    EXPECT_EQ(allocator.numBlocks(), 0);
    Slot *first = allocator.allocate();
    EXPECT_EQ(allocator.numBlocks(), 1);
    EXPECT_EQ(allocator.allocate(), first + 1);
}

TEST(MBlockAllocator, SlotsOfALinesSizeStartOnCacheLines)
{
    struct Line {
        double values[8];
    };
    MBlockAllocator<Line> allocator;
    allocator.setBlockSize(3);
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(allocator.allocate()) % 64, 0u) << i;
}
