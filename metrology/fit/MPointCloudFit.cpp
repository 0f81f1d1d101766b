// The fit entry points of MPointCloud.
#include "MLineFit.h"
#include "MLineSegmentFit.h"
#include "MPlaneFit.h"
#include "MPointCloud.h"

namespace ZOLAR3D {

namespace {

// The entry points run no outlier pass, so the private copy of setPoints()
// would serve nothing: the fit runs over the cloud's own array and skips its
// holes, with the same result and without copying a large scan.
template <class Fit>
auto fitValidPoints(const MPointCloud &cloud)
{
    Fit fit;
    fit.fitPoints(cloud.points(), cloud.numPoints());
    return fit.result();
}

} // namespace

MPlane MPointCloud::fitPlane() const { return fitValidPoints<MPlaneFit>(*this); }

MLine MPointCloud::fitLine() const { return fitValidPoints<MLineFit>(*this); }

MLineSegment MPointCloud::fitLineSegment() const { return fitValidPoints<MLineSegmentFit>(*this); }

} // namespace ZOLAR3D
