#include "MRangeImage.h"

#include "MFailure.h"
#include "MMatrix3.h"
#include "metrology/data/detail/MGridCount.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace ZOLAR3D {

double MRangeImage::MaxZSlope = 3.0;

namespace {

const char *const IndexFailureText = "MRangeImage: index out of range!";
const char *const NormalFailureText = "MRangeImage::computeNormals(): parameter out of range!";

} // namespace

MRangeImage::MRangeImage() = default;

MRangeImage::MRangeImage(int height, int width) { resize(height, width); }

MRangeImage::MRangeImage(MRangeImage &&other) noexcept { other.transferDataTo(*this); }

MRangeImage &MRangeImage::operator=(MRangeImage &&other) noexcept
{
    other.transferDataTo(*this);
    return *this;
}

MRangeImage &MRangeImage::operator=(const MRangeImage &other)
{
    if (this == &other)
        return *this;
    m_values = other.m_values;
    m_colors = other.m_colors;
    m_pixelSizeRows = other.m_pixelSizeRows;
    m_pixelSizeColumns = other.m_pixelSizeColumns;
    m_maxZSlope = other.m_maxZSlope;
    m_pose = other.m_pose;
    m_imageToWorld = other.m_imageToWorld;
    m_worldToImage = other.m_worldToImage;
    m_height = other.m_height;
    m_width = other.m_width;
    return *this;
}

bool MRangeImage::operator==(const MRangeImage &other) const
{
    return m_values == other.m_values && m_colors == other.m_colors && m_pixelSizeRows == other.m_pixelSizeRows &&
           m_pixelSizeColumns == other.m_pixelSizeColumns && m_maxZSlope == other.m_maxZSlope && m_pose == other.m_pose &&
           m_imageToWorld == other.m_imageToWorld && m_worldToImage == other.m_worldToImage && m_height == other.m_height &&
           m_width == other.m_width;
}

void MRangeImage::transferDataTo(MRangeImage &dest)
{
    if (this == &dest)
        return;
    dest.clear();
    dest.m_pixelSizeRows = m_pixelSizeRows;
    dest.m_pixelSizeColumns = m_pixelSizeColumns;
    dest.m_maxZSlope = m_maxZSlope;
    dest.m_pose = m_pose;
    dest.m_imageToWorld = m_imageToWorld;
    dest.m_worldToImage = m_worldToImage;
    dest.m_height = m_height;
    dest.m_width = m_width;
    m_values.transferDataTo(dest.m_values);
    m_colors.transferDataTo(dest.m_colors);
    // Without its values the grid is empty too, so no access can run past them.
    m_height = 0;
    m_width = 0;
}

void MRangeImage::raiseIndexFailure()
{
    static const MException error(IndexFailureText);
    MFailure::raise(error);
}

double &MRangeImage::indexFailureValue()
{
    // Shared by every failed access; refilled each time so that a caller who
    // wrote through an earlier failure cannot change what the next one reads.
    static double dummy;
    raiseIndexFailure();
    dummy = MInvalid;
    return dummy;
}

void MRangeImage::setGrid(int height, int width)
{
    // A grid without pixels is 0 x 0: a row count without columns (or the
    // reverse) would only make every row-by-row loop spin over nothing.
    if (height <= 0 || width <= 0)
        height = width = 0;
    m_values.resize(detail::gridCount(height, width));
    m_height = height;
    m_width = width;
}

void MRangeImage::setGridWithin(std::int64_t height, std::int64_t width, std::uint64_t maxPixels)
{
    const bool fits = height >= 0 && width >= 0 && std::uint64_t(height * width) <= std::min<std::uint64_t>(maxPixels, INT_MAX);
    if (fits)
        setGrid(int(height), int(width));
    else
        setGrid(0, 0);
}

void MRangeImage::resize(int height, int width)
{
    setGrid(height, width);
    m_values.init(MInvalid);
    if (!m_colors.isEmpty())
        m_colors.resize(size(), MColor::LightGray);
}

void MRangeImage::init(double value) { m_values.init(value); }

void MRangeImage::invalidate() { m_values.init(MInvalid); }

void MRangeImage::clear()
{
    m_values.clear();
    m_colors.clear();
    m_height = 0;
    m_width = 0;
}

void MRangeImage::clearValues()
{
    m_values.clear();
    m_height = 0;
    m_width = 0;
}

void MRangeImage::clearColors() { m_colors.clear(); }

void MRangeImage::createColors(const MColor &color)
{
    if (m_colors.size() == size())
        return;
    m_colors.clear();
    m_colors.resize(size(), color);
}

int MRangeImage::numValidPoints() const
{
    return int(std::count_if(values(), values() + size(), [](double z) { return z != MInvalid; }));
}

void MRangeImage::setValues(const double *src)
{
    if (src && size() > 0)
        std::memmove(m_values.data(), src, std::size_t(size()) * sizeof(double));
}

void MRangeImage::setColors(const MColor *src)
{
    if (!src)
        return;
    if (m_colors.size() != size()) {
        m_colors.clear();
        m_colors.resize(size());
    }
    if (size() > 0)
        std::memmove(static_cast<void *>(m_colors.data()), src, std::size_t(size()) * sizeof(MColor));
}

void MRangeImage::setValue(int i, double z)
{
    if (isInRange(i))
        m_values[i] = z;
    else
        raiseIndexFailure();
}

void MRangeImage::setValue(int row, int col, double z)
{
    if (isInRange(row, col))
        m_values[row * m_width + col] = z;
    else
        raiseIndexFailure();
}

void MRangeImage::invalidate(int i) { setValue(i, MInvalid); }

void MRangeImage::invalidate(int row, int col) { setValue(row, col, MInvalid); }

MColor MRangeImage::color(int i) const
{
    return unsigned(i) < unsigned(m_colors.size()) ? m_colors[i] : indexFailure(MColor::Transparent);
}

MColor MRangeImage::color(int row, int col) const
{
    return isInRange(row, col) ? color(row * m_width + col) : indexFailure(MColor::Transparent);
}

void MRangeImage::setColor(int i, const MColor &color)
{
    if (unsigned(i) < unsigned(m_colors.size()))
        m_colors[i] = color;
    else
        raiseIndexFailure();
}

void MRangeImage::setColor(int row, int col, const MColor &color)
{
    if (isInRange(row, col))
        setColor(row * m_width + col, color);
    else
        raiseIndexFailure();
}

void MRangeImage::setPixelSize(double rows, double columns)
{
    m_pixelSizeRows = rows;
    m_pixelSizeColumns = columns;
    updateMatrices();
}

void MRangeImage::setPose(const MMatrix4 &pose)
{
    m_pose = pose;
    updateMatrices();
}

void MRangeImage::applyTransformation(const MMatrix4 &m)
{
    m_pose = m * m_pose;
    updateMatrices();
}

void MRangeImage::updateMatrices()
{
    // The image x (the row) scales with the column size and the image y (the
    // column) with the row size: the library's pairing, kept for its files and callers.
    m_imageToWorld = m_pose * MMatrix4::Scaling(m_pixelSizeColumns, m_pixelSizeRows, 1.0);
    // The pose is taken as rigid, so its inverse is the transposed rotation
    // after the negated translation.
    m_worldToImage = MMatrix4::Scaling(1.0 / m_pixelSizeColumns, 1.0 / m_pixelSizeRows, 1.0) *
                     MMatrix4::FromMatrix3(m_pose.subMatrix3().transposed()) * MMatrix4::Translation(-m_pose.translation());
}

void MRangeImage::transpose()
{
    // Only the values move: colours, pixel sizes and pose stay as callers of
    // this operation have always found them.
    MDoubleArray transposed(size());
    const double *src = values();
    for (int row = 0; row < m_height; ++row)
        for (int col = 0; col < m_width; ++col)
            transposed[col * m_height + row] = src[row * m_width + col];
    transposed.transferDataTo(m_values);
    std::swap(m_height, m_width);
}

MVector3d MRangeImage::worldPoint(int i) const
{
    if (!isInRange(i))
        return indexFailure(MVector3d::Infinity);
    return worldPoint(i / m_width, i % m_width);
}

MVector3d MRangeImage::worldPoint(int row, int col) const
{
    if (!isInRange(row, col))
        return MVector3d::Infinity;
    const double z = m_values[row * m_width + col];
    if (z == MInvalid)
        return MVector3d::Infinity;
    // Affine on purpose: the derived matrix has no perspective row.
    const double *m = m_imageToWorld.data();
    return MVector3d(m[0] * row + m[1] * col + m[2] * z + m[3], m[4] * row + m[5] * col + m[6] * z + m[7],
                     m[8] * row + m[9] * col + m[10] * z + m[11]);
}

MVector3d MRangeImage::imagePoint(int i) const
{
    if (!isInRange(i))
        return indexFailure(MVector3d::Infinity);
    return imagePoint(i / m_width, i % m_width);
}

MVector3d MRangeImage::imagePoint(int row, int col) const
{
    if (!isInRange(row, col))
        return MVector3d::Infinity;
    const double z = m_values[row * m_width + col];
    return z == MInvalid ? MVector3d::Infinity : MVector3d(row, col, z);
}

int MRangeImage::numValidQuads() const
{
    int count = 0;
    for (int row = 0; row + 1 < m_height; ++row)
        for (int col = 0; col + 1 < m_width; ++col)
            count += isValidQuad(row, col, 1);
    return count;
}

MVector3d MRangeImage::projection(const MVector3d &p, const MMatrix4 &worldToImage, double *zDistanceOut) const
{
    MVector3d onImage;
    const double d = zDistance(p, worldToImage, &onImage);
    if (zDistanceOut)
        *zDistanceOut = d;
    if (d == MInvalid)
        return MVector3d::Infinity;
    onImage.setZ(onImage.z() - d);
    return m_imageToWorld * onImage;
}

MVector3d MRangeImage::quadNormal(int row, int col) const
{
    const double sr = m_pixelSizeRows;
    const double sc = m_pixelSizeColumns;
    const double *top = values() + std::ptrdiff_t(row) * m_width + col;
    const double za = top[0], zb = top[1], zc = top[m_width], zd = top[m_width + 1];
    // The cross product of the diagonals (d - a) x (b - c) of the scaled
    // corners, written out; it points to rising image Z.
    return {sr * (za + zb - zc - zd), -sc * (zd - za + zb - zc), 2.0 * sc * sr};
}

MVector3f MRangeImage::localNormal(int i) const
{
    if (!isInRange(i))
        return MFailure::raise(NormalFailureText, MVector3f::Infinity);
    return localNormal(i / m_width, i % m_width);
}

MVector3f MRangeImage::localNormal(int row, int col) const
{
    if (!isInRange(row, col))
        return MFailure::raise(NormalFailureText, MVector3f::Infinity);
    MVector3d sum(0.0, 0.0, 0.0);
    for (int r = std::max(row - 1, 0); r < std::min(row + 1, m_height); ++r) {
        for (int c = std::max(col - 1, 0); c < std::min(col + 1, m_width); ++c) {
            if (!isValidQuad(r, c, 1))
                continue;
            const MVector3d unit = quadNormal(r, c).normalized();
            if (unit.isValid())
                sum += unit;
        }
    }
    const MVector3d normal = sum.normalized();
    return normal.isValid() ? MVector3f(float(normal.x()), float(normal.y()), float(normal.z())) : MVector3f::Infinity;
}

MVector3f MRangeImage::worldNormal(int i) const
{
    if (!isInRange(i))
        return MFailure::raise(NormalFailureText, MVector3f::Infinity);
    return worldNormal(i / m_width, i % m_width);
}

MVector3f MRangeImage::worldNormal(int row, int col) const { return m_pose.subMatrix3() * localNormal(row, col); }

void MRangeImage::getLocalPoints(MVector3d *out) const
{
    for (int row = 0, i = 0; row < m_height; ++row)
        for (int col = 0; col < m_width; ++col, ++i)
            out[i] = m_values[i] == MInvalid ? MVector3d::Infinity
                                            : MVector3d(row * m_pixelSizeColumns, col * m_pixelSizeRows, m_values[i]);
}

void MRangeImage::getWorldPoints(MVector3d *out) const
{
    for (int row = 0, i = 0; row < m_height; ++row)
        for (int col = 0; col < m_width; ++col, ++i)
            out[i] = worldPoint(row, col);
}

void MRangeImage::getLocalNormals(MVector3f *out) const
{
    for (int row = 0, i = 0; row < m_height; ++row)
        for (int col = 0; col < m_width; ++col, ++i)
            out[i] = localNormal(row, col);
}

void MRangeImage::getWorldNormals(MVector3f *out) const
{
    const MMatrix3 rotation = m_pose.subMatrix3();
    for (int row = 0, i = 0; row < m_height; ++row)
        for (int col = 0; col < m_width; ++col, ++i)
            out[i] = rotation * localNormal(row, col);
}

void MRangeImage::getXValues(double *out) const
{
    for (int row = 0, i = 0; row < m_height; ++row)
        for (int col = 0; col < m_width; ++col, ++i)
            out[i] = m_values[i] == MInvalid ? MInvalid : row * m_pixelSizeColumns;
}

void MRangeImage::getYValues(double *out) const
{
    for (int row = 0, i = 0; row < m_height; ++row)
        for (int col = 0; col < m_width; ++col, ++i)
            out[i] = m_values[i] == MInvalid ? MInvalid : col * m_pixelSizeRows;
}

void MRangeImage::getZValues(double *out) const
{
    if (size() > 0)
        std::memcpy(out, values(), std::size_t(size()) * sizeof(double));
}

void MRangeImage::from(const unsigned short *data, int height, int width, double pixelSizeColumns, double pixelSizeRows,
                       double zScale)
{
    if (!data)
        return MFailure::raise("MRangeImage::from: nullpointer argument");
    resize(height, width);
    m_pixelSizeColumns = pixelSizeColumns;
    m_pixelSizeRows = pixelSizeRows;
    updateMatrices();
    double *z = values();
    for (int i = 0; i < size(); ++i)
        z[i] = data[i] == 0 ? MInvalid : data[i] * zScale;
}

} // namespace ZOLAR3D
