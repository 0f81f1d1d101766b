#include "MLineFit.h"

#include "MPrincipalComponentAnalysis.h"
#include "metrology/fit/detail/MFitExtent.h"

namespace ZOLAR3D {

void MLineFit::fit()
{
    const int n = m_points.size();
    if (n < 2)
        return refuse("LineFit: not enough valid points given (minimum required: 2)");
    const MVector3d *p = m_points.points();
    MLine line;
    if (n == 2) {
        line = MLine((p[0] + p[1]) * 0.5, p[1] - p[0]);
    } else {
        const MPrincipalComponentAnalysis pca(p, n);
        line = MLine(pca.center(), pca.eigenVector(0));
    }
    double tmin, tmax;
    lineParameterRange(line, p, n, tmin, tmax);
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
