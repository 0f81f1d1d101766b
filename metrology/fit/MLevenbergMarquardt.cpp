#include "MLevenbergMarquardt.h"

#include <Eigen/Dense>

#include <algorithm>
#include <vector>

namespace ZOLAR3D {

namespace {

// How many gradients are gathered before they join the normal equations.
constexpr int GradientBlock = 64;

// The callbacks of one minimisation and its scratch memory.
class Objective {
public:
    Objective(MLevenbergMarquardt::ResidualFunction residual, MLevenbergMarquardt::GradientFunction gradient, int n,
              int m, void *context)
        : m_residual(residual), m_gradient(gradient), m_n(n), m_m(m), m_context(context), m_rows(GradientBlock, n),
          m_values(GradientBlock), m_currentResiduals(m), m_taken(m)
    {
    }

    // The sum of squares at a trial and its gain over the current
    // parameters, the sum at the last normalEquations(). Near a minimum the
    // two sums agree in all but their last digits, and their difference
    // would be rounding; the gain is therefore summed residual by residual
    // as (r - r') (r + r'), which keeps its digits. A residual that only one
    // of the two sums takes counts with its own square.
    double sumOfSquares(const double *parameters, double &gain) const
    {
        double chi2 = 0.0;
        gain = 0.0;
        for (int i = 0; i < m_m; ++i) {
            double r;
            const bool taken = m_residual(i, parameters, r, m_context);
            const double before = m_currentResiduals[i];
            if (taken)
                chi2 += r * r;
            if (taken && m_taken[i])
                gain += (before - r) * (before + r);
            else if (taken)
                gain -= r * r;
            else if (m_taken[i])
                gain += before * before;
        }
        return chi2;
    }

    // The sum of squares with the normal equations H = sum g g^T and
    // b = sum r g. The gradients are gathered in blocks of rows, and each
    // block is added to the upper triangle of H as one symmetric rank
    // update, which runs at the speed of a matrix product; the lower
    // triangle is mirrored at the end.
    double normalEquations(const double *parameters, Eigen::MatrixXd &h, Eigen::VectorXd &b)
    {
        h.setZero();
        b.setZero();
        double chi2 = 0.0;
        int filled = 0;
        for (int i = 0; i < m_m; ++i) {
            double *g = m_rows.row(filled).data();
            std::fill(g, g + m_n, 0.0);
            double r;
            m_taken[i] = m_gradient(i, parameters, r, g, m_context);
            if (!m_taken[i])
                continue;
            m_currentResiduals[i] = r;
            chi2 += r * r;
            m_values[filled] = r;
            if (++filled == GradientBlock) {
                addBlock(filled, h, b);
                filled = 0;
            }
        }
        addBlock(filled, h, b);
        h.triangularView<Eigen::StrictlyLower>() = h.transpose();
        return chi2;
    }

private:
    void addBlock(int rows, Eigen::MatrixXd &h, Eigen::VectorXd &b) const
    {
        const auto block = m_rows.topRows(rows);
        h.selfadjointView<Eigen::Upper>().rankUpdate(block.transpose());
        b.noalias() += block.transpose() * m_values.head(rows);
    }

    MLevenbergMarquardt::ResidualFunction m_residual;
    MLevenbergMarquardt::GradientFunction m_gradient;
    int m_n;
    int m_m;
    void *m_context;
    Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor> m_rows;
    Eigen::VectorXd m_values;
    // The residuals at the current parameters and whether each was taken.
    std::vector<double> m_currentResiduals;
    std::vector<char> m_taken;
};

// One minimisation: the damping, the counts and the parameter vectors.
class Minimization {
public:
    Minimization(MLevenbergMarquardtOptions &options, Objective &objective, int n, void *context)
        : m_options(options), m_objective(objective), m_context(context), m_lambda(options.lambdaStart),
          m_trial(n), m_b(n), m_h(n, n), m_damped(n, n), m_ldlt(n)
    {
    }

    // Runs from `parameters` and leaves the result there.
    bool run(double *parameters, double tolerance)
    {
        const int n = static_cast<int>(m_trial.size());
        m_current = Eigen::Map<const Eigen::VectorXd>(parameters, n);
        for (;;) {
            m_lambda *= m_options.lambdaDecrement;
            ++m_outer;
            normalize(m_current);
            const double chi2 = m_objective.normalEquations(m_current.data(), m_h, m_b);
            m_options.residual = chi2;
            double chi2New, gain;
            if (tryStepsUntilBetter(tolerance, chi2New, gain)) {
                Eigen::Map<Eigen::VectorXd>(parameters, n) = m_trial;
                m_options.residual = chi2New;
                return true;
            }
            if (gain > 0.0) {
                m_current = m_trial;
                m_options.residual = chi2New;
            }
            if (m_total >= m_options.maxNumIterations || m_outer >= m_options.maxNumDecrementIterations ||
                !(m_lambda > m_options.lambdaMin) || !(m_lambda < m_options.lambdaMax))
                break;
        }
        Eigen::Map<Eigen::VectorXd>(parameters, n) = m_current;
        return false;
    }

    int total() const { return m_total; }

private:
    // Tries steps from the current parameters with growing damping until one
    // lowers the sum or a limit is reached. True when a step converged: its
    // gain was positive and below the tolerance.
    bool tryStepsUntilBetter(double tolerance, double &chi2New, double &gain)
    {
        int inner = 0;
        do {
            m_lambda *= m_options.lambdaIncrement;
            ++inner;
            ++m_total;
            m_damped = m_h;
            m_damped.diagonal().array() += m_lambda;
            m_ldlt.compute(m_damped);
            m_trial = m_current - m_ldlt.solve(m_b);
            normalize(m_trial);
            chi2New = m_objective.sumOfSquares(m_trial.data(), gain);
            if (0.0 < gain && gain < tolerance)
                return true;
            if (gain > 0.0 || m_total >= m_options.maxNumIterations ||
                inner >= m_options.maxNumIncrementIterations)
                return false;
        } while (m_options.lambdaMax > m_lambda);
        return false;
    }

    void normalize(Eigen::VectorXd &parameters)
    {
        if (m_options.parameterNormalizationFunction)
            m_options.parameterNormalizationFunction(parameters.data(), m_context);
    }

    MLevenbergMarquardtOptions &m_options;
    Objective &m_objective;
    void *m_context;
    double m_lambda;
    int m_total = 0;
    int m_outer = 0;
    Eigen::VectorXd m_current, m_trial, m_b;
    Eigen::MatrixXd m_h, m_damped;
    Eigen::LDLT<Eigen::MatrixXd> m_ldlt;
};

} // namespace

bool MLevenbergMarquardt::minimize(MLevenbergMarquardtOptions &options, ResidualFunction residual,
                                   GradientFunction gradient, double *parameters, int numParameters,
                                   int numResiduals, void *context, int *numIterations)
{
    if (numIterations)
        *numIterations = 0;
    if (numParameters < 1 || numResiduals < 0 || !parameters || !residual || !gradient)
        return false;
    Objective objective(residual, gradient, numParameters, numResiduals, context);
    Minimization minimization(options, objective, numParameters, context);
    const bool converged = minimization.run(parameters, numResiduals * options.convergence);
    if (numIterations)
        *numIterations = minimization.total();
    return converged;
}

} // namespace ZOLAR3D
