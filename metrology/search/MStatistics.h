#pragma once

#include "MDoubleArray.h"
#include "MInvalid.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// A sequence of doubles condensed. Values of 1e30 and above stand for invalid
// distances and are left out, and so is NaN. With no value taken the fields
// keep their start values.
struct ZOL3D_API MStatistics {
    double minimum = MInvalid;
    double maximum = -MInvalid;
    double mean = 0.0;
    // Population form, divided by count.
    double standardDeviation = 0.0;
    // Root of the mean of squares: about 0, not about the mean.
    double rms = 0.0;
    int count = 0;

    MStatistics() = default;
    MStatistics(const double *values, int count);
    explicit MStatistics(const MDoubleArray &values);

    // Field by field, exactly; what MStatisticsArray::contains compares.
    bool operator==(const MStatistics &o) const
    {
        return minimum == o.minimum && maximum == o.maximum && mean == o.mean &&
               standardDeviation == o.standardDeviation && rms == o.rms && count == o.count;
    }
    bool operator!=(const MStatistics &o) const { return !(*this == o); }
};

} // namespace ZOLAR3D
