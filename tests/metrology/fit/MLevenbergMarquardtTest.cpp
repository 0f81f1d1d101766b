#include "MLevenbergMarquardt.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

using namespace ZOLAR3D;

namespace {

// Residuals p[0] - target: one parameter, one residual. Each step of the
// solver is then a closed form: H = 1, b = p - target.
struct Offset {
    double target;
    int gradients = 0;

    bool residual(int, const double *p, double &r) const
    {
        r = p[0] - target;
        return true;
    }
    bool residualAndGradient(int, const double *p, double &r, double *g)
    {
        ++gradients;
        r = p[0] - target;
        g[0] = 1.0;
        return true;
    }
};

// y = a exp(b x) sampled without noise; parameters a, b.
struct Exponential {
    std::vector<double> x, y;

    bool residual(int i, const double *p, double &r) const
    {
        r = p[0] * std::exp(p[1] * x[i]) - y[i];
        return true;
    }
    bool residualAndGradient(int i, const double *p, double &r, double *g) const
    {
        const double e = std::exp(p[1] * x[i]);
        r = p[0] * e - y[i];
        g[0] = e;
        g[1] = p[0] * x[i] * e;
        return true;
    }
};

Exponential exponentialSamples(double a, double b)
{
    Exponential problem;
    for (int i = 0; i < 20; ++i) {
        problem.x.push_back(0.1 * i);
        problem.y.push_back(a * std::exp(b * 0.1 * i));
    }
    return problem;
}

} // namespace

TEST(MLevenbergMarquardt, RecoversExactParametersOfANonLinearModel)
{
    Exponential problem = exponentialSamples(2.5, -1.3);
    double p[2] = {1.0, 0.0};
    MLevenbergMarquardtOptions options;
    EXPECT_TRUE(MLevenbergMarquardt::minimize(options, problem, p, 2, 20));
    EXPECT_NEAR(p[0], 2.5, 1e-12);
    EXPECT_NEAR(p[1], -1.3, 1e-12);
    EXPECT_LT(options.residual, 1e-24);
}

TEST(MLevenbergMarquardt, DampingSchedule)
{
    // Every outer step multiplies lambda by 0.04 before its first try
    // multiplies it by 10: the first try is damped by 1e-4 * 0.4, the
    // second, after a successful first, by 0.4 times that.
    Offset problem{3.0};
    MLevenbergMarquardtOptions options;
    options.maxNumIterations = 1;
    double p[1] = {4.0};
    EXPECT_FALSE(MLevenbergMarquardt::minimize(options, problem, p, 1, 1));
    const double first = 4.0 - 1.0 / (1.0 + 4e-5);
    EXPECT_DOUBLE_EQ(p[0], first);
    EXPECT_DOUBLE_EQ(options.residual, (first - 3.0) * (first - 3.0));

    options.maxNumIterations = 2;
    p[0] = 4.0;
    EXPECT_FALSE(MLevenbergMarquardt::minimize(options, problem, p, 1, 1));
    const double second = first - (first - 3.0) / (1.0 + 1.6e-5);
    EXPECT_DOUBLE_EQ(p[0], second);

    // The third gain, about 4e-19, is below 1 residual * 1e-16: converged
    // on the third try, with the trial taken.
    options.maxNumIterations = 500;
    p[0] = 4.0;
    problem.gradients = 0;
    EXPECT_TRUE(MLevenbergMarquardt::minimize(options, problem, p, 1, 1));
    EXPECT_EQ(problem.gradients, 3);
    EXPECT_NEAR(p[0], 3.0, 1e-14);
}

TEST(MLevenbergMarquardt, ConvergenceBoundScalesWithTheNumberOfResiduals)
{
    // With a bound of 1e-8 per residual the first gain, about 1, is too
    // large and the second, about 1.6e-9, small enough.
    Offset problem{3.0};
    MLevenbergMarquardtOptions options;
    options.convergence = 1e-8;
    double p[1] = {4.0};
    EXPECT_TRUE(MLevenbergMarquardt::minimize(options, problem, p, 1, 1));
    EXPECT_EQ(problem.gradients, 2);
}

TEST(MLevenbergMarquardt, RejectedResidualsLeaveTheSumAndGainsKeepTheirDigits)
{
    // Residual 2 is an outlier that its callback leaves out. The minimum
    // sum is 2; a gain taken as the difference of two such sums is lost in
    // rounding once the mean is within 1e-8, while the gain summed residual
    // by residual still tells the better of two steps.
    struct Mean {
        double values[3] = {1.0, 3.0, 1000.0};
        bool residual(int i, const double *p, double &r) const
        {
            r = p[0] - values[i];
            return i != 2;
        }
        bool residualAndGradient(int i, const double *p, double &r, double *g) const
        {
            g[0] = 1.0;
            return residual(i, p, r);
        }
    } problem;
    double p[1] = {0.0};
    MLevenbergMarquardtOptions options;
    MLevenbergMarquardt::minimize(options, problem, p, 1, 3);
    EXPECT_NEAR(p[0], 2.0, 1e-14);
    EXPECT_NEAR(options.residual, 2.0, 1e-14);
}

TEST(MLevenbergMarquardt, NormalizationKeepsParametersCanonical)
{
    // The point of the unit circle nearest to (3, 4): the callback puts
    // every tried point back onto the circle.
    struct Nearest {
        int normalizations = 0;
        bool residual(int i, const double *p, double &r) const
        {
            r = p[i] - (i == 0 ? 3.0 : 4.0);
            return true;
        }
        bool residualAndGradient(int i, const double *p, double &r, double *g) const
        {
            g[i] = 1.0;
            return residual(i, p, r);
        }
    } problem;
    MLevenbergMarquardtOptions options;
    options.parameterNormalizationFunction = [](double *p, void *context) {
        ++static_cast<Nearest *>(context)->normalizations;
        const double length = std::hypot(p[0], p[1]);
        p[0] /= length;
        p[1] /= length;
    };
    double p[2] = {1.0, 0.0};
    MLevenbergMarquardt::minimize(options, problem, p, 2, 2);
    EXPECT_NEAR(p[0], 0.6, 1e-9);
    EXPECT_NEAR(p[1], 0.8, 1e-9);
    EXPECT_GT(problem.normalizations, 2);
}

TEST(MLevenbergMarquardt, PlainCallbacksReceiveTheContext)
{
    Exponential problem = exponentialSamples(0.5, 0.7);
    const auto residual = [](int i, const double *p, double &r, void *context) {
        return static_cast<Exponential *>(context)->residual(i, p, r);
    };
    const auto gradient = [](int i, const double *p, double &r, double *g, void *context) {
        return static_cast<Exponential *>(context)->residualAndGradient(i, p, r, g);
    };
    double p[2] = {1.0, 0.0};
    MLevenbergMarquardtOptions options;
    EXPECT_TRUE(MLevenbergMarquardt::minimize(options, residual, gradient, p, 2, 20, &problem));
    EXPECT_NEAR(p[0], 0.5, 1e-12);
    EXPECT_NEAR(p[1], 0.7, 1e-12);
}

TEST(MLevenbergMarquardt, NonFiniteStartEndsUnconvergedAndUnchanged)
{
    Offset problem{3.0};
    MLevenbergMarquardtOptions options;
    double p[1] = {std::numeric_limits<double>::quiet_NaN()};
    EXPECT_FALSE(MLevenbergMarquardt::minimize(options, problem, p, 1, 1));
    EXPECT_TRUE(std::isnan(p[0]));
    // Every try fails, so lambda rises by 0.04 * 1e10 per outer step and
    // passes lambdaMax within the fourth.
    EXPECT_EQ(problem.gradients, 4);

    double q[1] = {5.0};
    EXPECT_FALSE(MLevenbergMarquardt::minimize(options, problem, q, 0, 1));
    EXPECT_EQ(q[0], 5.0);
}
