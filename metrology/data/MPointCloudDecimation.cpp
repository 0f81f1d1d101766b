#include "MPointCloud.h"

#include "MInvalid.h"

#include "metrology/core/detail/MPointStream.h"
#include "metrology/data/detail/MPointCloudVoxelDecimation.h"
#include "metrology/data/detail/MVoxelGrid.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ZOLAR3D {

namespace {

// The smallest corner of the valid points and how many there are, in one
// plain pass: the voxel grids are anchored there.
struct ValidCorner {
    int count = 0;
    MVector3d minimum;

    explicit ValidCorner(const MPointCloud &cloud)
    {
        double x = MInvalid, y = MInvalid, z = MInvalid;
        // Without branches and reading ahead: a pass over a large cloud is
        // decided by its speed.
        streamPoints(cloud.points(), cloud.numPoints(), [&](const MVector3d &p) {
            const bool valid = p.isValid();
            count += valid;
            x = valid ? std::min(x, p.x()) : x;
            y = valid ? std::min(y, p.y()) : y;
            z = valid ? std::min(z, p.z()) : z;
        });
        if (count)
            minimum.setValues(x, y, z);
    }
};

// The bounding box of the valid points and how many there are.
struct ValidExtent {
    int count = 0;
    MVector3d minimum;
    MVector3d maximum;

    explicit ValidExtent(const MPointCloud &cloud)
    {
        const MVector3d *p = cloud.points();
        for (int i = 0; i < cloud.numPoints(); ++i) {
            if (!p[i].isValid())
                continue;
            ++count;
            minimum = MVector3d::minimum(minimum, p[i]);
            maximum = MVector3d::maximum(maximum, p[i]);
        }
    }
};

// A new unorganised cloud of the given points, with their colours and
// normals when the cloud has them.
MPointCloud pick(const MPointCloud &cloud, const std::vector<int> &indices)
{
    const int n = static_cast<int>(indices.size());
    MPointCloud result;
    result.resizePoints(n);
    const bool withColors = cloud.hasColors();
    const bool withNormals = cloud.hasNormals();
    if (withColors)
        result.resizeColors(n, MColor());
    if (withNormals)
        result.resizeNormals(n);
    for (int k = 0; k < n; ++k) {
        result.points()[k] = cloud.points()[indices[k]];
        if (withColors)
            result.colors()[k] = cloud.colors()[indices[k]];
        if (withNormals)
            result.normals()[k] = cloud.normals()[indices[k]];
    }
    return result;
}

// Array-order greedy thinning: each valid point is kept unless a point kept
// before it lies closer than the distance, in which case it counts towards
// the support of the first such point found.
struct SpacedPoints {
    std::vector<int> kept;
    std::vector<int> support;

    SpacedPoints(const MPointCloud &cloud, double distance)
    {
        const ValidExtent extent(cloud);
        const MVector3d *p = cloud.points();
        if (distance == 0.0) {
            for (int i = 0; i < cloud.numPoints(); ++i)
                if (p[i].isValid())
                    keep(i);
            return;
        }
        // Cubes no smaller than the distance hold every point closer than it
        // within the 27 cubes around a point; the floor on their edge keeps
        // the cube counts small enough that a neighbour's count is exact.
        const double span = (extent.maximum - extent.minimum).norm();
        const MVoxelGrid grid(extent.minimum, std::max(distance, span * 0x1p-40));
        MBlockMap<MVoxelCell, int> lastKeptInCell(std::max(extent.count, 1));
        const double limit2 = distance * distance;
        for (int i = 0; i < cloud.numPoints(); ++i) {
            if (!p[i].isValid())
                continue;
            const MVoxelCell cell = grid.cellOf(p[i]);
            const int near = keptPointNear(p, i, cell, lastKeptInCell, limit2);
            if (near >= 0) {
                ++support[near];
                continue;
            }
            int *last = lastKeptInCell.find(cell);
            m_previousInCell.push_back(last ? *last : -1);
            if (last)
                *last = static_cast<int>(kept.size());
            else
                lastKeptInCell.insert(cell, static_cast<int>(kept.size()));
            keep(i);
        }
    }

private:
    void keep(int index)
    {
        kept.push_back(index);
        support.push_back(1);
    }

    // The rank of a kept point closer to point i than the limit, or -1.
    int keptPointNear(const MVector3d *p, int i, const MVoxelCell &cell,
                      const MBlockMap<MVoxelCell, int> &lastKeptInCell, double limit2) const
    {
        for (int dz = -1; dz <= 1; ++dz)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dx = -1; dx <= 1; ++dx) {
                    const int *last = lastKeptInCell.find({cell.x + dx, cell.y + dy, cell.z + dz});
                    for (int k = last ? *last : -1; k >= 0; k = m_previousInCell[k]) {
                        const MVector3d d = p[kept[k]] - p[i];
                        if (d.dot(d) < limit2)
                            return k;
                    }
                }
        return -1;
    }

    // For each kept point, the kept point before it in the same cube, or -1.
    std::vector<int> m_previousInCell;
};

} // namespace

// ---- Voxel decimation

MPointCloudVoxelDecimation::MPointCloudVoxelDecimation(double voxelSize)
    : m_voxelSize(voxelSize), m_voxels(1), m_grid(MVector3d(), 1.0)
{
}

MVoxelGrid MPointCloudVoxelDecimation::frame(const MPointCloud &cloud)
{
    if (!(m_voxelSize > 0.0))
        m_voxelSize = cloud.averagePointDistance(1000);
    // Without two distinct points there is one voxel per place whatever the size.
    if (!(m_voxelSize > 0.0))
        m_voxelSize = 1.0;
    const ValidCorner corner(cloud);
    int buckets = MinBucketCount;
    while (buckets < corner.count && buckets < (1 << 30))
        buckets *= 2;
    m_voxels.resizeBuckets(buckets);
    // Only the part used is ever touched, and no regrowth copies it.
    m_voxelsInOrder.reserve(corner.count);
    return MVoxelGrid(corner.minimum, m_voxelSize);
}

MPointCloudVoxelDecimation::Sums &MPointCloudVoxelDecimation::voxelAt(const MVoxelCell &cell, std::size_t bucket)
{
    if (Sums *sums = m_voxels.find(cell, bucket))
        return *sums;
    Voxel *voxel = m_voxels.insertNode(cell, Sums{MVector3d(0.0, 0.0, 0.0), 0, m_voxels.size()}, bucket);
    m_voxelsInOrder.push_back(voxel);
    return voxel->value;
}

template <class Visit>
void MPointCloudVoxelDecimation::forEachValidPoint(const MVector3d *p, int n, Visit visit)
{
    // Buckets are prefetched this many points ahead, chains half as many,
    // by which time their bucket has arrived.
    constexpr int BucketAhead = 32;
    constexpr int ChainAhead = BucketAhead / 2;
    struct Pending {
        MVoxelCell cell;
        std::size_t bucket;
        bool valid;
    };
    Pending ahead[BucketAhead] = {};
    auto prepare = [&](int j) {
        Pending &next = ahead[j % BucketAhead];
        next.valid = p[j].isValid();
        if (!next.valid)
            return;
        next.cell = m_grid.cellOf(p[j]);
        next.bucket = m_voxels.bucketOf(next.cell);
        m_voxels.prefetchBucket(next.bucket);
    };
    for (int j = 0; j < std::min(n, BucketAhead); ++j)
        prepare(j);
    for (int i = 0; i < n; ++i) {
        const Pending &soon = ahead[(i + ChainAhead) % BucketAhead];
        if (i + ChainAhead < n && soon.valid)
            m_voxels.prefetchChain(soon.bucket);
        const Pending now = ahead[i % BucketAhead];
        if (i + BucketAhead < n)
            prepare(i + BucketAhead);
        if (now.valid)
            visit(i, now.cell, voxelAt(now.cell, now.bucket));
    }
}

void MPointCloudVoxelDecimation::fill(const MPointCloud &cloud)
{
    m_grid = frame(cloud);
    m_withNormals = cloud.hasNormals();
    m_withColors = cloud.hasColors();
    const MVector3d *p = cloud.points();
    forEachValidPoint(p, cloud.numPoints(), [&](int i, const MVoxelCell &cell, Sums &sums) {
        sums.offsetSum += p[i] - m_grid.cornerOf(cell);
        ++sums.count;
        if (m_withNormals)
            addNormal(sums.order, cloud.normals()[i]);
        if (m_withColors)
            addColor(sums.order, cloud.colors()[i]);
    });
}

void MPointCloudVoxelDecimation::addNormal(int order, const MVector3f &normal)
{
    if (order == static_cast<int>(m_normalSums.size()))
        m_normalSums.emplace_back(0.0, 0.0, 0.0);
    if (normal.isValid())
        m_normalSums[order] += MVector3d(normal);
}

void MPointCloudVoxelDecimation::addColor(int order, const MColor &color)
{
    if (order == static_cast<int>(m_colorSums.size()))
        m_colorSums.push_back({0, 0, 0, 0});
    ColorSums &sums = m_colorSums[order];
    sums.alpha += color.alpha();
    sums.red += color.red();
    sums.green += color.green();
    sums.blue += color.blue();
}

void MPointCloudVoxelDecimation::output(MPointCloud &result)
{
    const int count = m_voxels.size();
    result.clear();
    result.resizePoints(count);
    if (m_withNormals)
        result.resizeNormals(count);
    if (m_withColors)
        result.resizeColors(count, MColor());
    MVector3d *points = result.points();
    MVector3f *normals = result.normals();
    MColor *colors = result.colors();
    for (int k = 0; k < count; ++k) {
        const Voxel &voxel = *m_voxelsInOrder[k];
        const Sums &sums = voxel.value;
        points[k] = m_grid.cornerOf(voxel.key) + sums.offsetSum / double(sums.count);
        if (m_withNormals)
            normals[k] = m_normalSums[k].normalized().toVector3f();
        if (m_withColors) {
            const ColorSums &c = m_colorSums[k];
            auto mean = [n = std::uint64_t(sums.count)](std::uint64_t sum) { return int((sum + n / 2) / n); };
            colors[k] = MColor(mean(c.red), mean(c.green), mean(c.blue), mean(c.alpha));
        }
    }
}

std::vector<int> MPointCloudVoxelDecimation::firstPoints(const MPointCloud &cloud, int maxPerVoxel)
{
    m_grid = frame(cloud);
    // Every occupied voxel keeps at least one point.
    maxPerVoxel = std::max(maxPerVoxel, 1);
    std::vector<int> kept;
    forEachValidPoint(cloud.points(), cloud.numPoints(), [&](int i, const MVoxelCell &, Sums &sums) {
        if (sums.count < maxPerVoxel) {
            ++sums.count;
            kept.push_back(i);
        }
    });
    return kept;
}

// ---- The decimations of the cloud

void MPointCloud::decimateBySubsampling(int step)
{
    MPointCloud result = subsampled(step);
    if (step >= 1)
        result.transferDataTo(*this);
}

void MPointCloud::decimateVoxelBased(double voxelSize, bool keepAverage, int maxPerVoxel)
{
    if (voxelSize < 0.0)
        voxelSize = -voxelSize * averagePointDistance(1000);
    MPointCloudVoxelDecimation decimation(voxelSize);
    MPointCloud result;
    if (keepAverage) {
        decimation.fill(*this);
        decimation.output(result);
    } else {
        result = pick(*this, decimation.firstPoints(*this, maxPerVoxel));
    }
    result.transferDataTo(*this);
}

void MPointCloud::decimateByMinimumPointDistance(double distance, bool keepOrganization, int minPoints)
{
    if (distance < 0.0)
        distance = -distance * averagePointDistance(1000);
    if (!(distance >= 0.0))
        return;
    const SpacedPoints spaced(*this, distance);
    std::vector<int> kept;
    for (std::size_t k = 0; k < spaced.kept.size(); ++k)
        if (spaced.support[k] >= minPoints)
            kept.push_back(spaced.kept[k]);
    if (!keepOrganization) {
        pick(*this, kept).transferDataTo(*this);
        return;
    }
    std::vector<bool> keep(numPoints(), false);
    for (int index : kept)
        keep[index] = true;
    for (int i = 0; i < numPoints(); ++i)
        if (!keep[i] && m_points[i].isValid())
            m_points[i].invalidate();
}

} // namespace ZOLAR3D
