#include "MPointCloud.h"

#include "MAngle.h"
#include "MFailure.h"
#include "MInvalid.h"
#include "MKdTree.h"
#include "MPlane.h"
#include "metrology/data/detail/MNeighborhood.h"
#include "metrology/data/detail/MPointEdits.h"
#include "metrology/data/detail/MSpatialOrder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace ZOLAR3D {

namespace {

constexpr double Pi = MAngle::Pi;

// Normals look at no more than this many neighbours, and give up after this
// many doublings of the search radius.
constexpr int NormalNeighbors = 50;
constexpr int NormalAttempts = 5;
// A patch needs more neighbours than this to count as a surface.
constexpr int NormalMinNeighbors = 9;

// The valid points of an array, their count and their bounding box.
struct ValidPoints {
    int count = 0;
    MVector3d minimum;
    MVector3d maximum;

    ValidPoints(const MVector3d *p, int n)
    {
        for (int i = 0; i < n; ++i) {
            if (!p[i].isValid())
                continue;
            ++count;
            minimum = MVector3d::minimum(minimum, p[i]);
            maximum = MVector3d::maximum(maximum, p[i]);
        }
    }
};

// Indices of `samples` valid points spread evenly over the valid ones in
// array order: the valid points of rank floor(k * count / samples).
std::vector<int> evenlySpreadSamples(const MVector3d *p, int n, int validCount, int samples)
{
    std::vector<int> picked;
    picked.reserve(samples);
    long long rank = 0;
    long long nextRank = 0;
    for (int i = 0; i < n && int(picked.size()) < samples; ++i) {
        if (!p[i].isValid())
            continue;
        if (rank == nextRank) {
            picked.push_back(i);
            nextRank = static_cast<long long>(picked.size()) * validCount / samples;
        }
        ++rank;
    }
    return picked;
}

// The distance from points of the tree's own cloud to their closest point at
// a non-zero distance. The tree's nearest-neighbour query may answer a stored
// point with itself, so the search runs over balls: it grows an empty ball,
// shrinks a crowded one to its closest point, and keeps the last answer as
// the first guess for the next query, which on a scan is nearly right.
class ClosestDistinctPoint {
public:
    ClosestDistinctPoint(const MKdTree &tree, int treeSize, double firstRadius, double reach)
        : m_tree(tree), m_treeSize(treeSize), m_ball(64), m_radius(firstRadius), m_reach(reach)
    {
    }

    // The distance, or a negative number when there is no such point.
    double distanceFrom(const MVector3d &p)
    {
        // A few dozen rounds of growing and shrinking settle any spacing that
        // doubles hold; the cap guards against coordinates beyond what the
        // tree's single-precision boxes hold.
        for (int round = 0; round < 256; ++round) {
            const int capacity = int(m_ball.size());
            const int found = m_tree.findAllNeighbors(p, m_radius, capacity, m_ball.data(), nullptr);
            double closest2 = std::numeric_limits<double>::infinity();
            for (int i = 0; i < found; ++i) {
                const double d2 = (m_ball[i] - p).dot(m_ball[i] - p);
                if (d2 > 0.0 && d2 < closest2)
                    closest2 = d2;
            }
            const double closest = std::sqrt(closest2);
            if (found < capacity) {
                // The whole ball was seen: its closest point is the answer.
                if (closest2 < std::numeric_limits<double>::infinity()) {
                    m_radius = 2.0 * closest;
                    return closest;
                }
                if (!(m_radius < m_reach))
                    return -1.0;
                m_radius *= 2.0;
            } else if (closest < m_radius) {
                // A little beyond the closest point found, so that rounding in
                // the ball test cannot lose it.
                m_radius = closest * (1.0 + 1e-12);
            } else {
                // A crowd of coinciding points fills the buffer.
                m_ball.resize(std::min<std::size_t>(m_ball.size() * 4, std::size_t(m_treeSize) + 1));
            }
        }
        return -1.0;
    }

private:
    const MKdTree &m_tree;
    int m_treeSize;
    std::vector<MVector3d> m_ball;
    double m_radius;
    double m_reach;
};

// Neighbour buffers of the smoothing filters and the curvature: a tenth of
// the cloud bounds the work per point on large clouds, and small clouds are
// searched completely.
int neighborBufferSize(int numPoints) { return std::max(numPoints / 10 + 1, std::min(numPoints, 128)); }

} // namespace

// ---- Spacing and density

double MPointCloud::averagePointDistance(int numSamples) const
{
    MKdTree tree;
    tree.from(*this);
    return averagePointDistance(tree, numSamples);
}

double MPointCloud::averagePointDistance(const MKdTree &tree, int numSamples) const
{
    const ValidPoints valid(points(), numPoints());
    if (numSamples < 1 || valid.count < 2)
        return 0.0;
    const double extent = (valid.maximum - valid.minimum).norm();
    if (!(extent > 0.0))
        return 0.0;
    const int samples = std::min(numSamples, valid.count);
    // A surface of this extent holding these points has about this spacing.
    ClosestDistinctPoint search(tree, numPoints(), extent / std::sqrt(double(valid.count)), 2.0 * extent);
    double sum = 0.0;
    int measured = 0;
    for (int index : evenlySpreadSamples(points(), numPoints(), valid.count, samples)) {
        const double d = search.distanceFrom(points()[index]);
        if (d > 0.0) {
            sum += d;
            ++measured;
        }
    }
    return measured ? sum / measured : 0.0;
}

double MPointCloud::absoluteDistance(const MKdTree &tree, double distance) const
{
    return distance < 0.0 ? -distance * averagePointDistance(tree, 1000) : distance;
}

double MPointCloud::density() const
{
    MKdTree tree;
    tree.from(*this);
    const double radius = 4.0 * averagePointDistance(tree, 1000);
    if (!(radius > 0.0))
        return 0.0;
    const int valid = numValidPoints();
    const std::vector<int> samples = evenlySpreadSamples(points(), numPoints(), valid, std::min(valid, 1000));
    double sum = 0.0;
    for (int index : samples)
        sum += tree.findAllNeighbors(points()[index], radius, numPoints(), nullptr, nullptr);
    return sum / (samples.size() * Pi * radius * radius);
}

void MPointCloud::computePointDensities(double *out, double radius) const
{
    if (!out)
        return;
    MKdTree tree;
    tree.from(*this);
    radius = absoluteDistance(tree, radius);
    const MVector3d *p = points();
    const int n = numPoints();
    std::fill(out, out + n, MInvalid);
    if (!(radius > 0.0))
        return;
    const double area = Pi * radius * radius;
    for (int i : detail::spatialOrder(p, n))
        out[i] = tree.findAllNeighbors(p[i], radius, n, nullptr, nullptr) / area;
}

void MPointCloud::computeNumNeighbors(int *out, double radius) const
{
    if (!out)
        return;
    MKdTree tree;
    tree.from(*this);
    radius = absoluteDistance(tree, radius);
    const MVector3d *p = points();
    const int n = numPoints();
    std::fill(out, out + n, 0);
    // The ball always holds the point itself, which is no neighbour of its own.
    for (int i : detail::spatialOrder(p, n))
        out[i] = std::max(tree.findAllNeighbors(p[i], radius, n, nullptr, nullptr) - 1, 0);
}

// ---- Normals and curvature

void MPointCloud::computeNormals(double radius)
{
    MKdTree tree;
    tree.from(*this);
    computeNormals(tree, radius);
}

void MPointCloud::computeNormals(const MKdTree &tree, double radius)
{
    if (std::fabs(radius) < 1e-8)
        radius = averagePointDistance(tree, 500);
    else if (radius < 0.0)
        radius = -radius * averagePointDistance(tree, 500);
    const int n = numPoints();
    m_normals.resize(n);
    m_normals.init(MVector3f::Infinity);
    MVector3f *normal = normals();
    const MVector3d *p = points();
    MVector3d neighbors[NormalNeighbors];
    for (int i : detail::spatialOrder(p, n)) {
        double r = 4.0 * radius;
        for (int attempt = 0; attempt < NormalAttempts; ++attempt, r *= 2.0) {
            const int found = tree.findAllNeighbors(p[i], r, NormalNeighbors, neighbors, nullptr);
            if (found > NormalMinNeighbors && detail::surfaceNormal(neighbors, found, normal[i]))
                break;
        }
    }
}

void MPointCloud::computePointCurvatures(double *out, double radius)
{
    if (!out)
        return;
    MKdTree tree;
    tree.from(*this);
    computePointCurvatures(tree, out, radius);
}

void MPointCloud::computePointCurvatures(const MKdTree &tree, double *out, double radius)
{
    radius = absoluteDistance(tree, radius);
    if (!hasNormals())
        computeNormals(tree, 0.0);
    const int n = numPoints();
    const MVector3d *p = points();
    const MVector3f *normal = normals();
    const int capacity = neighborBufferSize(n);
    std::vector<MVector3d> ball(capacity);
    std::vector<int> ballIndex(capacity);
    std::fill(out, out + n, MInvalid);
    for (int i : detail::spatialOrder(p, n)) {
        if (!normal[i].isValid())
            continue;
        const MVector3d centre(normal[i]);
        const int found = tree.findAllNeighbors(p[i], radius, capacity, ball.data(), ballIndex.data());
        double turn = 0.0;
        double distance = 0.0;
        for (int k = 0; k < found; ++k) {
            const MVector3f &other = normal[ballIndex[k]];
            const double d = (ball[k] - p[i]).norm();
            if (!(d > 0.0) || !other.isValid())
                continue;
            turn += detail::lineAngle(centre, MVector3d(other));
            distance += d;
        }
        if (distance > 0.0)
            out[i] = turn / distance;
    }
}

// ---- Cleaning

int MPointCloud::cleanOutliers(double radius, int minNeighbors)
{
    std::vector<int> neighbors(numPoints());
    computeNumNeighbors(neighbors.data(), radius);
    return invalidateWhere(points(), numPoints(), [&](int i) { return neighbors[i] < minNeighbors; });
}

int MPointCloud::cleanSparsePoints(double threshold, double radius)
{
    std::vector<double> densities(numPoints());
    computePointDensities(densities.data(), radius);
    return invalidateWhere(points(), numPoints(), [&](int i) { return densities[i] < threshold; });
}

int MPointCloud::cleanSteepPoints(double maxAngle, const MVector3d &viewDirection)
{
    // A NaN angle is refused with the wide ones.
    if (!(maxAngle < MAngle::DegToRad(90.0)) || !viewDirection.isValid() || viewDirection.squaredNorm() == 0.0)
        return 0;
    if (!hasNormals())
        computeNormals(0.0);
    const double limit = std::cos(maxAngle);
    const MVector3f direction = viewDirection.normalized().toVector3f();
    const MVector3f *normal = normals();
    return invalidateWhere(points(), numPoints(), [&](int i) {
        return normal[i].isValid() && std::fabs(normal[i].dot(direction)) < limit;
    });
}

// ---- Smoothing

void MPointCloud::filterGauss(double sigma, double strength)
{
    if (!(strength >= 0.0))
        return;
    strength = std::min(strength, 1.0);
    MKdTree tree;
    tree.from(*this);
    sigma = absoluteDistance(tree, sigma);
    // Without extent there is nothing to average over.
    if (!(sigma > 0.0))
        return;
    const double s = sigma / 2.0;
    const int n = numPoints();
    const MVector3d *p = points();
    const int capacity = neighborBufferSize(n);
    std::vector<MVector3d> ball(capacity);
    // Every point is filtered from the original positions.
    MVector3dArray filtered(n);
    filtered.init(MVector3d::Infinity);
    for (int i : detail::spatialOrder(p, n)) {
        const int found = tree.findAllNeighbors(p[i], sigma, capacity, ball.data(), nullptr);
        // Offsets from the point keep the sums small.
        MVector3d offsetSum(0.0, 0.0, 0.0);
        double weightSum = 0.0;
        for (int k = 0; k < found; ++k) {
            const MVector3d d = ball[k] - p[i];
            const double w = detail::gaussian(std::sqrt(d.dot(d)), s);
            offsetSum += d * w;
            weightSum += w;
        }
        filtered[i] = weightSum > 0.0 ? p[i] + offsetSum * (strength / weightSum) : p[i];
    }
    filtered.transferDataTo(m_points);
}

void MPointCloud::filterBilateral(double sigma, double sigmaNormal)
{
    // Without a range along the normal no point may move.
    if (!(sigmaNormal > 0.0))
        return;
    MKdTree tree;
    tree.from(*this);
    sigma = absoluteDistance(tree, sigma);
    if (!(sigma > 0.0))
        return;
    if (!hasNormals())
        computeNormals(tree, 0.0);
    const double s = sigma / 2.0;
    const int n = numPoints();
    const MVector3d *p = points();
    const MVector3f *normal = normals();
    const int capacity = neighborBufferSize(n);
    std::vector<MVector3d> ball(capacity);
    MVector3dArray filtered(n);
    filtered.init(MVector3d::Infinity);
    for (int i : detail::spatialOrder(p, n)) {
        const MVector3d axis = MVector3d(normal[i]).normalized();
        if (!axis.isValid()) {
            filtered[i] = p[i];
            continue;
        }
        const int found = tree.findAllNeighbors(p[i], sigma, capacity, ball.data(), nullptr);
        double heightSum = 0.0;
        double weightSum = 0.0;
        for (int k = 0; k < found; ++k) {
            const MVector3d d = ball[k] - p[i];
            const double height = d.dot(axis);
            const double w = detail::gaussian(std::sqrt(d.dot(d)), s) * detail::gaussian(std::fabs(height), sigmaNormal);
            heightSum += w * height;
            weightSum += w;
        }
        filtered[i] = weightSum > 0.0 ? p[i] + axis * (heightSum / weightSum) : p[i];
    }
    filtered.transferDataTo(m_points);
}

// ---- Extremes and merging

MVector3d MPointCloud::extremePoint(int coordinate, bool maximum, int numPointsToAverage, int numPointsToIgnore) const
{
    if (coordinate < 0 || coordinate > 2)
        return MFailure::raise("MPointCloud::extremePoint: invalid parameter \"coordinate\" (must be 0, 1 or 2)!",
                               MVector3d::Infinity);
    if (numPointsToAverage < 1)
        return MFailure::raise("MPointCloud::extremePoint: invalid parameter \"numPointsToAverage\" (must be at least 1)!",
                               MVector3d::Infinity);
    if (numPointsToIgnore < 0)
        return MFailure::raise(
            "MPointCloud::extremePoint: invalid parameter \"numPointsToIgnore\" (must be greater or equal to zero)!",
            MVector3d::Infinity);

    // Keys that put the wanted end first, the array order breaking ties.
    const MVector3d *p = points();
    std::vector<std::pair<double, int>> keys;
    keys.reserve(numPoints());
    for (int i = 0; i < numPoints(); ++i)
        if (p[i].isValid())
            keys.emplace_back(maximum ? -p[i][coordinate] : p[i][coordinate], i);
    const long long wanted = static_cast<long long>(numPointsToIgnore) + numPointsToAverage;
    const auto end = keys.begin() + std::min<long long>(wanted, static_cast<long long>(keys.size()));
    const auto begin = keys.begin() + std::min<long long>(numPointsToIgnore, static_cast<long long>(keys.size()));
    if (begin == end)
        return MVector3d::Infinity;
    std::partial_sort(keys.begin(), end, keys.end());

    // The mean is taken about the first point averaged.
    const MVector3d reference = p[begin->second];
    MVector3d offsetSum(0.0, 0.0, 0.0);
    for (auto key = begin; key != end; ++key)
        offsetSum += p[key->second] - reference;
    return reference + offsetSum / double(end - begin);
}

void MPointCloud::integrate(const MPointCloud &other)
{
    if (&other == this) {
        const MPointCloud copy(other);
        integrate(copy);
        return;
    }
    const int n = numPoints();
    const int total = static_cast<int>(std::min<long long>(static_cast<long long>(n) + other.numPoints(), 0x7fffffff));
    const bool withColors = colorsAligned() && other.colorsAligned();
    const bool withNormals = normalsAligned() && other.normalsAligned();
    m_points.reserveCapacity(total);
    if (withColors)
        m_colors.reserveCapacity(total);
    if (withNormals)
        m_normals.reserveCapacity(total);
    const MVector3d *src = other.points();
    for (int i = 0; i < other.numPoints() && numPoints() < total; ++i) {
        if (!src[i].isValid())
            continue;
        m_points.add(src[i]);
        if (withColors)
            m_colors.add(other.colors()[i]);
        if (withNormals)
            m_normals.add(other.normals()[i]);
    }
}

MPointCloud MPointCloud::crossSection(const MPlane &plane, double thickness) const
{
    if (thickness < 0.0)
        thickness = -thickness * averagePointDistance(1000);
    MPointCloud section(*this);
    section.reduceToRegions(selectDistanceRange(plane, -thickness, thickness));
    return section;
}

} // namespace ZOLAR3D
