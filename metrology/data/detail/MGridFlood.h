#pragma once

#include "MRegions.h"

#include <cstddef>
#include <vector>

namespace ZOLAR3D::detail {

// The breadth-first flood behind the connectivity of region grids and range
// images. The elements of a width x height grid are joined across the edges
// to their four neighbours that `links` allows:
//   links.member(i)      whether element i takes part at all;
//   links.rightOf(i)     whether i is joined to i + 1 (same row);
//   links.below(i)       whether i is joined to i + width.
// Regions are numbered in the order in which the scan by rows meets them.
// The last column starts no region, though a flood can reach into it: the
// library has always scanned that way, and its region numbers depend on it.
// Afterwards the elements of regions with fewer than minSize elements lose
// their label, while the emptied regions keep their numbers.
template <class Links>
MRegions floodGrid(int width, int height, const Links &links, int minSize)
{
    MRegions result(width, height);
    // A FIFO on a vector: the worked-off front is cut away once it makes up
    // half of the storage, so the memory follows the front, not the region.
    std::vector<int> queue;
    std::size_t head = 0;
    const auto enqueue = [&](int element, int region) {
        result.addToRegion(element, region);
        queue.push_back(element);
    };
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col + 1 < width; ++col) {
            const int seed = row * width + col;
            if (!links.member(seed) || result[seed] >= 0)
                continue;
            const int region = result.addRegion();
            queue.clear();
            head = 0;
            enqueue(seed, region);
            while (head < queue.size()) {
                const int i = queue[head++];
                if (2 * head > queue.size() && head > 4096) {
                    queue.erase(queue.begin(), queue.begin() + std::ptrdiff_t(head));
                    head = 0;
                }
                const int x = i % width;
                const int y = i / width;
                // Left, up, down, right.
                if (x > 0 && result[i - 1] < 0 && links.rightOf(i - 1))
                    enqueue(i - 1, region);
                if (y > 0 && result[i - width] < 0 && links.below(i - width))
                    enqueue(i - width, region);
                if (y + 1 < height && result[i + width] < 0 && links.below(i))
                    enqueue(i + width, region);
                if (x + 1 < width && result[i + 1] < 0 && links.rightOf(i))
                    enqueue(i + 1, region);
            }
        }
    }
    if (minSize > 1) {
        for (int i = 0; i < result.size(); ++i) {
            const int label = result[i];
            if (label >= 0 && result.regionSize(label) < minSize)
                result.remove(i);
        }
    }
    return result;
}

} // namespace ZOLAR3D::detail
