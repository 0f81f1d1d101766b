#pragma once

#include "MBlockMap.h"
#include "MColor.h"
#include "MVector3d.h"
#include "metrology/data/detail/MVoxelGrid.h"

#include <cstdint>
#include <vector>

namespace ZOLAR3D {

class MPointCloud;

// Thins a cloud to one point per occupied cube of a grid. The voxels are the
// nodes of a hash map keyed by their cube, so the map's block allocator is
// the allocator of the voxels and a voxel costs no heap allocation of its own.
class MPointCloudVoxelDecimation {
public:
    // The sums of a voxel's points. Positions are summed as offsets from the
    // cube's corner, which keeps them small and their mean exact to the digit.
    struct Sums {
        MVector3d offsetSum;
        int count;
        // The voxel's rank in the order the voxels were first met; it also
        // indexes the voxel's colour and normal sums.
        int order;
    };
    using Map = MBlockMap<MVoxelCell, Sums>;
    using Voxel = Map::Node;

    // The table has a power-of-two bucket count of at least one per valid
    // point, 0x100000 for a million points: chains stay short, and a small
    // cloud keeps a table that fits the cache. The output does not depend on it.
    static constexpr int MinBucketCount = 1024;

    // A size that is not above 0 stands for the cloud's average point distance.
    explicit MPointCloudVoxelDecimation(double voxelSize);

    // Accumulates each valid point, with its normal and colour when the cloud
    // has them, in the voxel that holds it.
    void fill(const MPointCloud &cloud);
    // One point per voxel, the mean of its points, in the order the voxels
    // were first met; colours and normals as in the cloud filled.
    void output(MPointCloud &result);
    // The indices of the first maxPerVoxel valid points of each voxel, in
    // array order; no sums are kept.
    std::vector<int> firstPoints(const MPointCloud &cloud, int maxPerVoxel);

private:
    struct ColorSums {
        std::uint64_t alpha, red, green, blue;
    };

    // Fixes the voxel size and the origin for the cloud and sizes the table.
    MVoxelGrid frame(const MPointCloud &cloud);
    Sums &voxelAt(const MVoxelCell &cell, std::size_t bucket);
    // Hands each valid point of the array to visit(index, cell, sums), with
    // the voxel's bucket and chain prefetched some points ahead: in a large
    // cloud nearly every lookup would otherwise wait for memory twice.
    template <class Visit>
    void forEachValidPoint(const MVector3d *points, int count, Visit visit);
    void addNormal(int order, const MVector3f &normal);
    void addColor(int order, const MColor &color);

    double m_voxelSize;
    Map m_voxels;
    // The voxels in the order first met, which is also their order in the
    // allocator's blocks: the output reads both front to back.
    std::vector<const Voxel *> m_voxelsInOrder;
    // Anchored at the minimum corner of the cloud's valid points.
    MVoxelGrid m_grid;
    bool m_withNormals = false;
    bool m_withColors = false;
    std::vector<MVector3d> m_normalSums;
    std::vector<ColorSums> m_colorSums;
};

} // namespace ZOLAR3D
