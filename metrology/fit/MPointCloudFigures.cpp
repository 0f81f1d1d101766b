// Outlier-robust refits and the acceptance figures of MPointCloud.
#include "MCircle.h"
#include "MCone.h"
#include "MCylinder.h"
#include "MInvalid.h"
#include "MLine.h"
#include "MLineSegment.h"
#include "MPlane.h"
#include "MPointCloud.h"
#include "MSphere.h"
#include "MStatistics.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

namespace ZOLAR3D {

namespace {

bool hasDistance(double d) { return std::abs(d) < 1e30; }

template <class Shape>
std::vector<double> distancesTo(const MPointCloud &cloud, const Shape &shape)
{
    std::vector<double> d(static_cast<size_t>(cloud.numPoints()));
    cloud.computeDistancesTo(shape, MInvalid, d.data());
    return d;
}

// The distances that exist, in point order.
std::vector<double> existingOnly(const std::vector<double> &distances)
{
    std::vector<double> kept;
    kept.reserve(distances.size());
    std::copy_if(distances.begin(), distances.end(), std::back_inserter(kept), hasDistance);
    return kept;
}

// The indices of the points that have a distance, ascending by it; equal
// distances keep point order.
std::vector<int> ascendingByDistance(const std::vector<double> &distances)
{
    std::vector<int> order;
    for (int i = 0; i < static_cast<int>(distances.size()); ++i)
        if (hasDistance(distances[i]))
            order.push_back(i);
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return distances[a] < distances[b]; });
    return order;
}

// How many may be left out of count values: all but one.
int limitedExclusion(int numExcluded, int count) { return std::min(numExcluded, count - 1); }

struct Cursors {
    int low, high;
};

// Drops numExcluded values from the ends of an ascending sequence, each
// time the end of larger magnitude; on equal magnitudes the high end goes,
// so a symmetric pair loses its positive member first. The cursors never
// cross: one value always stays.
template <class ValueAt>
Cursors trimExtremes(int count, int numExcluded, ValueAt value)
{
    Cursors c{0, count - 1};
    for (int i = 0; i < numExcluded && c.low < c.high; ++i) {
        if (std::abs(value(c.low)) > std::abs(value(c.high)))
            ++c.low;
        else
            --c.high;
    }
    return c;
}

struct Range {
    double minimum, maximum;
    double width() const { return maximum - minimum; }
    double middle() const { return (minimum + maximum) * 0.5; }
};

// Range of the values without the numExcluded largest magnitudes, found by
// a partial selection; at least one value stays.
Range rangeWithoutLargestMagnitudes(std::vector<double> values, int numExcluded)
{
    const int count = static_cast<int>(values.size());
    const int kept = count - std::max(0, limitedExclusion(numExcluded, count));
    const auto smallerMagnitude = [](double a, double b) { return std::abs(a) < std::abs(b); };
    std::nth_element(values.begin(), values.begin() + (kept - 1), values.end(), smallerMagnitude);
    const auto extremes = std::minmax_element(values.begin(), values.begin() + kept);
    return {*extremes.first, *extremes.second};
}

MPlane movedAlongNormal(MPlane plane, double offset)
{
    plane.setPosition(plane.position() + plane.normal() * offset);
    return plane;
}

template <class T>
void setIfGiven(T *out, const T &value)
{
    if (out)
        *out = value;
}

} // namespace

// ---- Refits

template <class Shape>
MPointCloud MPointCloud::withoutOutliers(const Shape &shape, int n) const
{
    const std::vector<double> d = distancesTo(*this, shape);
    std::vector<int> kept;
    if (n < 1) {
        // The band is centred on the mean distance, so that a given shape
        // that sits off the points still keeps their bulk.
        const MStatistics statistics(d.data(), numPoints());
        const double k = -static_cast<double>(n);
        const double low = statistics.mean - k * statistics.standardDeviation;
        const double high = statistics.mean + k * statistics.standardDeviation;
        for (int i = 0; i < numPoints(); ++i)
            if (low <= d[i] && d[i] <= high)
                kept.push_back(i);
    } else {
        std::vector<int> order;
        for (int i = 0; i < numPoints(); ++i)
            if (m_points[i].isValid())
                order.push_back(i);
        const auto nearer = [&](int a, int b) { return std::abs(d[a]) < std::abs(d[b]); };
        std::stable_sort(order.begin(), order.end(), nearer);
        const size_t count = order.size() > size_t(n) ? order.size() - size_t(n) : 0;
        kept.assign(order.begin(), order.begin() + count);
        std::sort(kept.begin(), kept.end());
    }
    return gathered(kept.data(), static_cast<int>(kept.size()));
}

MCircle MPointCloud::refitWithOutlierRemoval(const MCircle &shape, int n) const
{
    return refitWithOutlierRemoval(shape, 0.0, n);
}

MCircle MPointCloud::refitWithOutlierRemoval(const MCircle &shape, double fixedRadius, int n) const
{
    return withoutOutliers(shape, n).fitCircle(fixedRadius);
}

MCone MPointCloud::refitWithOutlierRemoval(const MCone &shape, int n) const
{
    return withoutOutliers(shape, n).fitCone();
}

MCylinder MPointCloud::refitWithOutlierRemoval(const MCylinder &shape, int n) const
{
    return refitWithOutlierRemoval(shape, 0.0, n);
}

MCylinder MPointCloud::refitWithOutlierRemoval(const MCylinder &shape, double fixedRadius, int n) const
{
    return withoutOutliers(shape, n).fitCylinder(fixedRadius);
}

MLine MPointCloud::refitWithOutlierRemoval(const MLine &shape, int n) const
{
    return withoutOutliers(shape, n).fitLine();
}

MLineSegment MPointCloud::refitWithOutlierRemoval(const MLineSegment &shape, int n) const
{
    return withoutOutliers(shape, n).fitLineSegment();
}

MPlane MPointCloud::refitWithOutlierRemoval(const MPlane &shape, int n) const
{
    return withoutOutliers(shape, n).fitPlane();
}

MSphere MPointCloud::refitWithOutlierRemoval(const MSphere &shape, int n) const
{
    return refitWithOutlierRemoval(shape, 0.0, n);
}

MSphere MPointCloud::refitWithOutlierRemoval(const MSphere &shape, double fixedRadius, int n) const
{
    return withoutOutliers(shape, n).fitSphere(fixedRadius);
}

// ---- Form and probing figures

double MPointCloud::computeFlatFormMeasurementError(int numExcluded, MPlane *plane) const
{
    const MPlane fit = fitPlane();
    if (!fit.isValid())
        return -1.0;
    std::vector<double> d = existingOnly(distancesTo(*this, fit));
    if (d.size() < 2) {
        setIfGiven(plane, fit);
        return 0.0;
    }
    std::sort(d.begin(), d.end());
    const Cursors c = trimExtremes(static_cast<int>(d.size()), numExcluded, [&](int i) { return d[i]; });
    setIfGiven(plane, movedAlongNormal(fit, (d[c.low] + d[c.high]) * 0.5));
    return d[c.high] - d[c.low];
}

double MPointCloud::computeFlatFormMeasurementErrorFast(int numExcluded, MPlane *plane) const
{
    const MPlane fit = fitPlane();
    if (!fit.isValid())
        return -1.0;
    const std::vector<double> d = existingOnly(distancesTo(*this, fit));
    if (d.size() < 2) {
        setIfGiven(plane, fit);
        return 0.0;
    }
    const Range range = rangeWithoutLargestMagnitudes(d, numExcluded);
    setIfGiven(plane, movedAlongNormal(fit, range.middle()));
    return range.width();
}

double MPointCloud::computeProbingDispersionValue(int numExcluded, MSphere *sphere) const
{
    MSphere fit = fitSphere(0.0);
    if (!fit.isValid())
        return -1.0;
    const Range range = rangeWithoutLargestMagnitudes(existingOnly(distancesTo(*this, fit)), numExcluded);
    fit.setRadius(fit.radius() + range.middle());
    setIfGiven(sphere, fit);
    return range.width();
}

double MPointCloud::computeProbingSizeErrorAll(double referenceDiameter, MSphere *sphere) const
{
    const MSphere fit = fitSphere(0.0);
    if (!fit.isValid())
        return -1.0;
    setIfGiven(sphere, fit);
    return std::abs(referenceDiameter - 2.0 * fit.radius());
}

// ---- Geometric tolerances

double MPointCloud::gdtFlatness(int numExcluded, MPlane *plane) const
{
    double width = MInvalid;
    MPlane zone = fitPlaneMZ(&width, nullptr, nullptr);
    if (!zone.isValid())
        return -1.0;
    if (numExcluded != 0) {
        const std::vector<double> d = distancesTo(*this, zone);
        const std::vector<int> order = ascendingByDistance(d);
        numExcluded = limitedExclusion(numExcluded, static_cast<int>(order.size()));
        std::vector<int> kept;
        if (numExcluded < 0) {
            const MStatistics statistics(d.data(), numPoints());
            const double k = -static_cast<double>(numExcluded);
            for (int i : order)
                if (statistics.mean - k * statistics.standardDeviation <= d[i] &&
                    d[i] <= statistics.mean + k * statistics.standardDeviation)
                    kept.push_back(i);
        } else {
            const Cursors c = trimExtremes(static_cast<int>(order.size()), numExcluded,
                                           [&](int i) { return d[order[i]]; });
            kept.assign(order.begin() + c.low, order.begin() + c.high + 1);
        }
        std::sort(kept.begin(), kept.end());
        zone = gathered(kept.data(), static_cast<int>(kept.size())).fitPlaneMZ(&width, nullptr, nullptr);
        if (!zone.isValid())
            return -1.0;
    }
    setIfGiven(plane, zone);
    return width;
}

double MPointCloud::gdtSurfaceParallelism(const MPlane &datum, int numExcluded) const
{
    std::vector<double> d = existingOnly(distancesTo(*this, datum));
    if (d.empty())
        return -1.0;
    const int count = static_cast<int>(d.size());
    const int excluded = std::max(0, limitedExclusion(numExcluded, count));
    if (excluded == 0) {
        const MStatistics statistics(d.data(), count);
        return statistics.maximum - statistics.minimum;
    }
    std::sort(d.begin(), d.end());
    const int window = count - excluded;
    double narrowest = MInvalid;
    for (int i = 0; i + window <= count; ++i)
        narrowest = std::min(narrowest, d[i + window - 1] - d[i]);
    return narrowest;
}

double MPointCloud::gdtAxisPerpendicularity(const MPlane &datum, int numExcluded) const
{
    MPointCloud projected(*this);
    projected.projectOnto(datum);
    const MCircle circle = projected.fitCircleMC();
    if (!circle.isValid())
        return -1.0;
    if (numExcluded <= 0)
        return circle.diameter();
    // How far each point lies out beyond the circle, negative inside it, so
    // that the points farthest from the centre are the ones left out.
    std::vector<double> outward(static_cast<size_t>(numPoints()), MInvalid);
    for (int i = 0; i < numPoints(); ++i)
        if (projected.m_points[i].isValid())
            outward[i] = (projected.m_points[i] - circle.position()).cross(circle.normal()).norm() - circle.radius();
    const std::vector<int> order = ascendingByDistance(outward);
    const int excluded = limitedExclusion(numExcluded, static_cast<int>(order.size()));
    std::vector<int> kept(order.begin(), order.end() - excluded);
    std::sort(kept.begin(), kept.end());
    const MPointCloud rest = projected.gathered(kept.data(), static_cast<int>(kept.size()));
    if (rest.numPoints() == 1)
        return 0.0;
    if (rest.numPoints() == 2)
        return rest.m_points[0].distance(rest.m_points[1]);
    const MCircle narrower = rest.fitCircleMC();
    return narrower.isValid() ? narrower.diameter() : -1.0;
}

} // namespace ZOLAR3D
