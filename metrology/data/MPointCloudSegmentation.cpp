#include "MPointCloud.h"

#include "MAngle.h"
#include "MFailure.h"
#include "MInvalid.h"
#include "MKdTree.h"

#include <omp.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace ZOLAR3D {

namespace {

const char *const ConnectivityRadiusText = "MPointCloud::connectivitySegmentation: invalid radius!";
const char *const NormalRadiusText = "MPointCloud::normalSegmentation: invalid radius!";
const char *const NormalAngleText = "MPointCloud::normalSegmentation: invalid angle!";
const char *const CurvatureRadiusText = "MPointCloud::curvatureSegmentation: invalid radius!";
const char *const CurvatureDifferenceText = "MPointCloud::curvatureSegmentation: invalid curvature difference!";

// Every point of a ball. The tree stops at the buffer's capacity, so a full
// buffer is widened and the query repeated until the ball fits: a region
// must not lose a neighbour to a crowded ball. Buffers are kept per OpenMP
// thread and keep their width from query to query.
class BallSearch {
public:
    BallSearch(const MKdTree &tree, int numPoints)
        : m_tree(tree), m_limit(numPoints + 1), m_buffers(std::size_t(std::max(1, omp_get_max_threads())))
    {
    }

    // The number of points found; `indices` then points at their indices.
    int find(const MVector3d &centre, double radius, const int *&indices)
    {
        std::vector<int> &buffer = m_buffers[std::size_t(omp_get_thread_num()) % m_buffers.size()];
        if (buffer.empty())
            buffer.resize(std::size_t(std::min(64, m_limit)));
        for (;;) {
            const int capacity = int(buffer.size());
            const int found = m_tree.findAllNeighbors(centre, radius, capacity, nullptr, buffer.data());
            if (found < capacity || capacity >= m_limit) {
                indices = buffer.data();
                return found;
            }
            buffer.resize(std::size_t(std::min<long long>(4LL * capacity, m_limit)));
        }
    }

private:
    const MKdTree &m_tree;
    int m_limit;
    std::vector<std::vector<int>> m_buffers;
};

// Grows one region after the other from the seeds, in their order, over the
// balls of the points already in the region. A rule says which neighbour
// joins: start(seed) opens a region, accepts(from, to) judges a neighbour
// reached from a member, join(to) takes it in. Small regions are then left
// out and the rest numbered largest first.
template <class Rule>
MRegions growRegions(MRegions regions, const MVector3d *points, BallSearch &balls, double radius,
                     const std::vector<int> &seeds, Rule &rule, int minSize)
{
    std::vector<int> queue;
    for (const int seed : seeds) {
        if (regions[seed] >= 0)
            continue;
        const int region = regions.addRegion();
        rule.start(seed);
        regions.addToRegion(seed, region);
        queue.assign(1, seed);
        for (std::size_t head = 0; head < queue.size(); ++head) {
            const int from = queue[head];
            const int *ball;
            const int found = balls.find(points[from], radius, ball);
            for (int k = 0; k < found; ++k) {
                const int to = ball[k];
                if (regions[to] >= 0 || !rule.accepts(from, to))
                    continue;
                rule.join(to);
                regions.addToRegion(to, region);
                queue.push_back(to);
            }
        }
    }
    regions.selectSize(minSize, 0);
    regions.sortBySize(true);
    return regions;
}

struct AnyNeighbor {
    void start(int) {}
    bool accepts(int, int) const { return true; }
    void join(int) {}
};

// Normals are compared as lines, since a normal and its negation stand for
// the same surface: the angle is within the limit when
// |a x b| cos(limit) <= |a . b| sin(limit). Squared, this needs neither root
// nor arc function, and it keeps the digits of small angles that a test on
// the dot product alone would lose.
class SimilarNormal {
public:
    SimilarNormal(const MVector3f *normals, double maxAngle)
        : m_normals(normals), m_cos2(square(maxAngle < MAngle::Pi / 2 ? std::cos(maxAngle) : 0.0)),
          m_sin2(square(std::sin(maxAngle)))
    {
    }

    static bool hasDirection(const MVector3f &n) { return n.isValid() && MVector3d(n).squaredNorm() > 0.0; }

    void start(int) {}
    bool accepts(int from, int to) const
    {
        if (!hasDirection(m_normals[to]))
            return false;
        const MVector3d a(m_normals[from]);
        const MVector3d b(m_normals[to]);
        return a.cross(b).squaredNorm() * m_cos2 <= square(a.dot(b)) * m_sin2;
    }
    void join(int) {}

private:
    static double square(double v) { return v * v; }

    const MVector3f *m_normals;
    double m_cos2;
    double m_sin2;
};

// Against the running mean of the region rather than the point a neighbour
// is reached from: a smooth transition between two curvatures would let a
// chain of small steps join them.
class SimilarCurvature {
public:
    SimilarCurvature(const std::vector<double> &curvatures, double maxDifference)
        : m_curvatures(curvatures), m_maxDifference(maxDifference)
    {
    }

    void start(int seed)
    {
        m_sum = m_curvatures[seed];
        m_count = 1;
    }
    bool accepts(int, int to) const
    {
        const double k = m_curvatures[std::size_t(to)];
        return MIsValidValue(k) && std::fabs(k - m_sum / m_count) <= m_maxDifference;
    }
    void join(int to)
    {
        m_sum += m_curvatures[std::size_t(to)];
        ++m_count;
    }

private:
    const std::vector<double> &m_curvatures;
    double m_maxDifference;
    double m_sum = 0.0;
    double m_count = 0.0;
};

template <class Eligible>
std::vector<int> seedsInOrder(int numPoints, const Eligible &eligible)
{
    std::vector<int> seeds;
    for (int i = 0; i < numPoints; ++i)
        if (eligible(i))
            seeds.push_back(i);
    return seeds;
}

} // namespace

MRegions MPointCloud::emptyRegions() const
{
    return isOrganized2d() ? MRegions(m_width, m_height) : MRegions(numPoints());
}

MRegions MPointCloud::connectivitySegmentation(int minSize, double radius) const
{
    MKdTree tree;
    tree.from(points(), numPoints());
    radius = absoluteDistance(tree, radius);
    if (std::isnan(radius))
        return MFailure::raise(ConnectivityRadiusText, emptyRegions());
    const MVector3d *p = points();
    BallSearch balls(tree, numPoints());
    AnyNeighbor rule;
    const std::vector<int> seeds = seedsInOrder(numPoints(), [p](int i) { return p[i].isValid(); });
    return growRegions(emptyRegions(), p, balls, radius, seeds, rule, minSize);
}

MRegions MPointCloud::normalSegmentation(int minSize, double maxAngle, double radius)
{
    if (std::isnan(maxAngle))
        return MFailure::raise(NormalAngleText, emptyRegions());
    maxAngle = std::min(std::fabs(maxAngle), MAngle::Pi / 2);
    MKdTree tree;
    tree.from(points(), numPoints());
    radius = absoluteDistance(tree, radius);
    if (std::isnan(radius))
        return MFailure::raise(NormalRadiusText, emptyRegions());
    if (!hasNormals())
        computeNormals(tree, 0.0);
    const MVector3d *p = points();
    const MVector3f *n = normals();
    BallSearch balls(tree, numPoints());
    SimilarNormal rule(n, maxAngle);
    const std::vector<int> seeds =
        seedsInOrder(numPoints(), [p, n](int i) { return p[i].isValid() && SimilarNormal::hasDirection(n[i]); });
    return growRegions(emptyRegions(), p, balls, radius, seeds, rule, minSize);
}

MRegions MPointCloud::curvatureSegmentation(int minSize, double maxCurvatureDifference, double radius)
{
    if (std::isnan(maxCurvatureDifference))
        return MFailure::raise(CurvatureDifferenceText, emptyRegions());
    MKdTree tree;
    tree.from(points(), numPoints());
    radius = absoluteDistance(tree, radius);
    if (std::isnan(radius))
        return MFailure::raise(CurvatureRadiusText, emptyRegions());
    std::vector<double> curvatures(static_cast<std::size_t>(numPoints()));
    computePointCurvatures(tree, curvatures.data(), radius);
    std::vector<int> seeds = seedsInOrder(numPoints(), [&curvatures](int i) { return MIsValidValue(curvatures[std::size_t(i)]); });
    std::stable_sort(seeds.begin(), seeds.end(),
                     [&curvatures](int a, int b) { return curvatures[std::size_t(a)] < curvatures[std::size_t(b)]; });
    BallSearch balls(tree, numPoints());
    SimilarCurvature rule(curvatures, std::fabs(maxCurvatureDifference));
    return growRegions(emptyRegions(), points(), balls, radius, seeds, rule, minSize);
}

} // namespace ZOLAR3D
