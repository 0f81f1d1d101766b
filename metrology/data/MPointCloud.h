#pragma once

#include "MColor.h"
#include "MColorArray.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "MVector3dArray.h"
#include "MVector3f.h"
#include "MVector3fArray.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

class MCircle;
class MCone;
class MCylinder;
class MLine;
class MLineSegment;
class MPlane;
class MPrincipalComponentAnalysis;
class MSphere;

// The container of 3D scan points: positions in double precision, optional
// per-point colours and normals, and an optional grid organisation of
// height rows by width columns. A plain value: copies are deep.
//
// Invalid points stay in the array so that a grid keeps its shape. Colours
// and normals count only when their array has one entry per point; an array
// of any other length is kept but treated as absent.
//
// This is the one declaration of the class: processing, selections, file
// input and output and fits are members too, each group defined in its own
// source file.
class ZOL3D_API MPointCloud {
public:
    // Construction and copying
    MPointCloud();
    // n invalid points; a negative n gives an empty cloud.
    explicit MPointCloud(int n);
    MPointCloud(const MPointCloud &other);
    MPointCloud &operator=(const MPointCloud &other);
    // Moves hand the arrays over and leave the source empty and unorganised.
    MPointCloud(MPointCloud &&other) noexcept;
    MPointCloud &operator=(MPointCloud &&other) noexcept;
    ~MPointCloud();

    // Byte comparison of the three arrays, then of height and width.
    bool operator==(const MPointCloud &other) const;
    bool operator!=(const MPointCloud &other) const { return !(*this == other); }

    // Hands the three arrays to dest without copying; this cloud keeps its
    // height and width but no longer counts as organised.
    void transferDataTo(MPointCloud &dest);

    void clear();
    void clearPoints();
    void clearNormals() { m_normals.clear(); }
    void clearColors() { m_colors.clear(); }

    // Storage
    void reserveCapacity(int n);
    void reservePointCapacity(int n) { m_points.reserveCapacity(n); }
    void reserveNormalCapacity(int n) { m_normals.reserveCapacity(n); }
    void reserveColorCapacity(int n) { m_colors.reserveCapacity(n); }
    int pointCapacity() const { return m_points.capacity(); }
    int normalCapacity() const { return m_normals.capacity(); }
    int colorCapacity() const { return m_colors.capacity(); }

    // Resizes the points; colours (new ones Gray) and normals follow when
    // they were present. Height and width are left alone.
    void resize(int n);
    void resizePoints(int n) { m_points.resize(n); }
    void resizeNormals(int n) { m_normals.resize(n); }
    void resizeColors(int n, const MColor &value) { m_colors.resize(n, value); }

    // Organisation: stored as given, row count first. The cloud counts as
    // organised only while height > 1 and height x width = numPoints().
    void setOrganized2d(int height, int width)
    {
        m_height = height;
        m_width = width;
    }
    bool isOrganized2d() const;
    int height() const { return m_height; }
    int width() const { return m_width; }

    int size() const { return m_points.size(); }
    int numPoints() const { return m_points.size(); }
    int numNormals() const { return m_normals.size(); }
    int numColors() const { return m_colors.size(); }
    bool hasNormals() const { return 0 < numNormals() && numNormals() == numPoints(); }
    bool hasColors() const { return 0 < numColors() && numColors() == numPoints(); }

    // Bounds-checked access. A bad index raises "MPointCloud: index out of
    // range!"; without exceptions the getters answer with a shared fallback
    // and the setters do nothing.
    MVector3d point(int i) const
    {
        if (isIndex(i, numPoints()))
            return m_points[i];
        raiseIndexFailure();
        return MVector3d::Infinity;
    }
    MVector3d point(int row, int col) const { return point(gridIndex(row, col)); }
    const MVector3d &operator[](int i) const
    {
        if (isIndex(i, numPoints()))
            return m_points[i];
        raiseIndexFailure();
        return MVector3d::Infinity;
    }
    // A bad index hands out a shared scratch vector, never storage of the cloud.
    MVector3d &operator[](int i)
    {
        if (isIndex(i, numPoints()))
            return m_points[i];
        return writablePointFallback();
    }
    MVector3f normal(int i) const
    {
        if (isIndex(i, numNormals()))
            return m_normals[i];
        raiseIndexFailure();
        return MVector3f::Infinity;
    }
    MVector3f normal(int row, int col) const { return normal(gridIndex(row, col)); }
    MColor color(int i) const
    {
        if (isIndex(i, numColors()))
            return m_colors[i];
        raiseIndexFailure();
        return MColor::Transparent;
    }
    MColor color(int row, int col) const { return color(gridIndex(row, col)); }

    void setPoint(int i, const MVector3d &p)
    {
        if (isIndex(i, numPoints()))
            m_points[i] = p;
        else
            raiseIndexFailure();
    }
    void setPoint(int row, int col, const MVector3d &p) { setPoint(gridIndex(row, col), p); }
    void setNormal(int i, const MVector3f &n)
    {
        if (isIndex(i, numNormals()))
            m_normals[i] = n;
        else
            raiseIndexFailure();
    }
    void setNormal(int row, int col, const MVector3f &n) { setNormal(gridIndex(row, col), n); }
    void setColor(int i, const MColor &c)
    {
        if (isIndex(i, numColors()))
            m_colors[i] = c;
        else
            raiseIndexFailure();
    }
    void setColor(int row, int col, const MColor &c) { setColor(gridIndex(row, col), c); }
    void invalidatePoint(int i)
    {
        if (isIndex(i, numPoints()))
            m_points[i].invalidate();
        else
            raiseIndexFailure();
    }
    void invalidatePoint(int row, int col) { invalidatePoint(gridIndex(row, col)); }

    // Raw arrays, no test: for bulk loops, the viewer and the search structures.
    MVector3d *points() { return m_points.data(); }
    const MVector3d *points() const { return m_points.data(); }
    MVector3f *normals() { return m_normals.data(); }
    const MVector3f *normals() const { return m_normals.data(); }
    MColor *colors() { return m_colors.data(); }
    const MColor *colors() const { return m_colors.data(); }

    // Filling. The single adds return the new index and leave colours,
    // normals and organisation alone. Bulk forms ignore a null source or a
    // negative count.
    int add(double x, double y, double z) { return m_points.add(MVector3d(x, y, z)); }
    int add(const MVector3d &p) { return m_points.add(p); }
    int addPoint(const MVector3d &p) { return m_points.add(p); }
    int addNormal(const MVector3f &n) { return m_normals.add(n); }
    int addColor(const MColor &c) { return m_colors.add(c); }
    void addPoints(const MVector3d *src, int n);
    void addPoints(const double *xyz, int n);
    void addPoints(const MVector3f *src, int n);
    void addPoints(const float *xyz, int n);
    void setPoints(const MVector3d *src, int n);
    void setPoints(const double *xyz, int n);
    void setPoints(const MVector3f *src, int n);
    void setPoints(const float *xyz, int n);
    void setNormals(const MVector3f *src, int n);
    void setColors(const MColor *src, int n);
    void init(const MVector3d &p) { m_points.init(p); }

    // Value extraction and simple edits
    int numValidPoints() const;
    // One value per point into a buffer of numPoints() doubles; invalid
    // points give the invalid marker.
    void getXValues(double *values) const;
    void getYValues(double *values) const;
    void getZValues(double *values) const;
    // Negate one coordinate of every valid point; normals are left alone.
    void flipX();
    void flipY();
    void flipZ();
    // Valid points become m * p (homogeneous); valid normals are multiplied
    // by the rotation block of m and not renormalised.
    void applyTransformation(const MMatrix4 &m);
    // Drops invalid points with their colours and normals; returns the
    // number of points kept.
    int removeInvalidPoints();
    // removeInvalidPoints(), keeping the storage for refilling.
    int compressMemory();
    // Invalidates valid points with a coordinate beyond +-range; returns how many.
    int cleanPointsOutsideRange(double range);
    // Mirrors the grid: point (row, col) moves to (col, row). Colours and
    // normals keep their order.
    void transpose();

    // Sub-clouds. Each takes colours and normals along when their array has
    // one entry per point.
    // Valid points with index in [first, last), unorganised.
    MPointCloud subset(int first, int last) const;
    // A rectangle of the grid, organised numRows x numCols.
    MPointCloud roi(int row, int col, int numRows, int numCols) const;
    // Every step-th element, per row and column when organised.
    MPointCloud subsampled(int step) const;
    // The valid points of both clouds, unorganised.
    MPointCloud operator+(const MPointCloud &other) const;

    // Files. Every path comes narrow (UTF-8) or wide; the narrow form widens
    // and forwards. A file that will not open gives false.
    //
    // PCD version .7: the three body modes are read; the writer always
    // compresses, with 8-byte coordinates for precision 2 and 4-byte ones
    // otherwise, colours when hasColors() and never normals. A header that
    // cannot be read raises "The PCD file header is unknown or the version is
    // not supported". loadPcd is true when the file holds at least one point.
    bool loadPcd(const char *path);
    bool loadPcd(const wchar_t *path);
    bool savePcd(const char *path, int precision) const;
    bool savePcd(const wchar_t *path, int precision) const;
    // Text points: x, y and z per line. Unorganised; true when a point was read.
    bool loadAscii(const char *path);
    bool loadAscii(const wchar_t *path);
    bool saveAscii(const char *path) const;
    bool saveAscii(const wchar_t *path) const;
    // Text points with colours: x y z red green blue per line. The reader
    // negates z and stops at the third line that does not hold six numbers.
    bool loadAsciiRgb(const char *path);
    bool loadAsciiRgb(const wchar_t *path);
    bool saveAsciiRgb(const char *path) const;
    bool saveAsciiRgb(const wchar_t *path) const;
    // OBJ vertices ("v x y z"); other lines are ignored.
    bool loadObj(const char *path);
    bool loadObj(const wchar_t *path);
    bool saveObj(const char *path) const;
    bool saveObj(const wchar_t *path) const;
    // By exact, case-sensitive suffix: "obj", "txt", "asc", "xyz", "xyzrgb"
    // or "pcd" (saved with double coordinates); any other suffix gives false.
    bool load(const char *path);
    bool load(const wchar_t *path);
    bool save(const char *path) const;
    bool save(const wchar_t *path) const;

    // Measures
    // Principal components of the valid points.
    MPrincipalComponentAnalysis principalComponentAnalysis() const;
    // The eigenvalues' magnitudes over their sum: about (1, 0, 0) for a line,
    // (0.5, 0.5, 0) for a plane; Zero for at most one valid point.
    MVector3d dimensionality() const;

    // Least-squares fits of the valid points, without an outlier pass.
    // Too few valid points raise the fit's failure; the neutral result is
    // an invalid shape.
    // At least 3 points; u and v are the half-extent vectors of the points'
    // bounding rectangle in the plane, whose centre is the position.
    MPlane fitPlane() const;
    // At least 2 points; the position is the middle of their span, which is
    // the length attribute.
    MLine fitLine() const;
    // At least 2 points; two points come back as given, start first.
    MLineSegment fitLineSegment() const;

    // Orthogonal-distance fits: the sum of squared geometric distances of
    // the valid points is minimised. A fixedRadius of 0 leaves the radius
    // free; a negative or non-finite one gives an invalid shape, as do
    // points that do not determine the shape (collinear for a circle,
    // coplanar for a sphere).
    // At least 3 points; the normal's dominant component is positive.
    MCircle fitCircle(double fixedRadius) const;
    // The plane of the principal components, then the circle in it: faster
    // than fitCircle, and exact only for points in one plane. With a fixed
    // radius only the centre is fitted, and the radius reported is that of
    // the algebraic start.
    MCircle fitCircleFast(double fixedRadius) const;
    // The smallest circle, in the plane of fitCircle(0.0), that encloses the
    // points projected into that plane.
    MCircle fitCircleMC() const;
    // Any number of points: up to 4 give their exact sphere (one point
    // gives itself with radius 0, which is not a valid sphere).
    MSphere fitSphere(double fixedRadius) const;
    // The smallest enclosing sphere.
    MSphere fitSphereMC() const;
    // At least 5 points. The position is the middle of the points' span
    // along the axis and the length that span.
    MCylinder fitCylinder(double fixedRadius) const;
    // At least 6 points. The direction points to the apex; the position is
    // the middle of the points' span along the axis, with the radius there.
    MCone fitCone() const;

private:
    static bool isIndex(int i, int count) { return static_cast<unsigned>(i) < static_cast<unsigned>(count); }
    // Linear index of a grid element, or -1 when row or col is off the grid.
    int gridIndex(int row, int col) const
    {
        if (row < 0 || row >= m_height || col < 0 || col >= m_width)
            return -1;
        const long long index = static_cast<long long>(row) * m_width + col;
        return index <= 0x7fffffff ? static_cast<int>(index) : -1;
    }
    bool colorsAligned() const { return numColors() == numPoints(); }
    bool normalsAligned() const { return numNormals() == numPoints(); }
    // Sizes the arrays of a fresh result cloud.
    void allocate(int n, bool withColors, bool withNormals);

    static void raiseIndexFailure();
    static MVector3d &writablePointFallback();

    MVector3dArray m_points;
    MColorArray m_colors;
    MVector3fArray m_normals;
    int m_height;
    int m_width;
};

// A transformed copy of the cloud.
ZOL3D_API MPointCloud operator*(const MMatrix4 &m, const MPointCloud &cloud);

} // namespace ZOLAR3D
