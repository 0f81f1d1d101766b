#include "MRangeImage.h"

#include "metrology/data/detail/MGridFlood.h"

#include <cstdint>
#include <vector>

namespace ZOLAR3D {

namespace {

// Per pixel: which of its grid edges a valid quad spans, and whether any
// valid quad holds it at all.
enum QuadLink : std::uint8_t { LinkRight = 1, LinkDown = 2, InQuad = 4 };

struct QuadLinks {
    std::vector<std::uint8_t> flags;
    bool member(int i) const { return flags[i] & InQuad; }
    bool rightOf(int i) const { return flags[i] & LinkRight; }
    bool below(int i) const { return flags[i] & LinkDown; }
};

} // namespace

MRegions MRangeImage::connectivitySegmentation(int minSize) const
{
    QuadLinks links{std::vector<std::uint8_t>(std::size_t(size()), 0)};
    std::uint8_t *flag = links.flags.data();
    const int w = m_width;
    for (int row = 0; row + 1 < m_height; ++row) {
        for (int col = 0; col + 1 < w; ++col) {
            if (!isValidQuad(row, col, 1))
                continue;
            // The four edges of the quad; its diagonals join nothing that its
            // edges do not already join.
            const int i = row * w + col;
            flag[i] |= LinkRight | LinkDown | InQuad;
            flag[i + 1] |= LinkDown | InQuad;
            flag[i + w] |= LinkRight | InQuad;
            flag[i + w + 1] |= InQuad;
        }
    }
    return detail::floodGrid(w, m_height, links, minSize);
}

} // namespace ZOLAR3D
