#pragma once

#include "MMatrix3.h"
#include "MMatrix4.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

class MPointCloud;

// The principal axes of the valid points of a set: eigenvalues and unit
// eigenvectors of their scatter matrix about the mean, largest first. The
// scatter is not divided by the number of points, so the eigenvalues grow with
// it. Each axis has its dominant component positive, except that the frame is
// made right-handed by flipping one of the axes farthest from the z axis.
//
// With fewer than 3 valid points nothing is solved: the centre then holds the
// plain sum of the points and the eigen fields keep their values, so callers
// test the count first.
class ZOL3D_API MPrincipalComponentAnalysis {
public:
    MPrincipalComponentAnalysis();
    explicit MPrincipalComponentAnalysis(const MPointCloud &cloud);
    MPrincipalComponentAnalysis(const MVector3d *points, int numPoints);

    // 0 is the largest; outside 0 to 2 the invalid marker.
    double eigenValue(int i) const;
    // Unit length, in the order of the eigenvalues; outside 0 to 2 invalid.
    MVector3d eigenVector(int i) const;
    const MVector3d &center() const { return m_center; }
    // Never computed: the identity of a default matrix.
    const MMatrix3 &covarianceMatrix() const { return m_covariance; }
    // The centre is a valid vector.
    bool isValid() const { return m_center.isValid(); }
    // The frame of the eigenvectors at the centre, as a local-to-world pose.
    MMatrix4 pose() const;

private:
    void compute(const MVector3d *points, int numPoints);

    double m_eigenvalues[3];
    MVector3d m_eigenvectors[3];
    MVector3d m_center;
    MMatrix3 m_covariance;
};

} // namespace ZOLAR3D
