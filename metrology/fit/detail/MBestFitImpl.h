// Member definitions of MBestFit. Included only where a frame is explicitly
// instantiated, so that the members are compiled once.
//
// A new result shape S needs an overload of hasValidAxes(const S &) in
// MShapeAxes.h, `extern template class ZOL3D_API MBestFit<S>;` in MBestFit.h and
// `template class MBestFit<S>;` in MBestFit.cpp.
#pragma once

#include "MBestFit.h"
#include "MDoubleArray.h"
#include "MFailure.h"
#include "MStatistics.h"
#include "metrology/fit/detail/MShapeAxes.h"
#include "metrology/search/detail/MDirectionSign.h"
#include "metrology/core/detail/MPointStream.h"

#include <cmath>

namespace ZOLAR3D {

template <class T>
MBestFit<T>::~MBestFit() = default;

template <class T>
void MBestFit<T>::orient(MVector3d &direction)
{
    orientDirection(direction);
}

template <class T>
void MBestFit<T>::setPoints(const MPointCloud &cloud)
{
    // The storage of an earlier call is kept: RANSAC refills one fit object
    // for every hypothesis.
    const int n = cloud.numPoints();
    m_points.resizePoints(0);
    m_points.reservePointCapacity(n);
    m_points.resizePoints(n);
    MVector3d *target = m_points.points();
    int kept = 0;
    streamPoints(cloud.points(), n, [&](const MVector3d &p) {
        if (p.isValid())
            target[kept++] = p;
    });
    m_points.resizePoints(kept);
}

template <class T>
void MBestFit<T>::compute(double stdDevFactor)
{
    fit();
    if (!detail::hasValidAxes(m_result) || !(stdDevFactor > 0.0))
        return;
    dropOutliers(stdDevFactor);
    fit();
}

template <class T>
void MBestFit<T>::dropOutliers(double stdDevFactor)
{
    const int n = m_points.size();
    MVector3d *p = m_points.points();
    MDoubleArray distances(n);
    for (int i = 0; i < n; ++i) {
        const double d = m_result.distance(p[i]);
        distances[i] = std::fabs(d) <= MInvalid ? d : MInvalid;
    }
    // The band is centred at 0, not at the mean distance: for unsigned
    // distances it cuts into the points that fit well, by design.
    const double band = MStatistics(distances.data(), n).standardDeviation * stdDevFactor;
    for (int i = 0; i < n; ++i)
        if (!(-band <= distances[i] && distances[i] <= band))
            p[i].invalidate();
    m_points.compressMemory();
}

template <class T>
void MBestFit<T>::refuse(const char *text)
{
    MFailure::raise(text);
    m_result.invalidate();
}

} // namespace ZOLAR3D
