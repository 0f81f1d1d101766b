#include "MLineFit.h"

#include "MPrincipalComponentAnalysis.h"
#include "metrology/fit/detail/MFitPasses.h"

namespace ZOLAR3D {

void MLineFit::fit() { fitPoints(m_points.points(), m_points.size()); }

void MLineFit::fitPoints(const MVector3d *points, int n)
{
    MVector3d first[3];
    const int found = gatherValidPoints(points, n, first, 3);
    if (found < 2)
        return refuse("LineFit: not enough valid points given (minimum required: 2)");
    MLine line;
    if (found == 2) {
        line = MLine((first[0] + first[1]) * 0.5, first[1] - first[0]);
    } else {
        const MPrincipalComponentAnalysis pca(points, n);
        line = MLine(pca.center(), pca.eigenVector(0));
    }
    double tmin, tmax;
    lineParameterRange(line, points, n, tmin, tmax);
    line.setPosition(line.position() + line.direction() * ((tmin + tmax) * 0.5));
    line.setLengthAttribute(tmax - tmin);
    // Oriented after the extent, so that a flip moves neither the position
    // nor the length.
    MVector3d direction = line.direction();
    orient(direction);
    line.setDirection(direction, false);
    m_result = line;
}

} // namespace ZOLAR3D
