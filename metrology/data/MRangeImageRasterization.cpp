#include "MRangeImage.h"

#include "MBox.h"
#include "MMatrix3.h"
#include "MPointCloud.h"
#include "MVector3dArray.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

namespace ZOLAR3D {

namespace {

// A box edge that is a whole number of steps in real arithmetic, such as
// 0.3 / 0.1, misses that number by a rounding error; within this relative
// tolerance it still counts as whole, so that the last row is not lost.
constexpr double WholeStepTolerance = 1e-9;

// A point on a pixel centre gives its neighbours shares of the order of the
// rounding error; such shares must not make those pixels valid.
constexpr double MinShare = 1e-9;

// How far a frame may be from orthonormal and still pass for a rotation.
constexpr double FrameTolerance = 1e-6;

bool isPositiveStep(double step) { return step > 0.0 && std::isfinite(step); }

bool isOrthonormal(const MMatrix3 &m)
{
    const double *a = m.data();
    for (int i = 0; i < 3; ++i) {
        for (int j = 0; j < 3; ++j) {
            const double dot = a[i] * a[j] + a[3 + i] * a[3 + j] + a[6 + i] * a[6 + j];
            if (!(std::fabs(dot - (i == j ? 1.0 : 0.0)) <= FrameTolerance))
                return false;
        }
    }
    return true;
}

// A valid box with finite edges and a rigid pose; only its x and y edges
// matter, since its height does not crop.
bool isUsableBox(const MBox &box)
{
    const MVector3d &size = box.size();
    const MVector3d origin = box.pose().translation();
    return box.isValid() && size.x() >= 0.0 && size.y() >= 0.0 && std::isfinite(size.x()) &&
           std::isfinite(size.y()) && std::isfinite(origin.x()) && std::isfinite(origin.y()) &&
           std::isfinite(origin.z()) && isOrthonormal(box.pose().subMatrix3());
}

// trunc(size / step) + 1, the pixels along one box edge. A count the grid
// cannot index is left for resize to refuse as an allocation failure.
int pixelsAlong(double size, double step)
{
    const double ratio = size / step;
    const double whole = std::floor(ratio + WholeStepTolerance * std::max(1.0, ratio));
    return int(std::min(whole, double(INT_MAX - 1))) + 1;
}

bool hasValidPoint(const MVector3d *points, int count)
{
    return std::any_of(points, points + std::max(count, 0), [](const MVector3d &p) { return p.isValid(); });
}

// World to image coordinates (row, column, height) of a rigid pose. The
// point is first taken relative to the pose's origin, so that scans far from
// the world origin keep their digits.
class ImageMapping {
public:
    explicit ImageMapping(const MRangeImage &image)
    {
        const MMatrix4 &pose = image.pose();
        const double *m = pose.data();
        // The row is the image x, scaled by the column size; the column is
        // the image y, scaled by the row size: the pairing of the grid.
        for (int k = 0; k < 3; ++k) {
            m_row[k] = m[4 * k] / image.pixelSizeColumns();
            m_col[k] = m[4 * k + 1] / image.pixelSizeRows();
            m_z[k] = m[4 * k + 2];
        }
        m_origin = pose.translation();
    }

    MVector3d operator()(const MVector3d &p) const
    {
        const double dx = p.x() - m_origin.x(), dy = p.y() - m_origin.y(), dz = p.z() - m_origin.z();
        return {m_row[0] * dx + m_row[1] * dy + m_row[2] * dz, m_col[0] * dx + m_col[1] * dy + m_col[2] * dz,
                m_z[0] * dx + m_z[1] * dy + m_z[2] * dz};
    }

private:
    double m_row[3], m_col[3], m_z[3];
    MVector3d m_origin;
};

// Weighted sums per pixel: heights, and colour channels with a weight of
// their own, since a pixel may hold a height without a colour.
class RasterSums {
public:
    RasterSums(int height, int width, bool withColors)
        : m_height(height), m_width(width), m_heights(std::size_t(height) * width),
          m_colors(withColors ? std::size_t(height) * width : 0)
    {
    }

    // The point's shares for the (up to) four pixels of the cell holding it;
    // false when none reaches the grid.
    bool addPoint(const MVector3d &imagePoint, const MColor *color)
    {
        const double row = imagePoint.x(), col = imagePoint.y(), z = imagePoint.z();
        // Positive tests, so that NaN never reaches the integer conversion.
        if (!(row > -1.0 && row < m_height && col > -1.0 && col < m_width && std::isfinite(z)))
            return false;
        const double top = std::floor(row), left = std::floor(col);
        const int r0 = int(top), c0 = int(left);
        const double fr = row - top, fc = col - left;
        const double rowShare[2] = {1.0 - fr, fr};
        const double colShare[2] = {1.0 - fc, fc};
        bool reached = false;
        for (int dr = 0; dr < 2; ++dr) {
            const int r = r0 + dr;
            if (r < 0 || r >= m_height)
                continue;
            for (int dc = 0; dc < 2; ++dc) {
                const int c = c0 + dc;
                const double weight = rowShare[dr] * colShare[dc];
                if (c < 0 || c >= m_width || weight < MinShare)
                    continue;
                addShare(std::size_t(r) * m_width + c, weight, z, color);
                reached = true;
            }
        }
        return reached;
    }

    void addShare(std::size_t pixel, double weight, double z, const MColor *color)
    {
        m_heights[pixel].weight += weight;
        m_heights[pixel].z += weight * z;
        if (color && !m_colors.empty()) {
            ColorSum &sum = m_colors[pixel];
            sum.weight += weight;
            sum.alpha += weight * color->alpha();
            sum.red += weight * color->red();
            sum.green += weight * color->green();
            sum.blue += weight * color->blue();
        }
    }

    // Writes the weighted means; pixels without shares, and valid ones when
    // they are to be kept, are left as they are.
    void writeTo(MRangeImage &image, bool keepValidPixels) const
    {
        double *values = image.values();
        MColor *colors = m_colors.empty() ? nullptr : image.colors();
        for (std::size_t i = 0; i < m_heights.size(); ++i) {
            if (keepValidPixels && values[i] != MInvalid)
                continue;
            if (m_heights[i].weight > 0.0)
                values[i] = m_heights[i].z / m_heights[i].weight;
            if (colors && m_colors[i].weight > 0.0)
                colors[i] = m_colors[i].mean();
        }
    }

private:
    struct HeightSum {
        double weight = 0.0, z = 0.0;
    };
    struct ColorSum {
        double weight = 0.0, alpha = 0.0, red = 0.0, green = 0.0, blue = 0.0;
        MColor mean() const
        {
            const auto channel = [this](double sum) { return int(std::lround(std::clamp(sum / weight, 0.0, 255.0))); };
            return MColor(channel(red), channel(green), channel(blue), channel(alpha));
        }
    };

    int m_height, m_width;
    std::vector<HeightSum> m_heights;
    std::vector<ColorSum> m_colors;
};

int addPoints(RasterSums &sums, const MRangeImage &image, const MVector3d *points, const MColor *colors, int count)
{
    const ImageMapping toImage(image);
    int reached = 0;
    for (int i = 0; i < count; ++i)
        if (points[i].isValid())
            reached += sums.addPoint(toImage(points[i]), colors ? colors + i : nullptr);
    return reached;
}

// Pixel sizes, grid and pose of the box's raster, with every value invalid
// and no colours. False, with the image untouched, when the raster cannot be made.
bool initRasterization(const MVector3d *points, int count, double sizeRows, double sizeColumns, const MBox &box,
                       MRangeImage &out)
{
    if (!isPositiveStep(sizeRows) || !isPositiveStep(sizeColumns) || !isUsableBox(box) ||
        !hasValidPoint(points, count))
        return false;
    out.clearColors();
    out.resize(pixelsAlong(box.size().y(), sizeColumns), pixelsAlong(box.size().x(), sizeRows));
    out.setPixelSize(sizeRows, sizeColumns);
    // The image x, its row, runs along the box's y.
    out.setPose(MMatrix4::Pose(box.yDirection(), box.xDirection(), box.zDirection(), box.minCorner()));
    return true;
}

bool rasterize(MRangeImage &out, const MVector3d *points, const MColor *colors, int count, const MBox &box,
               double sizeRows, double sizeColumns)
{
    if (!initRasterization(points, count, sizeRows, sizeColumns, box, out))
        return false;
    if (colors)
        out.createColors(MColor::LightGray);
    RasterSums sums(out.height(), out.width(), colors != nullptr);
    addPoints(sums, out, points, colors, count);
    sums.writeTo(out, false);
    return true;
}

// The smallest box with the frame's orientation that holds every valid
// point; an invalid box when there is none. A point at infinity could only
// make the box unusable, so it does not count.
MBox boundingBoxIn(const MMatrix3 &frame, const MVector3d *points, int count)
{
    const MMatrix3 toFrame = frame.transposed();
    MVector3d low, high;
    for (int i = 0; i < count; ++i) {
        if (!points[i].isValid())
            continue;
        const MVector3d local = toFrame * points[i];
        if (!(std::isfinite(local.x()) && std::isfinite(local.y()) && std::isfinite(local.z())))
            continue;
        low = MVector3d::minimum(low, local);
        high = MVector3d::maximum(high, local);
    }
    if (!low.isValid())
        return MBox();
    MMatrix4 pose = MMatrix4::FromMatrix3(frame);
    pose.setTranslation(frame * ((low + high) * 0.5));
    return MBox(high - low, pose);
}

// A right-handed frame whose z is the given unit vector and which is the
// world frame for +z: x is the world y crossed with z, or the world x made
// perpendicular to z when z lies too close to the world y for that.
MMatrix3 frameAlong(const MVector3d &z)
{
    const MVector3d x = std::fabs(z.y()) < 0.9 ? MVector3d::YUnit.cross(z).normalized()
                                               : (MVector3d::XUnit - z * z.x()).normalized();
    const MVector3d y = z.cross(x);
    MMatrix3 frame;
    double *m = frame.data();
    for (int k = 0; k < 3; ++k) {
        m[3 * k] = x[k];
        m[3 * k + 1] = y[k];
        m[3 * k + 2] = z[k];
    }
    return frame;
}

// Median distance across the xy plane between valid neighbours of the
// grid, so that a few stray points cannot set it; 0 when no two neighbours
// are valid.
double medianGridSpacing(const MPointCloud &cloud)
{
    const int height = cloud.height(), width = cloud.width();
    const MVector3d *p = cloud.points();
    std::vector<double> distances;
    const auto addPair = [&](const MVector3d &a, const MVector3d &b) {
        if (b.isValid())
            distances.push_back(std::hypot(b.x() - a.x(), b.y() - a.y()));
    };
    for (int row = 0; row < height; ++row) {
        for (int col = 0; col < width; ++col) {
            const MVector3d &here = p[std::size_t(row) * width + col];
            if (!here.isValid())
                continue;
            if (col + 1 < width)
                addPair(here, p[std::size_t(row) * width + col + 1]);
            if (row + 1 < height)
                addPair(here, p[std::size_t(row + 1) * width + col]);
        }
    }
    if (distances.empty())
        return 0.0;
    const auto middle = distances.begin() + distances.size() / 2;
    std::nth_element(distances.begin(), middle, distances.end());
    return *middle;
}

// The spacing of n points spread evenly over a footprint: over its area, or
// along its length when the points lie on a line, and the default pixel size
// when they all lie on one spot.
double evenSpacing(const MVector3d &footprint, int n)
{
    const double longer = std::max(footprint.x(), footprint.y());
    const double shorter = std::min(footprint.x(), footprint.y());
    if (shorter > 0.0)
        return std::sqrt(longer * shorter / n);
    if (longer > 0.0)
        return longer / (n - 1);
    return 1.0;
}

} // namespace

MRangeImage::MRangeImage(const MPointCloud &cloud) { from(cloud); }

bool MRangeImage::from(const MPointCloud &cloud, const MBox &box, double sizeRows, double sizeColumns)
{
    const MColor *colors = cloud.hasColors() ? cloud.colors() : nullptr;
    return rasterize(*this, cloud.points(), colors, cloud.numPoints(), box, sizeRows, sizeColumns);
}

bool MRangeImage::from(const MPointCloud &cloud, const MMatrix3 &frame, double sizeRows, double sizeColumns)
{
    if (!isOrthonormal(frame))
        return false;
    return from(cloud, boundingBoxIn(frame, cloud.points(), cloud.numPoints()), sizeRows, sizeColumns);
}

bool MRangeImage::from(const MPointCloud &cloud, const MVector3d &viewDirection, double sizeRows, double sizeColumns)
{
    const MVector3d view = viewDirection.normalized();
    if (!view.isValid())
        return false;
    return from(cloud, frameAlong(-view), sizeRows, sizeColumns);
}

bool MRangeImage::from(const MPointCloud &cloud)
{
    const MBox box = boundingBoxIn(MMatrix3::Identity, cloud.points(), cloud.numPoints());
    if (!box.isValid())
        return false;
    const double even = evenSpacing(box.size(), cloud.numValidPoints());
    const double grid = cloud.isOrganized2d() ? medianGridSpacing(cloud) : 0.0;
    const double spacing = grid > 0.0 ? std::max(grid, 0.5 * even) : even;
    return from(cloud, box, spacing, spacing);
}

bool MRangeImage::from(const MRangeImage &image, const MBox &box, double sizeRows, double sizeColumns)
{
    // Taken out first: the source may be this very image.
    MVector3dArray points(image.size());
    image.getWorldPoints(points.data());
    const MColorArray colors = image.hasColors() ? MColorArray(image.colors(), image.size()) : MColorArray();
    return rasterize(*this, points.data(), colors.isEmpty() ? nullptr : colors.data(), points.size(), box, sizeRows,
                     sizeColumns);
}

int MRangeImage::integrate(const MPointCloud &cloud, bool keepValidPixels)
{
    if (size() == 0)
        return 0;
    const MColor *colors = cloud.hasColors() ? cloud.colors() : nullptr;
    const bool hadColors = hasColors();
    if (colors)
        createColors(MColor::LightGray);
    RasterSums sums(m_height, m_width, colors != nullptr);
    // Blending: a value already in the image is one full share at its pixel centre.
    if (!keepValidPixels) {
        for (int i = 0; i < size(); ++i)
            if (m_values[i] != MInvalid)
                sums.addShare(std::size_t(i), 1.0, m_values[i], hadColors ? m_colors.data() + i : nullptr);
    }
    const int reached = addPoints(sums, *this, cloud.points(), colors, cloud.numPoints());
    sums.writeTo(*this, keepValidPixels);
    return reached;
}

} // namespace ZOLAR3D
