#pragma once

namespace ZOLAR3D {

// The settings of the library's Levenberg-Marquardt solver, and the sum of
// squared residuals it reached. A plain structure: callers set fields
// directly and hand one instance to MLevenbergMarquardt::minimize.
struct MLevenbergMarquardtOptions {
    // Damping of the first step.
    double lambdaStart = 0.0001;
    // Damping grows by this factor with every try of a step.
    double lambdaIncrement = 10.0;
    // Damping shrinks by this factor at every outer step.
    double lambdaDecrement = 0.04;
    double lambdaMin = 1e-30;
    double lambdaMax = 1e30;
    // Per residual: a gain in the sum of squares below convergence times
    // the number of residuals ends the minimisation as converged.
    double convergence = 1e-16;
    // Written by the solver: the sum of squared residuals at the result.
    double residual = 0.0;
    // Tries of a step, over all outer steps.
    int maxNumIterations = 500;
    // Tries within one outer step.
    int maxNumIncrementIterations = 10;
    // Outer steps.
    int maxNumDecrementIterations = 100;
    // Brings a parameter vector back to its canonical form; called with the
    // context pointer of the minimisation. Null for none.
    void (*parameterNormalizationFunction)(double *parameters, void *context) = nullptr;
};

} // namespace ZOLAR3D
