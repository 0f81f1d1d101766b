// Point clouds made from other data: points on a sphere and the points of a
// range image, with the range image's own members that go through its cloud.
#include "MPointCloud.h"

#include "MAngle.h"
#include "MBoolArray.h"
#include "MBox.h"
#include "MRangeImage.h"
#include "MSphere.h"
#include "metrology/data/detail/MPointAggregates.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ZOLAR3D {

void MPointCloud::from(const MSphere &sphere, int n)
{
    clear();
    if (n < 1 || !sphere.isValid())
        return;
    m_points.resize(n);
    m_normals.resize(n);
    const MVector3d centre = sphere.position();
    const double radius = sphere.radius();
    const double step = 2.0 / n;
    // The turn per point, taken as the spiral of this library has always
    // laid its points, so that generated clouds stay reproducible.
    const double turn = std::sqrt(5.0) * 3.0 * MAngle::Pi;
    for (int k = 0; k < n; ++k) {
        const double y = k * step - 1.0 + step / 2.0;
        const double r = std::sqrt(1.0 - y * y);
        const double a = ((k + 1) % n) * turn;
        const MVector3d unit(std::cos(a) * r, y, std::sin(a) * r);
        m_points[k] = centre + unit * radius;
        m_normals[k] = unit.toVector3f();
    }
}

namespace {

// Marks every pixel that is a corner of a valid quad: the pixels that a
// surface of the image runs through. An isolated valid pixel is no surface.
std::vector<unsigned char> surfacePixels(const MRangeImage &image)
{
    const int width = image.width();
    std::vector<unsigned char> onSurface(std::size_t(image.size()), 0);
    for (int row = 0; row + 1 < image.height(); ++row) {
        for (int col = 0; col + 1 < width; ++col) {
            if (!image.isValidQuad(row, col, 1))
                continue;
            const std::size_t top = std::size_t(row) * width + col;
            onSurface[top] = onSurface[top + 1] = 1;
            onSurface[top + width] = onSurface[top + width + 1] = 1;
        }
    }
    return onSurface;
}

} // namespace

void MPointCloud::from(const MRangeImage &image, bool withNormals, bool withColors)
{
    fromImage(image, nullptr, 0, withNormals, withColors);
}

void MPointCloud::from(const MRangeImage &image, const MBoolArray &mask, bool withNormals, bool withColors)
{
    fromImage(image, mask.data(), mask.size(), withNormals, withColors);
}

void MPointCloud::fromImage(const MRangeImage &image, const bool *mask, int maskSize, bool withNormals, bool withColors)
{
    clear();
    const int n = image.size();
    m_points.resize(n);
    m_points.init(MVector3d::Infinity);
    setOrganized2d(image.height(), image.width());
    if (withNormals) {
        m_normals.resize(n);
        m_normals.init(MVector3f::Infinity);
    }
    if (withColors && image.hasColors())
        m_colors.setData(image.colors(), n);

    std::vector<unsigned char> selected = surfacePixels(image);
    if (mask)
        for (int i = 0; i < n; ++i)
            selected[i] &= i < maskSize && mask[i];
    for (int row = 0, i = 0; row < image.height(); ++row) {
        for (int col = 0; col < image.width(); ++col, ++i) {
            if (!selected[i])
                continue;
            m_points[i] = image.worldPoint(row, col);
            if (withNormals)
                m_normals[i] = image.worldNormal(row, col);
        }
    }
}

// ---- Range image members that see the image as scan data

MPointCloud MRangeImage::toPointCloud(bool withNormals, bool withColors) const
{
    MPointCloud cloud;
    cloud.from(*this, withNormals, withColors);
    return cloud;
}

namespace {

// Calls visit with the world point of every pixel whose point is valid; a
// NaN height counts as a valid pixel but gives no valid point.
template <class Visit>
void forWorldPoints(const MRangeImage &image, Visit visit)
{
    for (int row = 0; row < image.height(); ++row) {
        for (int col = 0; col < image.width(); ++col) {
            const MVector3d p = image.worldPoint(row, col);
            if (p.isValid())
                visit(p);
        }
    }
}

} // namespace

void MRangeImage::boundingBox(MVector3d &minimum, MVector3d &maximum) const
{
    detail::MCornerBounds bounds;
    forWorldPoints(*this, [&](const MVector3d &p) { bounds.add(p); });
    minimum = bounds.minimum;
    maximum = bounds.maximum;
}

MBox MRangeImage::boundingBox() const
{
    MVector3d minimum, maximum;
    boundingBox(minimum, maximum);
    return MBox(minimum, maximum);
}

// Normals and colours play no part in the box, so the cloud is made without them.
MBox MRangeImage::poseBoundingBox() const { return toPointCloud(false, false).poseBoundingBox(); }

MVector3d MRangeImage::centroid() const
{
    detail::MMeanPoint mean;
    forWorldPoints(*this, [&](const MVector3d &p) { mean.add(p); });
    return mean.mean();
}

MVector3d MRangeImage::averageNormal() const
{
    MVector3d sum(0.0, 0.0, 0.0);
    for (int row = 0; row + 1 < m_height; ++row)
        for (int col = 0; col + 1 < m_width; ++col)
            if (isValidQuad(row, col, 1))
                sum += quadNormal(row, col);
    return (m_pose.subMatrix3() * sum).normalized();
}

} // namespace ZOLAR3D
