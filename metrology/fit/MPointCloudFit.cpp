// The fit entry points of MPointCloud.
#include "MLineFit.h"
#include "MLineSegmentFit.h"
#include "MPlaneFit.h"
#include "MPointCloud.h"

namespace ZOLAR3D {

namespace {

template <class Fit>
auto fitOnce(const MPointCloud &cloud)
{
    Fit fit;
    fit.setPoints(cloud);
    fit.compute(0.0);
    return fit.result();
}

} // namespace

MPlane MPointCloud::fitPlane() const { return fitOnce<MPlaneFit>(*this); }

MLine MPointCloud::fitLine() const { return fitOnce<MLineFit>(*this); }

MLineSegment MPointCloud::fitLineSegment() const { return fitOnce<MLineSegmentFit>(*this); }

} // namespace ZOLAR3D
