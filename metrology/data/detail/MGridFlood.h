#pragma once

#include "MRegions.h"

#include <vector>

namespace ZOLAR3D::detail {

// The flood behind the connectivity of region grids and range images. The
// elements of a width x height grid are joined across the edges to their
// four neighbours that `links` allows:
//   links.member(i)      whether element i takes part at all;
//   links.rightOf(i)     whether i is joined to i + 1 (same row);
//   links.below(i)       whether i is joined to i + width.
// Regions are numbered in the order in which the scan by rows meets them.
// The last column starts no region, though a flood can reach into it: the
// library has always scanned that way, and its region numbers depend on it.
// Afterwards the elements of regions with fewer than minSize elements lose
// their label, while the emptied regions keep their numbers.
//
// A region is filled run by run along the rows rather than element by
// element: the runs keep memory access sequential on large grids. The
// regions and their numbers depend only on the scan that starts them, not
// on the order in which a region is filled.
template <class Links>
MRegions floodGrid(int width, int height, const Links &links, int minSize)
{
    MRegions result(width, height);
    struct Run {
        int first, last, row;
    };
    std::vector<Run> pending;
    // Labels the longest unlabelled run through (x, y) along joined edges
    // and queues it for the look at the rows above and below.
    const auto fillRun = [&](int x, int y, int region) {
        const int rowStart = y * width;
        int first = x, last = x;
        while (first > 0 && result[rowStart + first - 1] < 0 && links.rightOf(rowStart + first - 1))
            --first;
        while (last + 1 < width && result[rowStart + last + 1] < 0 && links.rightOf(rowStart + last))
            ++last;
        for (int c = first; c <= last; ++c)
            result.addToRegion(rowStart + c, region);
        pending.push_back({first, last, y});
    };
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col + 1 < width; ++col) {
            const int seed = row * width + col;
            if (!links.member(seed) || result[seed] >= 0)
                continue;
            const int region = result.addRegion();
            fillRun(col, row, region);
            while (!pending.empty()) {
                const Run run = pending.back();
                pending.pop_back();
                const int rowStart = run.row * width;
                for (int c = run.first; c <= run.last; ++c) {
                    const int i = rowStart + c;
                    if (run.row > 0 && result[i - width] < 0 && links.below(i - width))
                        fillRun(c, run.row - 1, region);
                    if (run.row + 1 < height && result[i + width] < 0 && links.below(i))
                        fillRun(c, run.row + 1, region);
                }
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
