#include "MPointCloud.h"

#include "MFailure.h"
#include "MInvalid.h"
#include "MPointCloudArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"
#include "metrology/data/detail/MPointEdits.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <utility>
#include <vector>

namespace ZOLAR3D {

namespace {

const MException IndexOutOfRange("MPointCloud: index out of range!");

// True when the n triples at xyz overlap the storage of points: growing the
// array could then free the source under our feet.
template <class Scalar>
bool overlapsStorage(const Scalar *xyz, int n, const MVector3dArray &points)
{
    const auto begin = reinterpret_cast<std::uintptr_t>(points.data());
    const auto end = begin + sizeof(MVector3d) * static_cast<std::size_t>(points.capacity());
    const auto from = reinterpret_cast<std::uintptr_t>(xyz);
    return from < end && begin < from + 3 * sizeof(Scalar) * static_cast<std::size_t>(n);
}

// Writes n points read from coordinate triples at index start of points, and
// makes start + n the array's size. Serves the add and the set forms alike;
// as in the arrays, a null source or a negative count means no points.
template <class Scalar>
void storeTriples(MVector3dArray &points, int start, const Scalar *xyz, int n)
{
    if (!xyz || n <= 0) {
        points.resize(start);
        return;
    }
    if (overlapsStorage(xyz, n, points)) {
        const std::vector<Scalar> copy(xyz, xyz + 3 * static_cast<std::size_t>(n));
        storeTriples(points, start, copy.data(), n);
        return;
    }
    points.resize(detail::representableCount(std::int64_t(start) + n));
    MVector3d *dst = points.data() + start;
    for (int i = 0; i < n; ++i, xyz += 3)
        dst[i] = MVector3d(xyz[0], xyz[1], xyz[2]);
}

// The same from single-precision vectors, widened.
void storeWidened(MVector3dArray &points, int start, const MVector3f *src, int n)
{
    storeTriples(points, start, src ? src->data() : nullptr, n);
}

// Element copies between two clouds, or within one. Which of colours and
// normals travel is fixed at compile time, so that the per-element loops
// carry no test of it.
template <bool WithColors, bool WithNormals>
struct ElementCopy {
    const MVector3d *srcPoints;
    const MColor *srcColors;
    const MVector3f *srcNormals;
    MVector3d *points;
    MColor *colors;
    MVector3f *normals;

    bool isValid(std::size_t from) const { return srcPoints[from].isValid(); }

    // Element `to` takes element `from` as it stands; to <= from is allowed
    // within one cloud.
    void copyValid(std::size_t from, std::size_t to) const
    {
        points[to] = srcPoints[from];
        copyAttributes(from, to);
    }

    // The same for any point: an invalid one arrives with the marker in x,
    // so that a NaN point reads as invalid through x alone like every other.
    void operator()(std::size_t from, std::size_t to) const
    {
        MVector3d p = srcPoints[from];
        if (!p.isValid())
            p.invalidate();
        points[to] = p;
        copyAttributes(from, to);
    }

private:
    void copyAttributes(std::size_t from, std::size_t to) const
    {
        if constexpr (WithColors)
            colors[to] = srcColors[from];
        if constexpr (WithNormals)
            normals[to] = srcNormals[from];
    }
};

// Calls body with the element copy from src to dst that carries colours and
// normals as asked; dst must already hold the elements to be written.
template <class Body>
void withElementCopy(const MPointCloud &src, MPointCloud &dst, bool withColors, bool withNormals, Body body)
{
    auto run = [&](auto copy) {
        copy = {src.points(), src.colors(), src.normals(), dst.points(), dst.colors(), dst.normals()};
        body(copy);
    };
    if (withColors && withNormals)
        run(ElementCopy<true, true>());
    else if (withColors)
        run(ElementCopy<true, false>());
    else if (withNormals)
        run(ElementCopy<false, true>());
    else
        run(ElementCopy<false, false>());
}

// Copies the valid points of [first, last) to consecutive elements from at
// on; returns the next free element.
template <class Copy>
int copyValidPoints(const Copy &copy, int first, int last, int at)
{
    for (int i = first; i < last; ++i)
        if (copy.isValid(i))
            copy.copyValid(i, at++);
    return at;
}

} // namespace

MPointCloud::MPointCloud() : m_height(0), m_width(0) {}

MPointCloud::MPointCloud(int n) : m_points(n), m_height(0), m_width(0) {}

MPointCloud::MPointCloud(const MPointCloud &other) = default;

MPointCloud::MPointCloud(MPointCloud &&other) noexcept : m_height(0), m_width(0) { *this = std::move(other); }

MPointCloud &MPointCloud::operator=(MPointCloud &&other) noexcept
{
    if (this != &other) {
        other.transferDataTo(*this);
        other.m_height = 0;
        other.m_width = 0;
    }
    return *this;
}

MPointCloud &MPointCloud::operator=(const MPointCloud &other)
{
    if (this != &other) {
        m_points = other.m_points;
        m_colors = other.m_colors;
        m_normals = other.m_normals;
        m_height = other.m_height;
        m_width = other.m_width;
    }
    return *this;
}

MPointCloud::~MPointCloud() = default;

bool MPointCloud::operator==(const MPointCloud &other) const
{
    return m_points == other.m_points && m_colors == other.m_colors && m_normals == other.m_normals
        && m_height == other.m_height && m_width == other.m_width;
}

void MPointCloud::transferDataTo(MPointCloud &dest)
{
    if (&dest == this)
        return;
    m_points.transferDataTo(dest.m_points);
    m_colors.transferDataTo(dest.m_colors);
    m_normals.transferDataTo(dest.m_normals);
    dest.m_height = m_height;
    dest.m_width = m_width;
}

void MPointCloud::clear()
{
    m_points.clear();
    m_colors.clear();
    m_normals.clear();
    m_height = 0;
    m_width = 0;
}

void MPointCloud::clearPoints()
{
    m_points.clear();
    m_height = 0;
    m_width = 0;
}

void MPointCloud::reserveCapacity(int n)
{
    // Colours and normals are reserved only where they exist, as resize()
    // extends only those: an uncoloured cloud never pays for colour storage.
    if (hasColors())
        m_colors.reserveCapacity(n);
    if (hasNormals())
        m_normals.reserveCapacity(n);
    m_points.reserveCapacity(n);
}

void MPointCloud::resize(int n)
{
    if (hasColors())
        m_colors.resize(n, MColor::Gray);
    if (hasNormals())
        m_normals.resize(n);
    m_points.resize(n);
}

bool MPointCloud::isOrganized2d() const
{
    return m_height > 1 && m_width > 0 && static_cast<long long>(m_height) * m_width == numPoints();
}

void MPointCloud::raiseIndexFailure() { MFailure::raise(IndexOutOfRange); }

MVector3d &MPointCloud::writablePointFallback()
{
    static MVector3d scratch;
    raiseIndexFailure();
    // Whatever an earlier caller wrote into it is wiped, so that each failed
    // access starts from the documented fallback value.
    scratch = MVector3d::Infinity;
    return scratch;
}

// ---- Filling

void MPointCloud::addPoints(const MVector3d *src, int n) { m_points.add(src, n); }
void MPointCloud::addPoints(const double *xyz, int n) { storeTriples(m_points, numPoints(), xyz, n); }
void MPointCloud::addPoints(const MVector3f *src, int n) { storeWidened(m_points, numPoints(), src, n); }
void MPointCloud::addPoints(const float *xyz, int n) { storeTriples(m_points, numPoints(), xyz, n); }
void MPointCloud::setPoints(const MVector3d *src, int n) { m_points.setData(src, n); }
void MPointCloud::setPoints(const double *xyz, int n) { storeTriples(m_points, 0, xyz, n); }
void MPointCloud::setPoints(const MVector3f *src, int n) { storeWidened(m_points, 0, src, n); }
void MPointCloud::setPoints(const float *xyz, int n) { storeTriples(m_points, 0, xyz, n); }
void MPointCloud::setNormals(const MVector3f *src, int n) { m_normals.setData(src, n); }
void MPointCloud::setColors(const MColor *src, int n) { m_colors.setData(src, n); }

// ---- Values and simple edits

int MPointCloud::numValidPoints() const
{
    const MVector3d *p = points();
    const int n = numPoints();
    int count = 0;
    for (int i = 0; i < n; ++i)
        count += p[i].isValid() ? 1 : 0;
    return count;
}

namespace {

template <class Component>
void extractValues(const MVector3d *p, int n, double *values, Component component)
{
    if (!values)
        return;
    for (int i = 0; i < n; ++i)
        values[i] = p[i].isValid() ? component(p[i]) : MInvalid;
}

template <class Negate>
void negateValid(MVector3d *p, int n, Negate negate)
{
    for (int i = 0; i < n; ++i)
        if (p[i].isValid())
            negate(p[i]);
}

} // namespace

void MPointCloud::getXValues(double *values) const { extractValues(points(), numPoints(), values, [](const MVector3d &p) { return p.x(); }); }
void MPointCloud::getYValues(double *values) const { extractValues(points(), numPoints(), values, [](const MVector3d &p) { return p.y(); }); }
void MPointCloud::getZValues(double *values) const { extractValues(points(), numPoints(), values, [](const MVector3d &p) { return p.z(); }); }

void MPointCloud::flipX() { negateValid(points(), numPoints(), [](MVector3d &p) { p.setX(-p.x()); }); }
void MPointCloud::flipY() { negateValid(points(), numPoints(), [](MVector3d &p) { p.setY(-p.y()); }); }
void MPointCloud::flipZ() { negateValid(points(), numPoints(), [](MVector3d &p) { p.setZ(-p.z()); }); }

void MPointCloud::applyTransformation(const MMatrix4 &m)
{
    // Local copies: the point stores cannot alias them, so the elements stay
    // in registers for the whole loop.
    const MMatrix4 transform = m;
    MVector3d *p = points();
    const int n = numPoints();
    for (int i = 0; i < n; ++i)
        transform.transform(p[i]);
    // Normals take the 3x3 block as it stands: right for rotations, and
    // knowingly not the inverse transpose that a shear or scaling would need.
    MVector3f *normal = normals();
    const int numNormal = numNormals();
    for (int i = 0; i < numNormal; ++i)
        transform.rotateAndScale(normal[i]);
}

int MPointCloud::removeInvalidPoints()
{
    const int n = numPoints();
    // Colours and normals of another length never matched the points; they
    // are left as they are.
    const bool withColors = colorsAligned();
    const bool withNormals = normalsAligned();
    int kept = 0;
    withElementCopy(*this, *this, withColors, withNormals, [&](const auto &copy) { kept = copyValidPoints(copy, 0, n, 0); });
    if (kept == n)
        return n;
    m_points.resize(kept);
    if (withColors)
        m_colors.resize(kept);
    if (withNormals)
        m_normals.resize(kept);
    m_height = 0;
    m_width = 0;
    return kept;
}

int MPointCloud::compressMemory()
{
    // Capacity is deliberately kept: the cloud is compacted in place, and its
    // storage stays available for refilling.
    return removeInvalidPoints();
}

int MPointCloud::cleanPointsOutsideRange(double range)
{
    const MVector3d *p = points();
    return invalidateWhere(points(), numPoints(), [&](int i) {
        return std::fabs(p[i].x()) > range || std::fabs(p[i].y()) > range || std::fabs(p[i].z()) > range;
    });
}

void MPointCloud::transpose()
{
    if (!isOrganized2d())
        return MFailure::raise("MPointCloud::transpose: the point cloud must be 2d-organized!");
    MVector3dArray transposed(numPoints());
    const MVector3d *src = points();
    MVector3d *dst = transposed.data();
    for (int row = 0; row < m_height; ++row)
        for (int col = 0; col < m_width; ++col)
            dst[static_cast<std::size_t>(col) * m_height + row] = src[static_cast<std::size_t>(row) * m_width + col];
    transposed.transferDataTo(m_points);
    // Colours and normals keep the old order: only the points move.
    std::swap(m_height, m_width);
}

// ---- Sub-clouds

void MPointCloud::allocate(int n, bool withColors, bool withNormals)
{
    m_points.resize(n);
    if (withColors)
        m_colors.resize(n);
    if (withNormals)
        m_normals.resize(n);
}

MPointCloud MPointCloud::subset(int first, int last) const
{
    first = std::max(first, 0);
    last = std::min(last, numPoints());
    MPointCloud result;
    if (first >= last)
        return result;
    const bool withColors = colorsAligned(), withNormals = normalsAligned();
    result.allocate(last - first, withColors, withNormals);
    int kept = 0;
    withElementCopy(*this, result, withColors, withNormals, [&](const auto &copy) { kept = copyValidPoints(copy, first, last, 0); });
    result.resize(kept);
    return result;
}

MPointCloud MPointCloud::gathered(const int *indices, int n) const
{
    const bool withColors = colorsAligned(), withNormals = normalsAligned();
    MPointCloud result;
    result.allocate(n, withColors, withNormals);
    int kept = 0;
    withElementCopy(*this, result, withColors, withNormals, [&](const auto &copy) {
        for (int k = 0; k < n; ++k)
            if (copy.isValid(indices[k]))
                copy.copyValid(indices[k], kept++);
    });
    result.resize(kept);
    return result;
}

MPointCloud MPointCloud::operator+(const MPointCloud &other) const
{
    const bool withColors = colorsAligned() && other.colorsAligned();
    const bool withNormals = normalsAligned() && other.normalsAligned();
    MPointCloud result;
    result.allocate(detail::representableCount(std::int64_t(numPoints()) + other.numPoints()), withColors, withNormals);
    int kept = 0;
    withElementCopy(*this, result, withColors, withNormals, [&](const auto &copy) { kept = copyValidPoints(copy, 0, numPoints(), 0); });
    withElementCopy(other, result, withColors, withNormals, [&](const auto &copy) { kept = copyValidPoints(copy, 0, other.numPoints(), kept); });
    result.resize(kept);
    return result;
}

MPointCloud MPointCloud::roi(int row, int col, int numRows, int numCols) const
{
    if (!isOrganized2d())
        return MFailure::raise("MPointCloud::roi(): this method requires a 2d organization", MPointCloud());
    // A negative size counts back from the start; the rectangle is then
    // clipped to the grid. 64-bit sums keep extreme arguments from wrapping.
    auto span = [](long long start, long long length, int limit) {
        if (length < 0) {
            start += length;
            length = -length;
        }
        const long long begin = std::clamp<long long>(start, 0, limit);
        const long long end = std::clamp<long long>(start + length, 0, limit);
        return std::make_pair(static_cast<int>(begin), static_cast<int>(end - begin));
    };
    // Plain names rather than structured bindings: the lambda below captures them.
    const std::pair<int, int> rowSpan = span(row, numRows, m_height);
    const std::pair<int, int> colSpan = span(col, numCols, m_width);
    const int row0 = rowSpan.first, rows = rowSpan.second;
    const int col0 = colSpan.first, cols = colSpan.second;

    MPointCloud result;
    result.allocate(rows * cols, hasColors(), hasNormals());
    result.setOrganized2d(rows, cols);
    withElementCopy(*this, result, hasColors(), hasNormals(), [&](const auto &copy) {
        std::size_t to = 0;
        for (int r = 0; r < rows; ++r) {
            const std::size_t rowStart = static_cast<std::size_t>(row0 + r) * m_width + col0;
            for (int c = 0; c < cols; ++c)
                copy(rowStart + c, to++);
        }
    });
    return result;
}

MPointCloud MPointCloud::subsampled(int step) const
{
    if (step < 1)
        return MFailure::raise("MPointCloud::subsampled(): parameter out of range!", MPointCloud());
    auto samples = [step](int count) { return count > 0 ? (count - 1) / step + 1 : 0; };
    const bool organized = isOrganized2d();
    // An unorganised cloud is sampled as one row.
    const int rows = organized ? samples(m_height) : 1;
    const int cols = samples(organized ? m_width : numPoints());
    const std::size_t rowStride = organized ? static_cast<std::size_t>(step) * m_width : 0;

    MPointCloud result;
    result.allocate(rows * cols, hasColors(), hasNormals());
    if (organized)
        result.setOrganized2d(rows, cols);
    withElementCopy(*this, result, hasColors(), hasNormals(), [&](const auto &copy) {
        std::size_t to = 0;
        for (int r = 0; r < rows; ++r) {
            const std::size_t rowStart = r * rowStride;
            for (int c = 0; c < cols; ++c)
                copy(rowStart + static_cast<std::size_t>(c) * step, to++);
        }
    });
    return result;
}

MPointCloud operator*(const MMatrix4 &m, const MPointCloud &cloud)
{
    MPointCloud transformed(cloud);
    transformed.applyTransformation(m);
    return transformed;
}

template class MTypedArray<MPointCloudArray, MPointCloud>;

} // namespace ZOLAR3D
