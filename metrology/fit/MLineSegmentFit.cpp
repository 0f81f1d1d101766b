#include "MLineSegmentFit.h"

#include "MPrincipalComponentAnalysis.h"
#include "metrology/fit/detail/MFitExtent.h"

namespace ZOLAR3D {

void MLineSegmentFit::fit()
{
    const int n = m_points.size();
    if (n < 2)
        return refuse("LineSegmentFit: not enough valid points given (minimum required: 2)");
    const MVector3d *p = m_points.points();
    // Two points are taken as the segment they span, in the order given and
    // without orientation, so that a segment between two picked points keeps
    // its sense.
    if (n == 2) {
        m_result = MLineSegment(p[0], p[1]);
        return;
    }
    // No orientation here either: the segment runs along the principal axis
    // as the principal component analysis signs it.
    const MPrincipalComponentAnalysis pca(p, n);
    const MLine line(pca.center(), pca.eigenVector(0));
    double tmin, tmax;
    lineParameterRange(line, p, n, tmin, tmax);
    m_result = MLineSegment(line.position() + line.direction() * tmin, line.position() + line.direction() * tmax);
}

} // namespace ZOLAR3D
