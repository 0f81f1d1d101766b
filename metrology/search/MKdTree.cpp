#include "MKdTree.h"

#include "MPointCloud.h"
#include "metrology/search/detail/MKdTreeImpl.h"

namespace ZOLAR3D {

MKdTree::MKdTree() : m_impl(new Impl) {}

MKdTree::~MKdTree() { delete m_impl; }

void MKdTree::clear() { m_impl->clear(); }

void MKdTree::from(const MVector3d *points, int numPoints) { m_impl->from(points, numPoints); }

void MKdTree::from(const MVector3f *points, int numPoints) { m_impl->from(points, numPoints); }

void MKdTree::from(const MPointCloud &cloud) { m_impl->from(cloud.points(), cloud.size()); }

void MKdTree::insert(const MVector3d &point) { m_impl->insert(point); }

bool MKdTree::findNearestNeighbor(const MVector3d &query, double maxDistance, MVector3d *nearest, int *index,
                                  bool ignoreZeroDistance) const
{
    return m_impl->findNearestNeighbor(query, maxDistance, nearest, index, ignoreZeroDistance);
}

int MKdTree::findNearestNeighbors(const MVector3d &query, double maxDistance, int maxCount, MVector3d *points,
                                  int *indices) const
{
    return m_impl->findNearestNeighbors(query, maxDistance, maxCount, points, indices);
}

int MKdTree::findAllNeighbors(const MVector3d &query, double radius, int maxCount, MVector3d *points,
                              int *indices) const
{
    return m_impl->findAllNeighbors(query, radius, maxCount, points, indices);
}

bool MKdTree::findAnyNeighbor(const MVector3d &query, double radius, MVector3d *point, int *index) const
{
    return m_impl->findAnyNeighbor(query, radius, point, index);
}

int MKdTree::findAllPointsInBox(const MVector3d &minimum, const MVector3d &maximum, int maxCount, MVector3d *points,
                                int *indices) const
{
    return m_impl->findAllPointsInBox(minimum, maximum, maxCount, points, indices);
}

} // namespace ZOLAR3D
