#include "metrology/data/detail/MSpatialOrder.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace ZOLAR3D::detail {

namespace {

constexpr int BitsPerAxis = 16;
constexpr double CellsPerAxis = double((1 << BitsPerAxis) - 1);
constexpr int DigitBits = 12;
constexpr int DigitCount = 1 << DigitBits;

// Spreads the 16 low bits of v to every third bit.
std::uint64_t spread(std::uint64_t v)
{
    v &= 0xffff;
    v = (v | (v << 16)) & 0x0000ff0000ffull;
    v = (v | (v << 8)) & 0x00f00f00f00full;
    v = (v | (v << 4)) & 0x0c30c30c30c3ull;
    v = (v | (v << 2)) & 0x249249249249ull;
    return v;
}

// The cell of a coordinate; infinite or overflowing offsets land in the
// last cell or the first.
std::uint64_t cellOf(double offset, double scale)
{
    const double q = offset * scale;
    if (!(q > 0.0))
        return 0;
    return q < CellsPerAxis ? std::uint64_t(q) : std::uint64_t(CellsPerAxis);
}

struct Keyed {
    std::uint64_t key;
    int index;
};

// Least-significant-digit radix sort: stable, and linear in the count.
void sortByKey(std::vector<Keyed> &items)
{
    std::vector<Keyed> scratch(items.size());
    std::vector<std::size_t> start(DigitCount);
    for (int shift = 0; shift < 3 * BitsPerAxis; shift += DigitBits) {
        std::fill(start.begin(), start.end(), 0);
        for (const Keyed &item : items)
            ++start[(item.key >> shift) & (DigitCount - 1)];
        std::size_t sum = 0;
        for (std::size_t &s : start)
            sum += std::exchange(s, sum);
        for (const Keyed &item : items)
            scratch[start[(item.key >> shift) & (DigitCount - 1)]++] = item;
        items.swap(scratch);
    }
}

} // namespace

std::vector<int> spatialOrder(const MVector3d *points, int count)
{
    MVector3d minimum, maximum;
    int valid = 0;
    for (int i = 0; i < count; ++i) {
        if (!points[i].isValid())
            continue;
        ++valid;
        minimum = MVector3d::minimum(minimum, points[i]);
        maximum = MVector3d::maximum(maximum, points[i]);
    }
    std::vector<Keyed> items;
    items.reserve(valid);
    // One scale on all axes, so that the cells are cubes.
    const MVector3d size = maximum - minimum;
    const double scale = CellsPerAxis / std::max({size.x(), size.y(), size.z()});
    for (int i = 0; i < count; ++i) {
        if (!points[i].isValid())
            continue;
        const MVector3d d = points[i] - minimum;
        const std::uint64_t key =
            spread(cellOf(d.x(), scale)) | spread(cellOf(d.y(), scale)) << 1 | spread(cellOf(d.z(), scale)) << 2;
        items.push_back({key, i});
    }
    sortByKey(items);
    std::vector<int> order(items.size());
    for (std::size_t k = 0; k < items.size(); ++k)
        order[k] = items[k].index;
    return order;
}

} // namespace ZOLAR3D::detail
