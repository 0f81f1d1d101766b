#include "MRegions.h"

#include "MFailure.h"
#include "metrology/data/detail/MGridCount.h"
#include "metrology/data/detail/MGridFlood.h"

#include <algorithm>
#include <climits>
#include <cstddef>
#include <numeric>
#include <vector>

namespace ZOLAR3D {

namespace {

const char *const IntersectionFailureText = "MRegions::operator&: the regions differ in size!";
const char *const UnionFailureText = "MRegions::operator|: the regions differ in size!";
const char *const ErodeFailureText = "MRegions::erode: the regions must be 2d-organized!";
const char *const DilateFailureText = "MRegions::dilate: the regions must be 2d-organized!";
const char *const ConnectivityFailureText = "MRegions::connectivitySegmentation: the regions must be 2d-organized!";
const char *const RectangleFailureText = "MRegions::getBoundingRectangle: the regions must be 2d-organized!";

} // namespace

MRegions::MRegions(int size) : m_labels(size, -1) {}

MRegions::MRegions(int width, int height)
{
    if (width <= 0 || height <= 0)
        return;
    m_labels = MIntArray(detail::gridCount(height, width), -1);
    m_height = height;
    m_width = width;
}

bool MRegions::operator==(const MRegions &other) const
{
    return m_height == other.m_height && m_width == other.m_width && m_labels == other.m_labels &&
           m_sizes == other.m_sizes;
}

void MRegions::transferDataTo(MRegions &dest)
{
    if (this == &dest)
        return;
    dest.m_height = m_height;
    dest.m_width = m_width;
    m_labels.transferDataTo(dest.m_labels);
    m_sizes.transferDataTo(dest.m_sizes);
    m_height = 0;
    m_width = 0;
}

int MRegions::regionSize(int r) const
{
    if (r >= 0)
        return isRegion(r) ? m_sizes[r] : 0;
    // The sizes count distinct elements, so their sum stays within an int.
    return std::accumulate(m_sizes.data(), m_sizes.data() + m_sizes.size(), 0);
}

void MRegions::reset()
{
    m_labels.init(-1);
    m_sizes.clear();
}

MRegions MRegions::region(int r) const
{
    MRegions result(size());
    result.m_height = m_height;
    result.m_width = m_width;
    result.m_sizes = MIntArray(1, 0);
    if (!isRegion(r))
        return result;
    int *label = result.m_labels.data();
    const int n = size();
    for (int i = 0; i < n; ++i)
        if (m_labels[i] == r)
            label[i] = 0;
    result.m_sizes[0] = m_sizes[r];
    return result;
}

void MRegions::invert()
{
    int *label = m_labels.data();
    const int n = size();
    int count = 0;
    for (int i = 0; i < n; ++i) {
        const bool wasFree = label[i] < 0;
        label[i] = wasFree ? 0 : -1;
        count += wasFree;
    }
    m_sizes = MIntArray(1, count);
}

MRegions MRegions::inverse() const
{
    MRegions result(*this);
    result.invert();
    return result;
}

MRegions &MRegions::operator&=(const MRegions &other)
{
    if (other.size() != size()) {
        MFailure::raise(IntersectionFailureText);
        return *this;
    }
    const int *right = other.m_labels.data();
    for (int i = 0; i < size(); ++i)
        if (right[i] < 0 && m_labels[i] >= 0)
            relabel(i, -1);
    return *this;
}

MRegions MRegions::operator&(const MRegions &other) const
{
    MRegions result(*this);
    result &= other;
    return result;
}

MRegions &MRegions::operator|=(const MRegions &other)
{
    if (other.size() != size()) {
        MFailure::raise(UnionFailureText);
        return *this;
    }
    if (other.numRegions() > numRegions())
        m_sizes.resize(other.numRegions(), 0);
    const int *right = other.m_labels.data();
    for (int i = 0; i < size(); ++i)
        if (m_labels[i] < 0 && right[i] >= 0)
            relabel(i, right[i]);
    return *this;
}

MRegions MRegions::operator|(const MRegions &other) const
{
    MRegions result(*this);
    result |= other;
    return result;
}

void MRegions::selectSize(int minSize, int maxSize)
{
    if (maxSize < 1)
        maxSize = INT_MAX;
    const int regions = numRegions();
    std::vector<int> keep(regions);
    for (int r = 0; r < regions; ++r)
        keep[r] = m_sizes[r] >= minSize && m_sizes[r] <= maxSize ? r : -1;
    renumber(keep.data(), regions);
    removeEmptyRegions();
}

void MRegions::removeEmptyRegions()
{
    const int regions = numRegions();
    std::vector<int> newNumber(regions);
    int next = 0;
    for (int r = 0; r < regions; ++r)
        newNumber[r] = m_sizes[r] > 0 ? next++ : -1;
    if (next < regions)
        renumber(newNumber.data(), next);
}

void MRegions::sortBySize(bool descending)
{
    const int regions = numRegions();
    std::vector<int> order(regions);
    std::iota(order.begin(), order.end(), 0);
    const int *sizes = m_sizes.data();
    std::stable_sort(order.begin(), order.end(), [sizes, descending](int a, int b) {
        return descending ? sizes[a] > sizes[b] : sizes[a] < sizes[b];
    });
    std::vector<int> newNumber(regions);
    for (int k = 0; k < regions; ++k)
        newNumber[order[k]] = k;
    renumber(newNumber.data(), regions);
}

void MRegions::renumber(const int *newNumber, int numRegions)
{
    int *label = m_labels.data();
    const int n = size();
    for (int i = 0; i < n; ++i)
        if (label[i] >= 0)
            label[i] = newNumber[label[i]];
    recountSizes(numRegions);
}

void MRegions::recountSizes(int numRegions)
{
    m_sizes.resize(numRegions);
    m_sizes.init(0);
    const int *label = m_labels.data();
    const int n = size();
    for (int i = 0; i < n; ++i)
        if (label[i] >= 0)
            ++m_sizes[label[i]];
}

bool MRegions::requireGrid(const char *failureText) const
{
    if (isGrid())
        return true;
    return MFailure::raise(failureText, false);
}

bool MRegions::hasFreeNeighbor(const MIntArray &labels, int x, int y) const
{
    for (int dy = -1; dy <= 1; ++dy) {
        for (int dx = -1; dx <= 1; ++dx) {
            const int nx = x + dx;
            const int ny = y + dy;
            if ((dx != 0 || dy != 0) && unsigned(nx) < unsigned(m_width) && unsigned(ny) < unsigned(m_height) &&
                labels[ny * m_width + nx] < 0)
                return true;
        }
    }
    return false;
}

void MRegions::erode()
{
    if (!requireGrid(ErodeFailureText))
        return;
    // Every element without a region clears its neighbours, judged on the
    // labels as they were before the pass.
    const MIntArray before(m_labels);
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            const int i = y * m_width + x;
            if (before[i] >= 0 && hasFreeNeighbor(before, x, y))
                relabel(i, -1);
        }
    }
}

int MRegions::lastLabelledNeighbor(const MIntArray &labels, int x, int y) const
{
    for (int dy = 1; dy >= -1; --dy) {
        for (int dx = 1; dx >= -1; --dx) {
            const int nx = x + dx;
            const int ny = y + dy;
            if ((dx == 0 && dy == 0) || unsigned(nx) >= unsigned(m_width) || unsigned(ny) >= unsigned(m_height))
                continue;
            const int label = labels[ny * m_width + nx];
            if (label >= 0)
                return label;
        }
    }
    return -1;
}

void MRegions::dilate()
{
    if (!requireGrid(DilateFailureText))
        return;
    // Each labelled element writes its label onto its neighbours in scan
    // order, overwriting whatever region they had: later elements win, as
    // they always have in this library. So an element ends with the label of
    // the last labelled neighbour of the scan, and keeps its own only when
    // no neighbour has one.
    const MIntArray before(m_labels);
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            const int label = lastLabelledNeighbor(before, x, y);
            if (label >= 0)
                m_labels[y * m_width + x] = label;
        }
    }
    recountSizes(numRegions());
}

MRegions MRegions::connectivitySegmentation(int minSize) const
{
    if (!requireGrid(ConnectivityFailureText))
        return MRegions(size());
    // Two labelled elements side by side are joined, whatever their regions.
    struct Labelled {
        const int *label;
        int width;
        bool member(int i) const { return label[i] >= 0; }
        bool rightOf(int i) const { return label[i] >= 0 && label[i + 1] >= 0; }
        bool below(int i) const { return label[i] >= 0 && label[i + width] >= 0; }
    };
    return detail::floodGrid(m_width, m_height, Labelled{m_labels.data(), m_width}, minSize);
}

bool MRegions::getBoundingRectangle(int r, int &x, int &y, int &w, int &h) const
{
    x = y = w = h = 0;
    if (!requireGrid(RectangleFailureText) || !isRegion(r) || m_sizes[r] == 0)
        return false;
    int minX = m_width, maxX = -1, minY = m_height, maxY = -1;
    for (int row = 0; row < m_height; ++row) {
        const int *line = m_labels.data() + std::ptrdiff_t(row) * m_width;
        for (int col = 0; col < m_width; ++col) {
            if (line[col] != r)
                continue;
            minX = std::min(minX, col);
            maxX = std::max(maxX, col);
            minY = std::min(minY, row);
            maxY = row;
        }
    }
    x = minX;
    y = minY;
    w = maxX - minX + 1;
    h = maxY - minY + 1;
    return true;
}

} // namespace ZOLAR3D
