#include "MBoolArray.h"
#include "MCharArray.h"
#include "MDoubleArray.h"
#include "MFloatArray.h"
#include "MIntArray.h"
#include "MPointerArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

using namespace ZOLAR3D;

namespace {

std::vector<int> contentOf(const MIntArray &array)
{
    return std::vector<int>(array.data(), array.data() + array.size());
}

MIntArray countingArray(int n)
{
    MIntArray array;
    for (int i = 0; i < n; ++i)
        array.add(i);
    return array;
}

} // namespace

TEST(MTypedArray, IsExactlyPointerSizeAndCapacity)
{
    static_assert(sizeof(MDoubleArray) == sizeof(double *) + 2 * sizeof(int));
    static_assert(sizeof(MBoolArray) == sizeof(MPointerArray));
    const MCharArray empty;
    EXPECT_EQ(empty.data(), nullptr);
    EXPECT_EQ(empty.size(), 0);
    EXPECT_EQ(empty.capacity(), 0);
    EXPECT_TRUE(empty.isEmpty());
    EXPECT_EQ(MFloatArray(0).data(), nullptr);
}

TEST(MTypedArray, AddDoublesTheCapacityStartingFromOne)
{
    MIntArray array;
    std::vector<int> capacities;
    for (int i = 0; i < 9; ++i) {
        EXPECT_EQ(array.add(10 * i), i);
        capacities.push_back(array.capacity());
    }
    EXPECT_EQ(capacities, (std::vector<int>{1, 2, 4, 4, 8, 8, 8, 8, 16}));
    EXPECT_EQ(array.first(), 0);
    EXPECT_EQ(array.last(), 80);
    EXPECT_EQ(array.sizeInBytes(), 9 * 4);
}

TEST(MTypedArray, BlockAddReservesExactlyWithoutDoubling)
{
    const int src[3] = {7, 8, 9};
    MIntArray five = countingArray(5);
    ASSERT_EQ(five.capacity(), 8);
    five.add(src, 3);
    EXPECT_EQ(five.capacity(), 8);
    EXPECT_EQ(contentOf(five), (std::vector<int>{0, 1, 2, 3, 4, 7, 8, 9}));

    MIntArray six = countingArray(6);
    six.add(src, 3);
    EXPECT_EQ(six.capacity(), 9);
    EXPECT_EQ(six.size(), 9);

    // So a loop of block adds reallocates every time.
    MIntArray looped;
    for (int i = 1; i <= 4; ++i) {
        looped.add(src, 3);
        EXPECT_EQ(looped.capacity(), 3 * i);
    }
}

TEST(MTypedArray, ResizeNeverShrinksAndDroppedElementsReappear)
{
    MIntArray array = countingArray(5);
    const int *buffer = array.data();
    array.resize(2);
    EXPECT_EQ(array.capacity(), 8);
    array.resize(5);
    EXPECT_EQ(contentOf(array), (std::vector<int>{0, 1, 2, 3, 4}));

    array.resize(2);
    array.resize(5, -1);
    EXPECT_EQ(contentOf(array), (std::vector<int>{0, 1, -1, -1, -1}));

    array.resize(0);
    EXPECT_EQ(array.data(), buffer);
    EXPECT_EQ(array.capacity(), 8);
    array.clear();
    EXPECT_EQ(array.data(), nullptr);
    EXPECT_EQ(array.capacity(), 0);
    EXPECT_EQ(array.size(), 0);
}

TEST(MTypedArray, ReserveCapacityAllocatesExactlyAndKeepsElements)
{
    MDoubleArray array;
    array.add(1.5);
    array.add(2.5);
    array.reserveCapacity(1);
    EXPECT_EQ(array.capacity(), 2);
    array.reserveCapacity(37);
    EXPECT_EQ(array.capacity(), 37);
    EXPECT_EQ(array.size(), 2);
    EXPECT_EQ(array[1], 2.5);
}

TEST(MTypedArray, ConstructorsFillAsTheirSetters)
{
    const MIntArray sized(5);
    EXPECT_EQ(sized.size(), 5);
    EXPECT_EQ(sized.capacity(), 5);

    const MIntArray filled(3, 42);
    EXPECT_EQ(contentOf(filled), (std::vector<int>{42, 42, 42}));

    const int src[4] = {4, 3, 2, 1};
    const MIntArray copied(src, 4);
    EXPECT_EQ(contentOf(copied), (std::vector<int>{4, 3, 2, 1}));
    EXPECT_NE(copied.data(), src);

    void *pointers[2] = {nullptr, &pointers};
    const MPointerArray pointerArray(pointers, 2);
    EXPECT_EQ(pointerArray.last(), static_cast<void *>(&pointers));
}

TEST(MTypedArray, CopiesAreIndependentAndAssignmentKeepsALargeBuffer)
{
    MIntArray original = countingArray(5);
    MIntArray copy(original);
    EXPECT_EQ(copy.capacity(), 5);
    copy[0] = 99;
    EXPECT_EQ(original[0], 0);

    MIntArray target = countingArray(20);
    const int *buffer = target.data();
    target = original;
    EXPECT_EQ(target.data(), buffer);
    EXPECT_EQ(target.capacity(), 32);
    EXPECT_EQ(contentOf(target), contentOf(original));

    MIntArray small(2);
    small = original;
    EXPECT_EQ(small.capacity(), 5);

    target = target;
    EXPECT_EQ(contentOf(target), contentOf(original));
}

TEST(MTypedArray, SetDataReplacesTheContent)
{
    const float src[3] = {1.0f, 2.0f, 3.0f};
    MFloatArray array(10, 0.0f);
    array.setData(src, 3);
    EXPECT_EQ(array.size(), 3);
    EXPECT_EQ(array.capacity(), 10);
    EXPECT_EQ(array[2], 3.0f);
    array.init(-4.0f);
    EXPECT_EQ(array[0], -4.0f);
    EXPECT_EQ(array[2], -4.0f);
}

TEST(MTypedArray, TransferDataToMovesTheBufferAndEmptiesTheSource)
{
    MIntArray source = countingArray(3);
    const int *buffer = source.data();
    MIntArray dest = countingArray(7); // its buffer is released; the leak checker sees it otherwise
    source.transferDataTo(dest);
    EXPECT_EQ(source.data(), nullptr);
    EXPECT_EQ(source.size(), 0);
    EXPECT_EQ(source.capacity(), 0);
    EXPECT_EQ(dest.data(), buffer);
    EXPECT_EQ(contentOf(dest), (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(dest.capacity(), 4);

    dest.transferDataTo(dest);
    EXPECT_EQ(contentOf(dest), (std::vector<int>{0, 1, 2}));

    MIntArray roundTrip;
    dest.transferDataTo(roundTrip);
    roundTrip.transferDataTo(source);
    EXPECT_EQ(source.data(), buffer);
}

TEST(MTypedArray, EqualityComparesBytesWhileContainsComparesElements)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double values[2] = {nan, -0.0};
    const MDoubleArray a(values, 2);
    const MDoubleArray b(values, 2);
    EXPECT_TRUE(a == b); // a NaN equals its own bits
    EXPECT_FALSE(a.contains(nan));

    const double zeros[2] = {nan, 0.0};
    EXPECT_FALSE(a == MDoubleArray(zeros, 2)); // -0.0 and 0.0 differ as bytes
    EXPECT_TRUE(a.contains(0.0));              // but not as numbers

    EXPECT_FALSE(a == MDoubleArray(values, 1));
    MDoubleArray emptyWithBuffer(values, 2);
    emptyWithBuffer.resize(0);
    EXPECT_TRUE(emptyWithBuffer == MDoubleArray());
    EXPECT_FALSE(MDoubleArray().contains(0.0));
}

TEST(MTypedArray, NegativeCountsAreTakenAsZero)
{
    const int src[2] = {1, 2};
    EXPECT_EQ(MIntArray(-3).size(), 0);
    EXPECT_EQ(MIntArray(-3, 7).size(), 0);
    EXPECT_EQ(MIntArray(src, -2).size(), 0);

    MIntArray array = countingArray(3);
    array.add(src, -5);
    array.reserveCapacity(-1);
    EXPECT_EQ(contentOf(array), (std::vector<int>{0, 1, 2}));
    array.resize(-4);
    EXPECT_EQ(array.size(), 0);
    EXPECT_EQ(array.capacity(), 4);
    array.resize(-4, 9);
    EXPECT_EQ(array.size(), 0);
    array.setData(src, -1);
    EXPECT_EQ(array.size(), 0);
}

TEST(MTypedArray, NullSourceMeansNoElements)
{
    MIntArray array = countingArray(3);
    array.add(nullptr, 5);
    EXPECT_EQ(array.size(), 3);
    array.setData(nullptr, 5);
    EXPECT_EQ(array.size(), 0);
    EXPECT_EQ(array.capacity(), 4);
    EXPECT_EQ(MIntArray(static_cast<const int *>(nullptr), 5).data(), nullptr);
}

TEST(MTypedArray, RequestBeyondTheCountRangeThrowsBadAlloc)
{
    MCharArray array;
    array.add('a');
    const char *buffer = array.data();
    EXPECT_THROW(array.add(buffer, INT_MAX), std::bad_alloc);
    EXPECT_EQ(array.size(), 1);
    EXPECT_EQ(array.data(), buffer);

    EXPECT_THROW(MCharArray(buffer, 1).add(buffer, INT_MAX), std::bad_alloc);
}

TEST(MTypedArray, SourcesInsideTheArraySurviveItsGrowth)
{
    MIntArray array = countingArray(4); // full: the next add reallocates
    array.add(array[1]);
    EXPECT_EQ(array.last(), 1);

    array.add(array.data(), array.size()); // appends itself, reallocating
    EXPECT_EQ(contentOf(array), (std::vector<int>{0, 1, 2, 3, 1, 0, 1, 2, 3, 1}));

    array.resize(20, array[3]);
    EXPECT_EQ(array[19], 3);

    MIntArray shifted = countingArray(4);
    shifted.setData(shifted.data() + 1, 3);
    EXPECT_EQ(contentOf(shifted), (std::vector<int>{1, 2, 3}));
    shifted.setData(shifted.data(), 4); // within the capacity: the dropped 3 reappears
    EXPECT_EQ(contentOf(shifted), (std::vector<int>{1, 2, 3, 3}));
}

// Named, not anonymous: the explicit instantiation below must not produce
// internal members that nothing calls.
namespace arraytest {

// An element that owns heap storage, as point clouds and meshes do. It counts
// the live objects so that the tests see every constructor and destructor.
class Owned {
public:
    Owned() : m_value(new int(-1)) { ++s_live; }
    explicit Owned(int value) : m_value(new int(value)) { ++s_live; }
    Owned(const Owned &other) : m_value(new int(*other.m_value)) { ++s_live; }
    Owned &operator=(const Owned &other)
    {
        *m_value = *other.m_value;
        return *this;
    }
    ~Owned()
    {
        delete m_value;
        --s_live;
    }
    bool operator==(const Owned &other) const { return *m_value == *other.m_value; }
    int value() const { return *m_value; }
    const int *storage() const { return m_value; }

    static int s_live;

private:
    int *m_value;
};

int Owned::s_live = 0;

class OwnedArray : public MTypedArray<OwnedArray, Owned> {
public:
    using MTypedArray::MTypedArray;
};

std::vector<int> valuesOf(const OwnedArray &array)
{
    std::vector<int> values;
    for (int i = 0; i < array.size(); ++i)
        values.push_back(array[i].value());
    return values;
}

bool sharesStorage(const OwnedArray &a, const OwnedArray &b)
{
    for (int i = 0; i < a.size(); ++i)
        for (int j = 0; j < b.size(); ++j)
            if (a[i].storage() == b[j].storage())
                return true;
    return false;
}

} // namespace arraytest

using arraytest::Owned;
using arraytest::OwnedArray;
using arraytest::valuesOf;
using arraytest::sharesStorage;

template class ZOLAR3D::MTypedArray<OwnedArray, Owned>;

TEST(MTypedArrayOfObjects, EveryCapacitySlotIsALiveObject)
{
    const int before = Owned::s_live;
    {
        OwnedArray array;
        for (int i = 0; i < 5; ++i)
            array.add(Owned(i));
        EXPECT_EQ(array.capacity(), 8);
        EXPECT_EQ(Owned::s_live - before, 8);
        array.resize(7);
        EXPECT_EQ(array[6].value(), -1); // a default object
        EXPECT_EQ(valuesOf(array), (std::vector<int>{0, 1, 2, 3, 4, -1, -1}));
    }
    EXPECT_EQ(Owned::s_live, before);
}

TEST(MTypedArrayOfObjects, CopiesNeverShareElementStorage)
{
    OwnedArray original;
    for (int i = 0; i < 3; ++i)
        original.add(Owned(i));

    OwnedArray copy(original);
    OwnedArray assigned(10);
    assigned = original;
    OwnedArray set;
    set.setData(original.data(), original.size());
    OwnedArray appended(1, Owned(9));
    appended.add(original.data(), original.size());

    for (const OwnedArray *other : {&copy, &assigned, &set, &appended})
        EXPECT_FALSE(sharesStorage(original, *other));
    EXPECT_EQ(valuesOf(copy), valuesOf(original));
    EXPECT_EQ(valuesOf(assigned), valuesOf(original));
    EXPECT_EQ(valuesOf(set), valuesOf(original));
    EXPECT_EQ(valuesOf(appended), (std::vector<int>{9, 0, 1, 2}));
}

TEST(MTypedArrayOfObjects, GrowthKeepsValuesAndSourcesInsideTheArray)
{
    OwnedArray array;
    for (int i = 0; i < 4; ++i)
        array.add(Owned(i));
    array.add(array[2]); // full: the relocation must not take the value away
    array.add(array.data(), 3);
    array.resize(12, array[0]);
    EXPECT_EQ(valuesOf(array), (std::vector<int>{0, 1, 2, 3, 2, 0, 1, 2, 0, 0, 0, 0}));

    OwnedArray target;
    array.transferDataTo(target);
    EXPECT_EQ(target.size(), 12);
    EXPECT_EQ(array.data(), nullptr);
}

TEST(MTypedArrayOfObjects, ObjectArraysCompareIdentityNotContent)
{
    OwnedArray original(2, Owned(5));
    const OwnedArray copy(original);
    EXPECT_EQ(valuesOf(copy), valuesOf(original));
    EXPECT_FALSE(copy == original); // equal content, different objects
    EXPECT_TRUE(original == original);
    EXPECT_TRUE(copy.contains(Owned(5))); // contains compares content
}
