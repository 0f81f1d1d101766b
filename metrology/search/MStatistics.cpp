#include "MStatistics.h"

#include "MStatisticsArray.h"
#include "metrology/core/detail/MTypedArrayImpl.h"

#include <algorithm>
#include <cmath>

namespace ZOLAR3D {
namespace {

// Distances of 1e30 and more mark points without a distance.
bool isTaken(double value) { return value < 1e30; }

} // namespace

MStatistics::MStatistics(const double *values, int numValues)
{
    if (!values)
        numValues = 0;
    double sumOfSquares = 0.0;
    for (int i = 0; i < numValues; ++i) {
        const double v = values[i];
        if (!isTaken(v))
            continue;
        minimum = std::min(minimum, v);
        maximum = std::max(maximum, v);
        ++count;
        mean += (v - mean) / count;
        sumOfSquares += v * v;
    }
    if (count < 1)
        return;
    // Deviations from the final mean in a second pass, which stays accurate
    // where the difference of the mean squares would cancel.
    double sumOfDeviations = 0.0;
    for (int i = 0; i < numValues; ++i)
        if (isTaken(values[i]))
            sumOfDeviations += (values[i] - mean) * (values[i] - mean);
    standardDeviation = std::sqrt(sumOfDeviations / count);
    rms = std::sqrt(sumOfSquares / count);
}

MStatistics::MStatistics(const MDoubleArray &values) : MStatistics(values.data(), values.size()) {}

template class MTypedArray<MStatisticsArray, MStatistics>;

} // namespace ZOLAR3D
