#pragma once

#include "MBestFit.h"
#include "MFitFrame.h"
#include "MLevenbergMarquardt.h"
#include "Zol3DExport.h"

#include <algorithm>
#include <limits>

namespace ZOLAR3D {

// Base of the orthogonal-distance fits of the round shapes. A shape is a
// parameter vector (a point on the axis, a direction, sizes); each private
// point contributes its geometric distance to the shape, and the sum of
// squares is minimised by the library's Levenberg-Marquardt solver.
template <class T>
class MNistFit : public MBestFit<T> {
public:
    // The residual of one point: its distance to the shape of `parameters`.
    virtual void distance(const MVector3d &point, const double *parameters, double *result) const = 0;
    // The residual and its derivative by each parameter.
    virtual void distanceAndGradient(const MVector3d &point, const double *parameters, double *result,
                                     double *gradient) const = 0;
    // Brings the parameters back to their canonical form after every step
    // the solver tries; unless a fit knows better, they stay as they are.
    virtual void normalizeParameters(double *parameters) { (void)parameters; }

    // The steps the solver tried during the last fit, over all its
    // minimisations: the fit's passes over the points, for diagnostics.
    int numIterations() const { return m_numIterations; }

protected:
    // The frame of the parameters while a fit minimises (see MFitFrame);
    // the world outside a fit, so that distance() takes world coordinates.
    MFitFrame m_frame;

    // Each fit starts its count of solver steps afresh.
    void resetIterations() { m_numIterations = 0; }
    // Minimises over the first numParameters entries of `parameters`, given
    // in the working frame, from their values as given, with
    // normalizeParameters as the solver's parameter callback when
    // `normalizing`. Each private point is one residual: its distance. Fit
    // is the concrete fit, whose final distance functions the solver's
    // per-point calls then reach without a virtual call.
    template <class Fit>
    void minimize(Fit &fit, double *parameters, int numParameters, int maxNumIterations, bool normalizing)
    {
        PointDistances<Fit> distances{fit, m_frame, this->m_points.points()};
        minimizeProblem(distances, parameters, numParameters, this->m_points.size(), maxNumIterations, normalizing);
    }

    // The axial fits' search over candidate axes: start(k, parameters) fills
    // the 8-place start along candidate axis k, 0 to 2, or refuses it; each
    // start runs a few steps over its numFreeParameters, and the one that
    // score(parameters) finds closest to the points runs over all eight to the
    // end, into `best`. False when every candidate was refused.
    template <class Fit, class Start, class Score>
    bool minimizeFromBestStart(Fit &fit, int numFreeParameters, double *best, Start start, Score score)
    {
        double bestScore = std::numeric_limits<double>::infinity();
        for (int k = 0; k < 3; ++k) {
            double candidate[8] = {};
            if (!start(k, candidate))
                continue;
            // A few steps suffice to tell the right axis from the wrong ones.
            minimize(fit, candidate, numFreeParameters, 10, true);
            const double candidateScore = score(candidate);
            if (candidateScore < bestScore) {
                bestScore = candidateScore;
                std::copy(candidate, candidate + 8, best);
            }
        }
        if (!(bestScore < std::numeric_limits<double>::infinity()))
            return false;
        minimize(fit, best, 8, 200, true);
        return true;
    }

    // The same over the residuals of `problem`, an object with the members
    // that MLevenbergMarquardt::minimize asks for and normalizeParameters.
    template <class Problem>
    void minimizeProblem(Problem &problem, double *parameters, int numParameters, int numResiduals,
                         int maxNumIterations, bool normalizing)
    {
        MLevenbergMarquardtOptions options;
        options.maxNumIterations = maxNumIterations;
        if (normalizing)
            options.parameterNormalizationFunction = [](double *p, void *context) {
                static_cast<Problem *>(context)->normalizeParameters(p);
            };
        int tried = 0;
        MLevenbergMarquardt::minimize(options, problem, parameters, numParameters, numResiduals, &tried);
        m_numIterations += tried;
    }

private:
    // The solver's view of the private points, in the working frame.
    template <class Fit>
    struct PointDistances {
        Fit &fit;
        const MFitFrame &frame;
        const MVector3d *points;

        bool residual(int index, const double *parameters, double &result) const
        {
            fit.distance(frame.toLocal(points[index]), parameters, &result);
            return true;
        }
        bool residualAndGradient(int index, const double *parameters, double &result, double *gradient) const
        {
            fit.distanceAndGradient(frame.toLocal(points[index]), parameters, &result, gradient);
            return true;
        }
        void normalizeParameters(double *parameters) { fit.normalizeParameters(parameters); }
    };

    int m_numIterations = 0;
};

extern template class ZOL3D_API MNistFit<MCircle>;
extern template class ZOL3D_API MNistFit<MCylinder>;
extern template class ZOL3D_API MNistFit<MCone>;

} // namespace ZOLAR3D
