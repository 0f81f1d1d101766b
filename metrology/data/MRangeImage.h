#pragma once

#include "MColor.h"
#include "MColorArray.h"
#include "MDoubleArray.h"
#include "MInvalid.h"
#include "MMatrix4.h"
#include "MRegions.h"
#include "MVector3d.h"
#include "MVector3f.h"
#include "Zol3DExport.h"

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace ZOLAR3D {

class MBinaryReader;
class MBinaryWriter;
class MBox;
class MPointCloud;

// A height field on a regular grid: one Z value per pixel, row-major, and a
// pose that puts the grid into the world. An image point is (row, column, z)
// with the row as x. A pixel is invalid when its value is the library's
// invalid marker; a NaN counts as a valid value.
class ZOL3D_API MRangeImage {
public:
    // Slope limit of quads for every image whose own limit is negative.
    static double MaxZSlope;

    MRangeImage();
    // All pixels invalid.
    MRangeImage(int height, int width);
    // Rasterises the cloud through from(cloud).
    explicit MRangeImage(const MPointCloud &cloud);
    MRangeImage(const MRangeImage &other) = default;
    MRangeImage(MRangeImage &&other) noexcept;
    MRangeImage &operator=(const MRangeImage &other);
    MRangeImage &operator=(MRangeImage &&other) noexcept;

    bool operator==(const MRangeImage &other) const;
    bool operator!=(const MRangeImage &other) const { return !(*this == other); }

    // Hands values and colours over without copying; dest gets every member,
    // this image is left empty.
    void transferDataTo(MRangeImage &dest);

    // Storage. A grid with a dimension of 0 or below is the empty 0 x 0 grid;
    // one too large for the arrays raises std::bad_alloc.
    void resize(int height, int width);
    void init(double value);
    void invalidate();
    void clear();
    void clearValues();
    void clearColors();
    void createColors(const MColor &color = MColor::LightGray);

    int size() const { return m_values.size(); }
    int width() const { return m_width; }
    int height() const { return m_height; }
    int numValidPoints() const;
    bool hasColors() const { return m_colors.size() > 0 && m_colors.size() == m_values.size(); }

    double *values() { return m_values.data(); }
    const double *values() const { return m_values.data(); }
    MColor *colors() { return m_colors.data(); }
    const MColor *colors() const { return m_colors.data(); }
    // Copy size() elements from src; a null pointer changes nothing.
    void setValues(const double *src);
    void setColors(const MColor *src);

    // Bounds-checked access. Out of range is the index failure; with
    // exceptions off a read gives the marker, a write goes to a shared dummy
    // and validity is false.
    double value(int i) const { return isInRange(i) ? m_values[i] : indexFailureValue(); }
    double value(int row, int col) const { return isInRange(row, col) ? m_values[row * m_width + col] : indexFailureValue(); }
    double &operator[](int i) { return isInRange(i) ? m_values[i] : indexFailureValue(); }
    double operator[](int i) const { return value(i); }
    double &operator()(int row, int col) { return isInRange(row, col) ? m_values[row * m_width + col] : indexFailureValue(); }
    double operator()(int row, int col) const { return value(row, col); }
    void setValue(int i, double z);
    void setValue(int row, int col, double z);
    void invalidate(int i);
    void invalidate(int row, int col);
    bool isValid(int i) const { return isInRange(i) ? m_values[i] != MInvalid : indexFailure(false); }
    bool isValid(int row, int col) const { return isInRange(row, col) ? m_values[row * m_width + col] != MInvalid : indexFailure(false); }
    MColor color(int i) const;
    MColor color(int row, int col) const;
    void setColor(int i, const MColor &color);
    void setColor(int row, int col, const MColor &color);

    // Pose and pixel sizes; every change renews the derived matrices.
    double pixelSizeRows() const { return m_pixelSizeRows; }
    double pixelSizeColumns() const { return m_pixelSizeColumns; }
    double averagePixelSize() const { return (m_pixelSizeRows + m_pixelSizeColumns) / 2.0; }
    void setPixelSize(double rows, double columns);
    const MMatrix4 &pose() const { return m_pose; }
    void setPose(const MMatrix4 &pose);
    const MMatrix4 &imageToWorldMatrix() const { return m_imageToWorld; }
    const MMatrix4 &worldToImageMatrix() const { return m_worldToImage; }
    double maxZSlope() const { return m_maxZSlope; }
    void setMaxZSlope(double slope) { m_maxZSlope = slope; }
    // pose = m * pose; the values stay.
    void applyTransformation(const MMatrix4 &m);

    // Values are transposed; colours, pixel sizes and pose stay as they are.
    void transpose();

    // World and image mapping. The (row, col) forms answer Infinity quietly
    // out of range; the index forms raise the index failure.
    MVector3d worldPoint(int i) const;
    MVector3d worldPoint(int row, int col) const;
    MVector3d imagePoint(int i) const;
    MVector3d imagePoint(int row, int col) const;

    // Whether the quad spanned by (row, col) and (row + step, col + step) is
    // a surface element: four valid corners and no Z jump at or above the
    // slope limit along any edge.
    bool isValidQuad(int row, int col, int step = 1) const;
    int numValidQuads() const;
    int numTriangles() const { return 2 * numValidQuads(); }

    // Signed distance along the image's Z axis, in image units, or the
    // invalid marker when the point does not lie over a valid quad.
    double distance(const MVector3d &p) const { return zDistance(p, m_worldToImage, nullptr); }
    double distance(const MVector3d &p, const MMatrix4 &worldToImage) const { return zDistance(p, worldToImage, nullptr); }
    // The point moved along the image's Z axis onto the surface, in world
    // coordinates; Infinity where distance is the marker.
    MVector3d projection(const MVector3d &p, double *zDistanceOut = nullptr) const { return projection(p, m_worldToImage, zDistanceOut); }
    MVector3d projection(const MVector3d &p, const MMatrix4 &worldToImage, double *zDistanceOut = nullptr) const;

    // Normalised sum of the normals of the valid quads around a pixel.
    MVector3f localNormal(int i) const;
    MVector3f localNormal(int row, int col) const;
    MVector3f worldNormal(int i) const;
    MVector3f worldNormal(int row, int col) const;

    // The image as scan data: MPointCloud::from(*this, withNormals, withColors).
    MPointCloud toPointCloud(bool withNormals, bool withColors) const;
    // Aggregates of the world points of the valid pixels. With none, the
    // corners stay the marker and its negative, the boxes are the default,
    // invalid box and the centroid is Infinity. The oriented box is that of
    // the image's point cloud, so that pixels in no valid quad do not count.
    void boundingBox(MVector3d &minimum, MVector3d &maximum) const;
    MBox boundingBox() const;
    MBox poseBoundingBox() const;
    MVector3d centroid() const;
    // The normalised sum of the world normals of the valid quads, each as
    // long as its quad is large: the same direction as the average normal of
    // the image's triangulation. Infinity without a valid quad.
    MVector3d averageNormal() const;

    // Fill caller arrays of size() elements; invalid pixels give invalid
    // elements. Local points are image points scaled by the pixel sizes, in
    // the image's own frame; the X, Y and Z values are their components.
    void getLocalPoints(MVector3d *out) const;
    void getWorldPoints(MVector3d *out) const;
    void getLocalNormals(MVector3f *out) const;
    void getWorldNormals(MVector3f *out) const;
    void getXValues(double *out) const;
    void getYValues(double *out) const;
    void getZValues(double *out) const;

    // 16-bit samples: 0 is an invalid pixel, any other sample becomes sample x zScale.
    void from(const unsigned short *data, int height, int width, double pixelSizeColumns, double pixelSizeRows, double zScale);

    // Rasterisation of points into the grid of a box: columns run along the
    // box's x with step sizeRows, trunc(size x / sizeRows) + 1 of them; rows
    // along its y with step sizeColumns, trunc(size y / sizeColumns) + 1 of
    // them; pixel (0, 0) sits on the box's minimum corner and heights are
    // measured along its z from there. The box's height does not crop.
    // Each valid point shares its height among the four pixels around it,
    // with the bilinear weight (1 - |row offset|)(1 - |column offset|); a
    // pixel becomes the weighted mean of its shares, colours alike, and stays
    // invalid without any. A pixel reaches one step each way, beyond the box
    // too, so that edge pixels are not lopsided; points beyond the reach of
    // every pixel are dropped. False, with the image unchanged, for a step
    // that is not positive and finite, a box or frame that is not a rigid
    // pose, a null view direction, or no valid point.
    bool from(const MPointCloud &cloud, const MBox &box, double sizeRows, double sizeColumns);
    // The box is the cloud's bounding box in the frame whose x, y and z axes
    // are the columns of the rotation.
    bool from(const MPointCloud &cloud, const MMatrix3 &frame, double sizeRows, double sizeColumns);
    // Heights rise against the view direction: the frame's z is its reverse,
    // its x the world y crossed with that z (the world x made perpendicular
    // to it when the view is close to the world y), so that looking down the
    // world z gives the world frame.
    bool from(const MPointCloud &cloud, const MVector3d &viewDirection, double sizeRows, double sizeColumns);
    // World-aligned frame, square pixels of the cloud's own spacing: the
    // median distance across the xy plane of neighbouring grid points when it
    // is organised, otherwise the spacing of its valid points spread evenly
    // over its xy footprint; never below half of the latter, so that outliers
    // cannot blow the grid up beyond four pixels per point.
    bool from(const MPointCloud &cloud);
    // Resamples the valid pixels of an image, this one included, into a box.
    bool from(const MRangeImage &image, const MBox &box, double sizeRows, double sizeColumns);
    // Adds the valid points of a cloud into this grid and pose with the same
    // shares. keepValidPixels leaves valid pixels as they are and fills only
    // holes; otherwise a valid pixel enters the mean as one full share at its
    // centre. Returns the number of points that reached the grid.
    int integrate(const MPointCloud &cloud, bool keepValidPixels);

    // The pixels and colours of a rectangle, normalised as for point clouds;
    // the pose moves with it so that every pixel keeps its world position.
    MRangeImage roi(int row, int col, int numRows, int numCols) const;
    // Shrinks the image to the smallest rectangle holding all valid pixels.
    void compressMemory();

    // The surface pieces of the image: pixels joined through valid quads, so
    // that a Z jump beyond the slope limit separates them. A pixel in no
    // valid quad has no region. Regions are numbered in the order in which
    // the scan by rows meets them; those of fewer than minSize pixels are
    // cleared but keep their (then empty) number.
    MRegions connectivitySegmentation(int minSize) const;

    // Files. MRI keeps grid, pixel sizes, pose, values and colours; PNG keeps
    // the values as 16-bit samples only.
    bool saveMri(const char *path) const;
    bool saveMri(const wchar_t *path) const;
    bool loadMri(const char *path);
    bool loadMri(const wchar_t *path);
    bool saveMriNoCompress(const wchar_t *path) const;
    bool loadMriNoCompress(const wchar_t *path);
    bool savePng(const char *path, double resolutionZ) const;
    bool savePng(const wchar_t *path, double resolutionZ) const;
    bool loadPng(const char *path);
    bool loadPng(const wchar_t *path);
    bool loadPng(const char *path, double pixelSizeColumns, double pixelSizeRows, double zScale);
    bool loadPng(const wchar_t *path, double pixelSizeColumns, double pixelSizeRows, double zScale);
    // By exact suffix: "mri" or "png"; any other suffix gives false.
    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

private:
    bool isInRange(int i) const { return unsigned(i) < unsigned(m_values.size()); }
    bool isInRange(int row, int col) const { return unsigned(row) < unsigned(m_height) && unsigned(col) < unsigned(m_width); }
    // The index failure: raises it, then hands out the answer for exceptions off.
    static void raiseIndexFailure();
    template <class T>
    static T indexFailure(T neutral)
    {
        raiseIndexFailure();
        return neutral;
    }
    static double &indexFailureValue();

    // The unnormalised normal of the quad at (row, col), in the image's own
    // frame with the pixel sizes applied; its length is twice the quad's area.
    MVector3d quadNormal(int row, int col) const;
    double slopeLimit() const { return m_maxZSlope >= 0.0 ? m_maxZSlope : MaxZSlope; }
    bool isSurfaceQuad(double a, double b, double c, double d, int step) const;
    double zDistance(const MVector3d &p, const MMatrix4 &worldToImage, MVector3d *imagePointOut) const;
    // Rewrites imageToWorld and worldToImage from pose and pixel sizes.
    void updateMatrices();
    // Pixels and height/width change only together.
    void setGrid(int height, int width);
    // The grid a file describes, or an empty one when the file cannot hold
    // that many pixels: a header must not decide alone how much is allocated.
    void setGridWithin(std::int64_t height, std::int64_t width, std::uint64_t maxPixels);
    void readMriHeader(MBinaryReader &in, std::int32_t &height, std::int32_t &width);
    void writeMriHeader(MBinaryWriter &out) const;

    MDoubleArray m_values;
    MColorArray m_colors;
    double m_pixelSizeRows = 1.0;
    double m_pixelSizeColumns = 1.0;
    double m_maxZSlope = -1.0;
    MMatrix4 m_pose;
    MMatrix4 m_imageToWorld;
    MMatrix4 m_worldToImage;
    int m_height = 0;
    int m_width = 0;
};

inline bool MRangeImage::isSurfaceQuad(double a, double b, double c, double d, int step) const
{
    if (a == MInvalid || b == MInvalid || c == MInvalid || d == MInvalid)
        return false;
    const double limit = slopeLimit() * step;
    const double limitColumns = limit * m_pixelSizeColumns;
    const double limitRows = limit * m_pixelSizeRows;
    // Strict comparisons: a NaN corner or a zero limit fails them.
    return std::fabs(d - c) < limitColumns && std::fabs(b - a) < limitColumns &&
           std::fabs(c - a) < limitRows && std::fabs(d - b) < limitRows;
}

inline bool MRangeImage::isValidQuad(int row, int col, int step) const
{
    // A step of 0 or below makes every limit 0 or negative, so the strict
    // tests would fail anyway; answering early also keeps reads in the grid.
    if (row < 0 || col < 0 || step <= 0 || std::int64_t(row) + step >= m_height || std::int64_t(col) + step >= m_width)
        return false;
    const double *top = m_values.data() + std::ptrdiff_t(row) * m_width + col;
    const double *bottom = top + std::ptrdiff_t(step) * m_width;
    return isSurfaceQuad(top[0], top[step], bottom[0], bottom[step], step);
}

inline double MRangeImage::zDistance(const MVector3d &p, const MMatrix4 &worldToImage, MVector3d *imagePointOut) const
{
    const double *m = worldToImage.data();
    const double x = m[0] * p.x() + m[1] * p.y() + m[2] * p.z() + m[3];
    const double y = m[4] * p.x() + m[5] * p.y() + m[6] * p.z() + m[7];
    // The first row and column are reached from the inside only. Written as
    // positive tests so that NaN never reaches the integer conversion.
    if (!(x > 0.0 && y > 0.0 && x < m_width && y < m_height))
        return MInvalid;
    // The image x addresses the column here, unlike worldPoint, which puts
    // the row into x: that is how the library has always looked heights up.
    const int col = int(x);
    const int row = int(y);
    if (row + 1 >= m_height || col + 1 >= m_width)
        return MInvalid;
    const double *top = m_values.data() + std::ptrdiff_t(row) * m_width + col;
    const double z0 = top[0], z1 = top[1], z2 = top[m_width], z3 = top[m_width + 1];
    if (!isSurfaceQuad(z0, z1, z2, z3, 1))
        return MInvalid;
    const double fx = x - col;
    const double fy = y - row;
    const double zi = fx > fy ? z0 + (fx - fy) * (z1 - z0) + fy * (z3 - z0)
                              : z0 + fx * (z3 - z0) + (fy - fx) * (z2 - z0);
    const double zp = m[8] * p.x() + m[9] * p.y() + m[10] * p.z() + m[11];
    if (imagePointOut)
        *imagePointOut = MVector3d(x, y, zp);
    return zp - zi;
}

} // namespace ZOLAR3D
