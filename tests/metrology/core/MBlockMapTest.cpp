#include "MBlockMap.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

using namespace ZOLAR3D;

namespace {

using Entries = std::vector<std::pair<int, int>>;

template <class Map>
Entries entriesOf(Map &map)
{
    Entries entries;
    map.forEach([&](int key, int value) { entries.emplace_back(key, value); });
    return entries;
}

// A key whose hash sends every key to the same chain.
struct Colliding {
    int id;
    unsigned hash() const { return 7u; }
    bool operator==(const Colliding &other) const { return id == other.id; }
};

} // namespace

TEST(MBlockMap, FindsWhatWasInserted)
{
    MBlockMap<int, int> map(16);
    map.setBlockSize(8);
    for (int k = 0; k < 100; ++k)
        map.insert(k * 3, k);
    EXPECT_EQ(map.size(), 100);
    for (int k = 0; k < 100; ++k) {
        const int *value = map.find(k * 3);
        ASSERT_NE(value, nullptr);
        EXPECT_EQ(*value, k);
    }
    EXPECT_EQ(map.find(1), nullptr);
    *map.find(3) = 42;
    EXPECT_EQ(*std::as_const(map).find(3), 42);
}

TEST(MBlockMap, CollidingEntriesAreFoundFromTheMostRecent)
{
    MBlockMap<int, int> map(4);
    map.insert(1, 10);
    map.insert(5, 50); // same bucket as 1
    map.insert(1, 11); // insertion does not look for the key
    EXPECT_EQ(map.size(), 3);
    EXPECT_EQ(*map.find(1), 11);
    EXPECT_EQ(entriesOf(map), (Entries{{1, 11}, {5, 50}, {1, 10}}));

    MBlockMap<Colliding, int> chained(1000);
    for (int id = 0; id < 4; ++id)
        chained.insert(Colliding{id}, id * id);
    std::vector<int> order;
    chained.forEach([&](const Colliding &key, int &) { order.push_back(key.id); });
    EXPECT_EQ(order, (std::vector<int>{3, 2, 1, 0}));
    EXPECT_EQ(*chained.find(Colliding{2}), 4);
}

TEST(MBlockMap, NegativeKeysReduceAsUnsigned)
{
    MBlockMap<int, int> map(10);
    map.insert(7, 0);
    map.insert(-1, 0); // 4294967295 % 10 = 5
    map.insert(3, 0);
    EXPECT_EQ(entriesOf(map), (Entries{{3, 0}, {-1, 0}, {7, 0}}));
    EXPECT_NE(map.find(-1), nullptr);
}

TEST(MBlockMap, ResizingTheBucketsKeepsEntriesAndChainOrder)
{
    MBlockMap<int, int> map(2);
    for (int k = 0; k < 10; ++k)
        map.insert(k, k);
    map.insert(4, 40);
    int *stable = map.find(7);
    map.resizeBuckets(5);
    EXPECT_EQ(map.bucketCount(), 5);
    EXPECT_EQ(map.size(), 11);
    EXPECT_EQ(*map.find(4), 40); // still the most recent first
    EXPECT_EQ(map.find(7), stable); // nodes do not move
    // Old chains walked in bucket order, each appended to its new chain:
    // (4:40 8 6 4 2 0) then (9 7 5 3 1), reduced modulo 5.
    EXPECT_EQ(entriesOf(map), (Entries{{0, 0}, {5, 5}, {6, 6}, {1, 1}, {2, 2}, {7, 7},
                                       {8, 8}, {3, 3}, {4, 40}, {4, 4}, {9, 9}}));
}

TEST(MBlockMap, ClearEmptiesTheTableButKeepsItsSize)
{
    MBlockMap<int, int> map(8);
    map.insert(1, 1);
    map.clear();
    EXPECT_EQ(map.size(), 0);
    EXPECT_EQ(map.bucketCount(), 8);
    EXPECT_EQ(map.find(1), nullptr);
    map.insert(2, 2);
    EXPECT_EQ(*map.find(2), 2);
}

TEST(MBlockMap, ABucketCountBelowOneMeansOneBucket)
{
    MBlockMap<int, int> map(0);
    EXPECT_EQ(map.bucketCount(), 1);
    map.insert(-3, 1);
    map.insert(9, 2);
    EXPECT_EQ(*map.find(-3), 1);
    map.resizeBuckets(-2);
    EXPECT_EQ(map.bucketCount(), 1);
    EXPECT_EQ(*map.find(9), 2);
}

TEST(MBlockMap, BucketFormsAgreeWithThePlainOnesForAnyBucketCount)
{
    for (int buckets : {1, 7, 64}) {
        MBlockMap<int, int> map(buckets);
        for (int k = -50; k < 50; ++k) {
            const std::size_t bucket = map.bucketOf(k);
            EXPECT_EQ(bucket, static_cast<unsigned>(k) % static_cast<unsigned>(buckets));
            map.prefetchBucket(bucket);
            map.prefetchChain(bucket);
            EXPECT_EQ(map.find(k, bucket), nullptr);
            const int *inserted = &map.insertNode(k, k * 2, bucket)->value;
            EXPECT_EQ(inserted, map.find(k));
        }
        for (int k = -50; k < 50; ++k)
            EXPECT_EQ(*map.find(k, map.bucketOf(k)), k * 2);
        EXPECT_EQ(map.size(), 100);
    }
}
