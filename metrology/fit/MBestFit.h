#pragma once

#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MPointCloud.h"
#include "MSphere.h"
#include "MVector3d.h"
#include "Zol3DExport.h"

#include <utility>

namespace ZOLAR3D {

// Base of every least-squares fit of the library. T is the shape that comes
// out; it stays invalid until a fit has run. The instance fits its own copy
// of the valid points, so that the caller's cloud may change or die while
// the fit object lives, and the outlier pass can thin the copy out.
//
// Fits are unweighted: every valid point counts the same.
template <class T>
class MBestFit {
public:
    MBestFit() = default;
    MBestFit(const MBestFit &) = default;
    MBestFit &operator=(const MBestFit &) = default;

    // The complete fit of the private points into the result shape.
    virtual void fit() = 0;
    // The fit without the work that a RANSAC hypothesis or a quick answer
    // does not need; unless a fit knows better, the complete fit.
    virtual void fitFast() { fit(); }
    // Makes the sign of a direction unique: the dominant component positive.
    // A tie flips the vector when any tied component is negative, so that
    // (1, -1, 0) and (-1, 1, 0) swap; every fitted direction of the library
    // comes out of this rule, so it stays and does not become a lexical order.
    virtual void orient(MVector3d &direction);
    virtual ~MBestFit();

    // Replaces the private points by the valid points of cloud, in input
    // order; colours and normals are not taken.
    void setPoints(const MPointCloud &cloud);
    // Swaps the private points with those of cloud, which must all be valid,
    // and hands the former storage back in cloud: a caller that gathers the
    // points itself, as RANSAC does with the inliers of every hypothesis,
    // fills one buffer and the fit reuses it, without a copy.
    void swapValidPoints(MPointCloud &cloud) { std::swap(m_points, cloud); }
    // fit(), then, with stdDevFactor > 0 and a valid result, one outlier
    // pass: the points whose distance to the shape lies outside
    // +-stdDevFactor x (standard deviation of the distances) are dropped and
    // the fit runs once more.
    void compute(double stdDevFactor);

    const T &result() const { return m_result; }
    // The private points as the next fit will see them.
    const MPointCloud &points() const { return m_points; }

protected:
    // The failure of a fit with too few points: raises text under the
    // failure policy, otherwise marks the result invalid.
    void refuse(const char *text);

    T m_result;
    MPointCloud m_points;

private:
    void dropOutliers(double stdDevFactor);
};

// The frames are compiled once, in the library.
extern template class ZOL3D_API MBestFit<MPlane>;
extern template class ZOL3D_API MBestFit<MLine>;
extern template class ZOL3D_API MBestFit<MLineSegment>;
extern template class ZOL3D_API MBestFit<MVector3d>;
extern template class ZOL3D_API MBestFit<MCircle>;
extern template class ZOL3D_API MBestFit<MSphere>;
extern template class ZOL3D_API MBestFit<MCylinder>;
extern template class ZOL3D_API MBestFit<MCone>;

} // namespace ZOLAR3D
