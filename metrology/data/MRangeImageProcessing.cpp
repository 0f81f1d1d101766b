#include "MRangeImage.h"

#include <algorithm>
#include <cstring>

namespace ZOLAR3D {

namespace {

// One side of a rectangle as point clouds normalise it: a negative size is
// made positive by moving the start back, then both ends are clamped to
// [0, limit]. Computed in 64 bits so that no argument can overflow.
void normaliseRange(int start, int count, int limit, int &first, int &length)
{
    std::int64_t begin = start;
    std::int64_t extent = count;
    if (extent < 0) {
        extent = -extent;
        begin -= extent;
    }
    const std::int64_t end = std::clamp<std::int64_t>(begin + extent, 0, limit);
    begin = std::clamp<std::int64_t>(begin, 0, limit);
    first = int(begin);
    length = int(end - begin);
}

} // namespace

MRangeImage MRangeImage::roi(int row, int col, int numRows, int numCols) const
{
    int firstRow, firstCol;
    normaliseRange(row, numRows, m_height, firstRow, numRows);
    normaliseRange(col, numCols, m_width, firstCol, numCols);

    MRangeImage result;
    result.m_pixelSizeRows = m_pixelSizeRows;
    result.m_pixelSizeColumns = m_pixelSizeColumns;
    result.m_maxZSlope = m_maxZSlope;
    // Pixel (r, c) of the result is pixel (firstRow + r, firstCol + c) here;
    // moving the pose by that offset, scaled as the image x and y are, keeps
    // every pixel where it was in the world.
    result.m_pose = m_pose * MMatrix4::Translation(firstRow * m_pixelSizeColumns, firstCol * m_pixelSizeRows, 0.0);
    result.updateMatrices();
    result.setGrid(numRows, numCols);
    const bool withColors = hasColors();
    if (withColors)
        result.m_colors.resize(result.size());
    const int width = result.m_width;
    for (int r = 0; r < result.m_height; ++r) {
        const int from = (firstRow + r) * m_width + firstCol;
        std::memcpy(result.values() + r * width, values() + from, std::size_t(width) * sizeof(double));
        if (withColors)
            std::copy(colors() + from, colors() + from + width, result.colors() + r * width);
    }
    return result;
}

void MRangeImage::compressMemory()
{
    int firstRow = m_height, lastRow = -1, firstCol = m_width, lastCol = -1;
    for (int row = 0; row < m_height; ++row) {
        const double *line = values() + std::ptrdiff_t(row) * m_width;
        for (int col = 0; col < m_width; ++col) {
            if (line[col] == MInvalid)
                continue;
            firstRow = std::min(firstRow, row);
            lastRow = row;
            firstCol = std::min(firstCol, col);
            lastCol = std::max(lastCol, col);
        }
    }
    if (lastRow < 0)
        return;
    roi(firstRow, firstCol, lastRow - firstRow + 1, lastCol - firstCol + 1).transferDataTo(*this);
}

} // namespace ZOLAR3D
