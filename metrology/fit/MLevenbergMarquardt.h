#pragma once

#include "MLevenbergMarquardtOptions.h"
#include "Zol3DExport.h"

namespace ZOLAR3D {

// The library's damped Gauss-Newton minimiser of a sum of squared
// residuals. It knows nothing of points or shapes: residual i and its
// gradient come from callbacks, together with a context pointer that the
// caller passes through. Fits, alignments and calibrations share it.
class ZOL3D_API MLevenbergMarquardt {
public:
    // Residual number `index` at `parameters`. False leaves that residual
    // out of the sum.
    using ResidualFunction = bool (*)(int index, const double *parameters, double &residual, void *context);
    // The same residual and its derivative by each parameter. The gradient
    // arrives filled with zeros, so a callback may leave out the parameters
    // that do not move its residual.
    using GradientFunction = bool (*)(int index, const double *parameters, double &residual, double *gradient,
                                      void *context);

    // Minimises the sum of the squares of residuals 0 to numResiduals - 1
    // over the numParameters entries of `parameters`, which are changed in
    // place. options.residual receives the sum at the result. True when the
    // gain of the last step fell below options.convergence * numResiduals;
    // otherwise the best parameters found stand and the result is false.
    // numIterations, when given, receives the number of steps tried, the
    // count that options.maxNumIterations bounds.
    static bool minimize(MLevenbergMarquardtOptions &options, ResidualFunction residual, GradientFunction gradient,
                         double *parameters, int numParameters, int numResiduals, void *context,
                         int *numIterations = nullptr);

    // The same for an object with the members
    //   bool residual(int index, const double *parameters, double &residual)
    //   bool residualAndGradient(int index, const double *parameters, double &residual, double *gradient)
    // The problem is the context, also of options.parameterNormalizationFunction.
    template <class Problem>
    static bool minimize(MLevenbergMarquardtOptions &options, Problem &problem, double *parameters, int numParameters,
                         int numResiduals, int *numIterations = nullptr)
    {
        return minimize(options, &residualOf<Problem>, &gradientOf<Problem>, parameters, numParameters, numResiduals,
                        &problem, numIterations);
    }

private:
    template <class Problem>
    static bool residualOf(int index, const double *parameters, double &residual, void *context)
    {
        return static_cast<Problem *>(context)->residual(index, parameters, residual);
    }
    template <class Problem>
    static bool gradientOf(int index, const double *parameters, double &residual, double *gradient, void *context)
    {
        return static_cast<Problem *>(context)->residualAndGradient(index, parameters, residual, gradient);
    }
};

} // namespace ZOLAR3D
