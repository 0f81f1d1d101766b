#include "MLineSegmentFit.h"

#include "MPrincipalComponentAnalysis.h"
#include "metrology/fit/detail/MFitPasses.h"

namespace ZOLAR3D {

void MLineSegmentFit::fit() { fitPoints(m_points.points(), m_points.size()); }

void MLineSegmentFit::fitPoints(const MVector3d *points, int n)
{
    MVector3d first[3];
    const int found = gatherValidPoints(points, n, first, 3);
    if (found < 2)
        return refuse("LineSegmentFit: not enough valid points given (minimum required: 2)");
    // Two points are taken as the segment they span, in the order given and
    // without orientation, so that a segment between two picked points keeps
    // its sense.
    if (found == 2) {
        m_result = MLineSegment(first[0], first[1]);
        return;
    }
    // No orientation here either: the segment runs along the principal axis
    // as the principal component analysis signs it.
    const MPrincipalComponentAnalysis pca(points, n);
    const MLine line(pca.center(), pca.eigenVector(0));
    double tmin, tmax;
    lineParameterRange(line, points, n, tmin, tmax);
    m_result = MLineSegment(line.position() + line.direction() * tmin, line.position() + line.direction() * tmax);
}

} // namespace ZOLAR3D
