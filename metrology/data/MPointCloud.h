#pragma once

#include "MColor.h"
#include "MColorArray.h"
#include "MMatrix4.h"
#include "MRegions.h"
#include "MVector3d.h"
#include "MVector3dArray.h"
#include "MVector3f.h"
#include "MVector3fArray.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

class MBoolArray;
class MBox;
class MCircle;
class MColormap;
class MCone;
class MCylinder;
class MKdTree;
class MLine;
class MLineSegment;
class MPlane;
class MPrincipalComponentAnalysis;
class MRangeImage;
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

    // Processing. Each call builds a k-d tree of the cloud for itself. Points
    // are removed by invalidation, so the arrays keep their length and order
    // and a grid its shape, unless a function says it replaces the cloud.
    // Where a negative radius is accepted it counts in multiples of
    // averagePointDistance(1000).

    // Mean distance of up to numSamples valid points, spread evenly over the
    // array, to their closest other point; coinciding points do not count as
    // neighbours. 0 when no sample has a neighbour.
    double averagePointDistance(int numSamples) const;
    // Points per unit area: the mean of the per-point densities of 1000
    // evenly spread points, within four times the average point distance.
    double density() const;
    // Unit normals of the surface patches around the valid points, oriented
    // towards +Z; a point without a surface-like neighbourhood gets an
    // invalid normal. A radius of magnitude below 1e-8 means the average
    // point distance; a negative one is a multiple of it.
    void computeNormals(double radius);
    // Per point: the mean turn of the neighbours' normals per unit distance,
    // which is 1/R on a sphere of radius R and 0 on a plane. Normals are
    // computed first when the cloud has none. Invalid points, points without
    // a valid normal and points without a neighbour give the invalid marker.
    void computePointCurvatures(double *out, double radius);
    // Per point: the points within radius, itself included, per unit area of
    // a disc of that radius; the invalid marker for invalid points and for a
    // radius that is not positive.
    void computePointDensities(double *out, double radius) const;
    // Per point: the other points within radius; 0 for invalid points.
    void computeNumNeighbors(int *out, double radius) const;
    // Invalidates the valid points with fewer than minNeighbors neighbours
    // within radius; returns how many.
    int cleanOutliers(double radius, int minNeighbors);
    // Invalidates the valid points whose density within radius is below
    // threshold; returns how many.
    int cleanSparsePoints(double threshold, double radius);
    // Invalidates the valid points whose normal is further than maxAngle from
    // the view direction, either way round; normals are computed first when
    // the cloud has none. Returns how many. Does nothing for angles of 90
    // degrees or more and for a null or invalid direction.
    int cleanSteepPoints(double maxAngle, const MVector3d &viewDirection);
    // Moves each valid point towards the Gaussian-weighted mean of its
    // neighbours within sigma, by strength in [0, 1]; a negative strength does
    // nothing. Invalid points come out with the marker in all coordinates.
    void filterGauss(double sigma, double strength);
    // Moves each valid point along its normal by the mean height of its
    // neighbours within sigma over its tangent plane, weighted by distance
    // and by height against sigmaNormal, so that edges survive. Normals are
    // computed first when the cloud has none; a sigmaNormal that is not
    // positive does nothing.
    void filterBilateral(double sigma, double sigmaNormal);
    // The cloud becomes subsampled(step); a refused step leaves it as it is.
    void decimateBySubsampling(int step);
    // Keeps, in array order, each valid point that lies at least distance from
    // every point kept before it. With keepOrganization the dropped points are
    // invalidated in place; otherwise the kept points form a new unorganised
    // cloud. A kept point that stands for fewer than minPoints points (itself
    // and those dropped for it) is dropped too, which takes out isolated noise.
    void decimateByMinimumPointDistance(double distance, bool keepOrganization, int minPoints);
    // Replaces the cloud by one point per occupied cube of a grid of edge
    // voxelSize anchored at the cloud's minimum corner: with keepAverage the
    // mean of the cube's points (colours and normals averaged too), in the
    // order in which the cubes were first met; otherwise the first maxPerVoxel
    // points of each cube, unchanged and in array order. A size of 0 means the
    // average point distance.
    void decimateVoxelBased(double voxelSize, bool keepAverage, int maxPerVoxel);
    // Mean of numPointsToAverage valid points at the low end (or with maximum
    // the high end) of one coordinate, after numPointsToIgnore points at that
    // end are passed over; invalid when no point is left to average.
    MVector3d extremePoint(int coordinate, bool maximum, int numPointsToAverage, int numPointsToIgnore) const;
    // Appends the valid points of other. Colours are appended only when both
    // clouds have one per point, and normals likewise.
    void integrate(const MPointCloud &other);
    MPointCloud &operator+=(const MPointCloud &other)
    {
        integrate(other);
        return *this;
    }

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

    // Measures. Only valid points count.

    // Principal components of the valid points.
    MPrincipalComponentAnalysis principalComponentAnalysis() const;
    // The eigenvalues' magnitudes over their sum: about (1, 0, 0) for a line,
    // (0.5, 0.5, 0) for a plane; Zero for at most one valid point.
    MVector3d dimensionality() const;

    // Colour i becomes colormap.color(values[i]) where the value lies in the
    // map's closed range; elsewhere outOfRangeColor, except that
    // MColor::Transparent leaves the colour as it was. Colours are first
    // sized to numPoints(), new ones Gray. A null values pointer does nothing.
    void colorize(const double *values, const MColormap &colormap, const MColor &outOfRangeColor);
    // Axis-aligned; the default, invalid box when there is no valid point.
    MBox boundingBox() const;
    // The smallest sphere that encloses the valid points.
    MSphere boundingSphere() const;
    // Mean of the valid points; Infinity when there is none.
    MVector3d centroid() const;
    // The frame of the principal components at the centre.
    MMatrix4 pose() const;
    // The box around the valid points in the frame of pose(); the default
    // box when that frame cannot be formed.
    MBox poseBoundingBox() const;
    // The valid points of region id, in order, unorganised, with their
    // colours and normals; for a negative id those of every region. Empty
    // when id >= regions.numRegions().
    MPointCloud regionPoints(const MRegions &regions, int id) const;

    // Distances. out[i] receives the distance of point i from the shape,
    // signed where the shape has a side, when its magnitude is at most
    // maxDistance; otherwise, and for invalid points and invalid shapes, the
    // invalid marker. out holds numPoints() values; a null out does nothing.
    void computeDistancesTo(const MBox &box, double maxDistance, double *out) const;
    void computeDistancesTo(const MCircle &circle, double maxDistance, double *out) const;
    void computeDistancesTo(const MCone &cone, double maxDistance, double *out) const;
    void computeDistancesTo(const MCylinder &cylinder, double maxDistance, double *out) const;
    void computeDistancesTo(const MLine &line, double maxDistance, double *out) const;
    void computeDistancesTo(const MLineSegment &segment, double maxDistance, double *out) const;
    void computeDistancesTo(const MPlane &plane, double maxDistance, double *out) const;
    // Along the image's Z axis, in image units; the marker off its surface.
    void computeDistancesTo(const MRangeImage &image, double maxDistance, double *out) const;
    void computeDistancesTo(const MSphere &sphere, double maxDistance, double *out) const;
    void computeDistancesTo(const MVector3d &point, double maxDistance, double *out) const;
    // The same with the magnitude of the distance.
    void computeAbsDistancesTo(const MPlane &plane, double maxDistance, double *out) const;

    // Every valid point becomes the shape's projection of it, which is
    // Infinity where the shape has none; invalid points stay as they are.
    void projectOnto(const MBox &box);
    void projectOnto(const MCircle &circle);
    void projectOnto(const MCone &cone);
    void projectOnto(const MCylinder &cylinder);
    void projectOnto(const MLine &line);
    void projectOnto(const MLineSegment &segment);
    void projectOnto(const MPlane &plane);
    void projectOnto(const MRangeImage &image);
    void projectOnto(const MSphere &sphere);

    // The valid points inside the solid, with their colours and normals,
    // unorganised. The cylinder and the cone end at their length, and reach
    // without end along the axis when the length is the marker; the cone
    // ends at its apex in any case.
    MPointCloud intersection(const MBox &box) const;
    MPointCloud intersection(const MCone &cone) const;
    MPointCloud intersection(const MCylinder &cylinder) const;
    MPointCloud intersection(const MSphere &sphere) const;

    // Selections. Each answers with a labelling of the points, with the
    // grid when the cloud is organised, in which only valid points ever
    // carry a region. Bounds are inclusive.

    // One region of the points with min <= coordinate <= max.
    MRegions selectX(double min, double max) const;
    MRegions selectY(double min, double max) const;
    MRegions selectZ(double min, double max) const;
    // One region of the points with min <= shape.distance(p) <= max; a point
    // without a distance to the shape is never selected.
    MRegions selectDistanceRange(const MBox &box, double min, double max) const;
    MRegions selectDistanceRange(const MCircle &circle, double min, double max) const;
    MRegions selectDistanceRange(const MCone &cone, double min, double max) const;
    MRegions selectDistanceRange(const MCylinder &cylinder, double min, double max) const;
    MRegions selectDistanceRange(const MLine &line, double min, double max) const;
    MRegions selectDistanceRange(const MLineSegment &segment, double min, double max) const;
    MRegions selectDistanceRange(const MPlane &plane, double min, double max) const;
    MRegions selectDistanceRange(const MRangeImage &image, double min, double max) const;
    MRegions selectDistanceRange(const MSphere &sphere, double min, double max) const;
    MRegions selectDistanceRange(const MVector3d &point, double min, double max) const;
    // n regions, region k for shape k. A point in range of several shapes
    // ends in the region of the last of them. A null array or n < 1 gives a
    // labelling without regions.
    MRegions selectDistanceRange(const MBox *boxes, int n, double min, double max) const;
    MRegions selectDistanceRange(const MCircle *circles, int n, double min, double max) const;
    MRegions selectDistanceRange(const MCone *cones, int n, double min, double max) const;
    MRegions selectDistanceRange(const MCylinder *cylinders, int n, double min, double max) const;
    MRegions selectDistanceRange(const MLine *lines, int n, double min, double max) const;
    MRegions selectDistanceRange(const MLineSegment *segments, int n, double min, double max) const;
    MRegions selectDistanceRange(const MPlane *planes, int n, double min, double max) const;
    MRegions selectDistanceRange(const MSphere *spheres, int n, double min, double max) const;
    MRegions selectDistanceRange(const MVector3d *points, int n, double min, double max) const;
    // One region of the points that have a point of other within max. min
    // plays no part: this form cannot cut out an inner distance.
    MRegions selectDistanceRange(const MPointCloud &other, double min, double max) const;
    // One region of the points whose normal n has minAngle <= angle(direction,
    // n) <= maxAngle, and with bothSides also those for which that holds for
    // -direction. direction is taken as of unit length. A cloud without
    // normals is judged by normals computed on a copy of it.
    MRegions selectNormal(const MVector3d &direction, double minAngle, double maxAngle, bool bothSides) const;
    MRegions selectNormalX(double minAngle, double maxAngle, bool bothSides) const;
    MRegions selectNormalY(double minAngle, double maxAngle, bool bothSides) const;
    MRegions selectNormalZ(double minAngle, double maxAngle, bool bothSides) const;
    // One region of the points with between min and max neighbours within
    // radius, counted as computeNumNeighbors does.
    MRegions selectNumNeighbors(double radius, int min, int max) const;
    // The largest (or smallest) region of regions, by number of elements or
    // by the diagonal of the bounding box of its points, as region 0 of the
    // result; the first one met wins a tie. Regions without a valid point
    // have no box and do not compete there. Empty when no region competes.
    MRegions selectSingleRegionByNumberOfPoints(const MRegions &regions, bool largest) const;
    MRegions selectSingleRegionByBoundingBoxSize(const MRegions &regions, bool largest) const;

    // Edits by region. An element beyond the labelling has no region.
    // Invalidates the points without a region.
    void reduceToRegions(const MRegions &regions);
    // Invalidates the points with a region.
    void removeRegions(const MRegions &regions);
    // Invalidates the points of connected groups, at the given distance, of
    // fewer than minPoints points; returns how many. A negative distance
    // counts in multiples of averagePointDistance(1000).
    int cleanSmallSegments(int minPoints, double distance);
    // A copy in which the points farther than thickness from the plane, on
    // either side, are invalidated, so that it keeps size and grid. A
    // negative thickness counts in multiples of averagePointDistance(1000).
    MPointCloud crossSection(const MPlane &plane, double thickness) const;

    // Generators: each replaces the whole cloud.
    // n points on a golden-section spiral over the sphere, each with its
    // outward unit normal. An invalid sphere or n < 1 leaves the cloud empty.
    void from(const MSphere &sphere, int n);
    // One element per pixel, organised like the image, so that indices
    // agree. A pixel becomes its world point when it is a corner of a valid
    // quad; all others, isolated valid pixels among them, stay invalid.
    // Normals come from the quads around each pixel; colours are copied
    // when the image has them.
    void from(const MRangeImage &image, bool withNormals, bool withColors);
    // The same for the pixels whose mask element is true; elements beyond
    // the mask count as false.
    void from(const MRangeImage &image, const MBoolArray &mask, bool withNormals, bool withColors);

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
    // The minimum-zone plane of the valid points, judged on their convex
    // hull: the narrowest of the slabs behind the hull faces competes with
    // edge pairs, each edge scored by its farthest other edge. flatness
    // receives the zone's width and the deviations its half-widths, -half
    // and +half, about the returned plane in the middle of the zone. u and
    // v span the hull vertices in the plane. Flat input, which has no hull,
    // gets the least-squares plane moved to the middle of the points'
    // distances, with the deviations measured before that move. Any output
    // pointer may be null.
    MPlane fitPlaneMZ(double *flatness, double *minDeviation, double *maxDeviation) const;

    // Segmentation by region growing over a k-d tree of the cloud: a region
    // grows from a seed point to the neighbours within radius of its points
    // that the criterion accepts. The result labels the points, with the
    // cloud's grid when it is organised. Regions of fewer than minSize points
    // are left out, and the others are numbered largest first; regions of
    // equal size keep the order of their seeds. Invalid points have no
    // region. A negative radius counts in multiples of
    // averagePointDistance(1000). A NaN parameter is a failure, which gives a
    // labelling without regions.

    // Connected groups: every valid point within radius joins.
    MRegions connectivitySegmentation(int minSize, double radius) const;
    // Smooth surface pieces: a neighbour joins when the lines of its normal
    // and of the normal of the point it is reached from lie within maxAngle,
    // whose magnitude counts, up to pi/2. Points without a valid, non-zero
    // normal have no region. Normals are computed first, and kept, when the
    // cloud has none.
    MRegions normalSegmentation(int minSize, double maxAngle, double radius = -4.0);
    // Pieces of like curvature: a neighbour joins when its curvature, from
    // computePointCurvatures over the same radius, differs by at most
    // maxCurvatureDifference (its magnitude) from the mean curvature of the
    // region so far. Seeds are taken flattest first. Points without a
    // curvature have no region. Normals are computed first, and kept, when the
    // cloud has none.
    MRegions curvatureSegmentation(int minSize, double maxCurvatureDifference, double radius = -4.0);
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

    // Refits of a shape without its outliers, judged by the distances of the
    // points to the given shape. n below 1 keeps the points within -n
    // standard deviations of the mean distance; n of 1 or more drops the n
    // points farthest from the shape. The fixedRadius forms fit with that
    // radius (0 frees it). Too few remaining points raise the fit's failure.
    MCircle refitWithOutlierRemoval(const MCircle &shape, int n) const;
    MCircle refitWithOutlierRemoval(const MCircle &shape, double fixedRadius, int n) const;
    MCone refitWithOutlierRemoval(const MCone &shape, int n) const;
    MCylinder refitWithOutlierRemoval(const MCylinder &shape, int n) const;
    MCylinder refitWithOutlierRemoval(const MCylinder &shape, double fixedRadius, int n) const;
    MLine refitWithOutlierRemoval(const MLine &shape, int n) const;
    MLineSegment refitWithOutlierRemoval(const MLineSegment &shape, int n) const;
    MPlane refitWithOutlierRemoval(const MPlane &shape, int n) const;
    MSphere refitWithOutlierRemoval(const MSphere &shape, int n) const;
    MSphere refitWithOutlierRemoval(const MSphere &shape, double fixedRadius, int n) const;

    // Acceptance figures. Each answers -1.0 when its fit is invalid; the
    // fits' failures pass through. numExcluded points are left out where a
    // figure takes it: those whose removal narrows the figure, or with a
    // negative value, for gdtFlatness, those beyond -numExcluded standard
    // deviations of the mean distance.

    // Width of the signed distances to the least-squares plane, without the
    // numExcluded most extreme of them, taken from either end by magnitude
    // (the high end first on a tie). plane receives the fit plane moved to
    // the middle of the remaining distances.
    double computeFlatFormMeasurementError(int numExcluded, MPlane *plane) const;
    // The same figure with a partial selection instead of a full sort.
    double computeFlatFormMeasurementErrorFast(int numExcluded, MPlane *plane) const;
    // Width of the distances to the least-squares sphere without the
    // numExcluded largest in magnitude; sphere receives the fit with its
    // radius moved to the middle of that range.
    double computeProbingDispersionValue(int numExcluded, MSphere *sphere) const;
    // |referenceDiameter - diameter of the least-squares sphere|.
    double computeProbingSizeErrorAll(double referenceDiameter, MSphere *sphere) const;
    // Width of the minimum zone (fitPlaneMZ), after numExcluded points are
    // left out by their distance to the first zone plane; at least one
    // point is kept. plane receives the final zone plane.
    double gdtFlatness(int numExcluded, MPlane *plane) const;
    // The narrowest range of distances to datum that holds all but
    // numExcluded points; -1.0 when no point has a distance.
    double gdtSurfaceParallelism(const MPlane &datum, int numExcluded) const;
    // Diameter of the smallest circle around the points projected on datum;
    // without numExcluded points, those farthest out from its centre.
    double gdtAxisPerpendicularity(const MPlane &datum, int numExcluded) const;

    // Random sample consensus over the valid points: a fixed number of
    // random hypotheses, each refitted to the points within the band of
    // half width threshold around it. A negative threshold counts in
    // multiples of averagePointDistance(1000). Fewer valid points than a
    // sample (3 for planes and circles, 2 for lines, 4 for spheres) raise
    // "Ransac: not enough points for this type of geometry!"; the neutral
    // result is an invalid shape, or 0 shapes found.
    // The shape with the most inliers of 1000 hypotheses, invalid if none.
    MPlane ransacBestPlane(double threshold) const;
    MLine ransacBestLine(double threshold) const;
    // The best line at an angle within [minAngle, maxAngle] to reference,
    // with the directions' signs counted, and not similar to the reference.
    MLine ransacBestRelativeLine(const MLine &reference, double minAngle, double maxAngle, double threshold) const;
    // Circles and spheres within the radius bounds. The band stays 0.5
    // whatever threshold says.
    MCircle ransacBestCircle(double minRadius, double maxRadius, double threshold) const;
    MSphere ransacBestSphere(double minRadius, double maxRadius, double threshold) const;
    // Up to maxShapes distinct shapes, most inliers first, from maxShapes x
    // iterationsPerShape hypotheses; the result is how many were written.
    // When that product is not positive 1000 hypotheses are tried, and when
    // maxShapes is not positive one shape is sought and may be written.
    int ransacAllPlanes(double threshold, MPlane *planes, int maxPlanes, int iterationsPerPlane) const;
    int ransacAllLines(double threshold, MLine *lines, int maxLines, int iterationsPerLine) const;
    int ransacAllCircles(double minRadius, double maxRadius, double threshold, MCircle *circles, int maxCircles,
                         int iterationsPerCircle) const;
    int ransacAllSpheres(double minRadius, double maxRadius, double threshold, MSphere *spheres, int maxSpheres,
                         int iterationsPerSphere) const;

private:
    // An empty labelling of the cloud's points, with its grid when organised.
    MRegions emptyRegions() const;
    // The valid points among the n given indices, in that order, with their
    // colours and normals where those are aligned; unorganised.
    MPointCloud gathered(const int *indices, int n) const;
    // The valid points that the outlier rule of refitWithOutlierRemoval
    // keeps, by their distances to shape.
    template <class Shape>
    MPointCloud withoutOutliers(const Shape &shape, int n) const;
    // The range image forms of from; a null mask selects every pixel.
    void fromImage(const MRangeImage &image, const bool *mask, int maskSize, bool withNormals, bool withColors);
    // The processing forms on a tree built from this cloud's points, so that
    // callers that need several of them search one tree.
    double averagePointDistance(const MKdTree &tree, int numSamples) const;
    void computeNormals(const MKdTree &tree, double radius);
    void computePointCurvatures(const MKdTree &tree, double *out, double radius);
    // A negative distance becomes that multiple of averagePointDistance(tree, 1000).
    double absoluteDistance(const MKdTree &tree, double distance) const;

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
