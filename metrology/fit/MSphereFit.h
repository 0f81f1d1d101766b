#pragma once

#include "MBestFit.h"
#include "MFitFrame.h"
#include "MLevenbergMarquardt.h"
#include "MSphere.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// The sphere by orthogonal distance: each point contributes |p - c| - r.
// Parameters x0, y0, z0 (the centre) and, with a free radius, r. Up to 4
// points the sphere is exact: a single point with radius 0, the sphere on
// two points as diameter, the circumsphere of three points centred in their
// plane and that of four; no count is too small.
class ZOL3D_API MSphereFit : public MBestFit<MSphere> {
public:
    // 0 leaves the radius free. The exact spheres of up to 4 points ignore it.
    void setFixedRadius(double radius) { m_fixedRadius = radius; }
    double fixedRadius() const { return m_fixedRadius; }

    void fit() override;
    // The algebraic sphere; the fixed radius plays no part.
    void fitFast() override;
    // The steps the solver tried during the last fit, for diagnostics.
    int numIterations() const { return m_numIterations; }

private:
    friend class MLevenbergMarquardt;
    bool residual(int index, const double *parameters, double &result) const;
    bool residualAndGradient(int index, const double *parameters, double &result, double *gradient) const;
    // The radius of a parameter vector in the working frame.
    double radiusOf(const double *parameters) const
    {
        return m_fixedRadius != 0.0 ? m_frame.lengthToLocal(m_fixedRadius) : parameters[3];
    }

    double m_fixedRadius = 0.0;
    int m_numIterations = 0;
    // The frame of the parameters while the fit minimises.
    MFitFrame m_frame;
};

} // namespace ZOLAR3D
