#include "MBlockList.h"

#include <gtest/gtest.h>

#include <vector>

using namespace ZOLAR3D;

namespace {

using Node = MBlockList<int>::Node;
static_assert(sizeof(Node) == 16, "a node is the value and the next pointer");

std::vector<int> valuesOf(const MBlockList<int> &list)
{
    std::vector<int> values;
    for (const Node *node = list.head(); node; node = node->next)
        values.push_back(node->value);
    return values;
}

} // namespace

TEST(MBlockList, PushPutsTheNewestFirstAndRemoveUnlinksTheFirstMatch)
{
    MBlockList<int>::Allocator allocator;
    MBlockList<int> list(allocator);
    EXPECT_TRUE(list.isEmpty());
    for (int v : {1, 2, 3, 2})
        list.push(v);
    EXPECT_EQ(valuesOf(list), (std::vector<int>{2, 3, 2, 1}));
    EXPECT_TRUE(list.remove(2));
    EXPECT_TRUE(list.remove(1));
    EXPECT_FALSE(list.remove(7));
    EXPECT_EQ(valuesOf(list), (std::vector<int>{3, 2}));
    EXPECT_EQ(list.size(), 2);
}

TEST(MBlockList, ReleasedNodesAreReusedLastReleasedFirst)
{
    MBlockList<int>::Allocator allocator;
    MBlockList<int> list(allocator);
    list.push(1);
    list.push(2);
    list.push(3);
    const Node *n3 = list.head();
    const Node *n2 = n3->next;
    const Node *n1 = n2->next;

    list.remove(2);              // free list: n2
    list.clear();                // the chain n3 -> n1 goes in front in one step
    EXPECT_TRUE(list.isEmpty());
    EXPECT_EQ(allocator.freeList(), n3);

    Node *a = allocator.allocate();
    EXPECT_EQ(a, n3);
    EXPECT_EQ(a->next, nullptr); // taken off the free list cleanly
    EXPECT_EQ(allocator.allocate(), n1);
    EXPECT_EQ(allocator.allocate(), n2);
    EXPECT_EQ(allocator.freeList(), nullptr);
    EXPECT_EQ(allocator.allocate(), n3 + 1); // n3 was the third slot of the block
}

TEST(MBlockList, ReleaseChainOfNothingChangesNothing)
{
    MBlockList<int>::Allocator allocator;
    Node *node = allocator.allocate();
    allocator.releaseNode(node);
    allocator.releaseChain(nullptr);
    EXPECT_EQ(allocator.freeList(), node);
}

TEST(MBlockList, ClearOfTheAllocatorKeepsTheFreeListHead)
{
    MBlockList<int>::Allocator allocator;
    Node *node = allocator.allocate();
    allocator.releaseNode(node);
    allocator.clear();
    EXPECT_EQ(allocator.numBlocks(), 0);
    EXPECT_EQ(allocator.freeList(), node); // dangling until the owner resets it
    allocator.resetFreeList();
    Node *fresh = allocator.allocate();
    fresh->value = 5;
    EXPECT_EQ(allocator.numBlocks(), 1);
}
