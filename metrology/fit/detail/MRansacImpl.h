// Member definitions of MRansac. Included only where a search is explicitly
// instantiated, so that the members are compiled once.
#pragma once

#include "MFailure.h"
#include "MRansac.h"
#include "metrology/data/detail/MShapeQueries.h"
#include "metrology/fit/detail/MRansacSampling.h"
#include "metrology/fit/detail/MShapeAxes.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <numeric>

namespace ZOLAR3D {

template <class T, class F>
MRansac<T, F>::MRansac(int sampleSize) : m_sampleSize(sampleSize)
{
    std::srand(static_cast<unsigned>(std::time(nullptr) % 2147483647));
}

template <class T, class F>
MRansac<T, F>::~MRansac() = default;

template <class T, class F>
void MRansac<T, F>::setPoints(const MPointCloud &cloud)
{
    m_points = cloud;
    m_points.removeInvalidPoints();
}

template <class T, class F>
void MRansac<T, F>::setMaxModels(int maxModels)
{
    if (maxModels > 0)
        m_maxModels = maxModels;
}

template <class T, class F>
void MRansac<T, F>::setNumIterations(int numIterations)
{
    if (numIterations > 0)
        m_numIterations = numIterations;
}

template <class T, class F>
bool MRansac<T, F>::isValidModel(const T &model) const
{
    return detail::hasValidAxes(model);
}

template <class T, class F>
void MRansac<T, F>::sample(MPointCloud &out)
{
    const int n = m_points.numPoints();
    out.resizePoints(n > 0 ? m_sampleSize : 0);
    const MVector3d *source = m_points.points();
    MVector3d *target = out.points();
    for (int k = 0; k < out.numPoints(); ++k)
        target[k] = source[detail::ransacSampleIndex(n)];
}

template <class T, class F>
void MRansac<T, F>::run()
{
    m_models.assign(static_cast<std::size_t>(m_numIterations), Model());
    if (m_points.numPoints() < m_sampleSize) {
        m_models.clear();
        return MFailure::raise("Ransac: not enough points for this type of geometry!");
    }
    search();
    if (m_maxModels > 1)
        keepDistinctModels();
    else
        keepBestModel();
}

template <class T, class F>
void MRansac<T, F>::search()
{
    MPointCloud sampled;
    MPointCloud inliers;
    F fit;
    const bool onlyBest = m_maxModels <= 1;
    std::int32_t best = 0;
    for (int i = 0; i < m_numIterations; ++i) {
        sample(sampled);
        fit.setPoints(sampled);
        fit.fitFast();
        const T hypothesis = fit.result();
        if (!isValidModel(hypothesis))
            continue;
        // When one shape is wanted, a hypothesis that cannot beat an earlier
        // record would lose the selection anyway: it is neither counted to
        // the end nor refitted, and its record keeps count 0.
        const int countToBeat = onlyBest ? std::max(best, m_sampleSize - 1) : m_sampleSize - 1;
        const int count = gatherInliers(hypothesis, countToBeat, inliers);
        if (count <= countToBeat)
            continue;
        fit.swapValidPoints(inliers);
        fit.compute(0.0);
        if (!isValidModel(fit.result()))
            continue;
        m_models[i].shape = fit.result();
        m_models[i].count = count;
        best = std::max(best, count);
    }
}

template <class T, class F>
int MRansac<T, F>::gatherInliers(const T &hypothesis, int countToBeat, MPointCloud &inliers) const
{
    const int n = m_points.numPoints();
    // The private points are all valid, and so, checked here once, is the
    // hypothesis: the pass needs no check per point.
    if (!hypothesis.isValid())
        return 0;
    inliers.resizePoints(n);
    const MVector3d *p = m_points.points();
    MVector3d *target = inliers.points();
    const double band = m_threshold;
    // Blocks keep the inner loop free of the test whether the count can
    // still win.
    constexpr int Block = 4096;
    int count = 0;
    for (int first = 0; first < n && count + (n - first) > countToBeat; first += Block) {
        const int last = std::min(first + Block, n);
        for (int i = first; i < last; ++i) {
            if (detail::isDistanceInRange(detail::distanceOfValid(hypothesis, p[i]), -band, band))
                target[count++] = p[i];
        }
    }
    inliers.resizePoints(count);
    return count;
}

template <class T, class F>
void MRansac<T, F>::keepBestModel()
{
    std::size_t winner = 0;
    for (std::size_t i = 1; i < m_models.size(); ++i)
        if (m_models[i].count > m_models[winner].count)
            winner = i;
    if (m_models.empty() || m_models[winner].count <= 0) {
        m_models.clear();
        return;
    }
    m_models.front() = m_models[winner];
    m_models.resize(1);
}

template <class T, class F>
void MRansac<T, F>::keepDistinctModels()
{
    std::vector<int> order(m_models.size());
    std::iota(order.begin(), order.end(), 0);
    // Stable, so that among equal counts the earlier hypothesis ranks first,
    // as it wins a tie when one shape is wanted.
    std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return m_models[a].count > m_models[b].count; });
    // A record is left out when it is similar to a better one that was kept;
    // the records kept so far are exactly the better ones not left out.
    std::vector<Model> kept;
    for (int index : order) {
        const Model &candidate = m_models[index];
        if (candidate.count <= 0 || static_cast<int>(kept.size()) == m_maxModels)
            break;
        const bool similar = std::any_of(kept.begin(), kept.end(),
                                         [&](const Model &better) { return isSimilar(candidate.shape, better.shape); });
        if (!similar)
            kept.push_back(candidate);
    }
    m_models = std::move(kept);
}

} // namespace ZOLAR3D
