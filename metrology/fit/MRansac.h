#pragma once

#include "MInvalid.h"
#include "MPointCloud.h"
#include "Zol3DExport.h"

#include <cstdint>
#include <vector>

namespace ZOLAR3D {

// Random sample consensus: finds shapes of type T in a cloud that holds
// outliers. F, a fit of the MBestFit<T> family, makes a hypothesis of each
// random sample with fitFast() and refits the points within the band of an
// accepted hypothesis with its complete fit. A fixed number of hypotheses is
// tried, without an adaptive stop, and the shapes with the most inliers are
// chosen at the end, similar ones left out.
//
// Samples come from the C library's rand(), which every constructed object
// seeds anew from the clock: results repeat within one second in the same
// process state, and objects that run at once share the one generator.
template <class T, class F>
class MRansac {
public:
    // One hypothesis: its refitted shape and the number of points within the
    // band of the hypothesis, counted before the refit.
    struct Model {
        T shape;
        std::int32_t count = 0;
    };

    MRansac(const MRansac &) = default;
    MRansac &operator=(const MRansac &) = default;
    virtual ~MRansac();

    // Copies the cloud and drops its invalid points.
    virtual void setPoints(const MPointCloud &cloud);
    // Tries numIterations() hypotheses and keeps the best maxModels() distinct
    // shapes in models(), most inliers first. A cloud with fewer points than
    // a sample raises "Ransac: not enough points for this type of geometry!";
    // the neutral result is an empty models().
    virtual void run();
    // Half width of the band of inliers around a hypothesis.
    virtual void setThreshold(double threshold) { m_threshold = threshold; }
    // Bounds of the radius of circles and spheres.
    virtual void setMinRadius(double radius) { m_minRadius = radius; }
    virtual void setMaxRadius(double radius) { m_maxRadius = radius; }
    // Kept for callers that set them; no shape reads them.
    virtual void setMinLength(double length) { m_minLength = length; }
    virtual void setMaxLength(double length) { m_maxLength = length; }
    // Values that are not positive are ignored.
    virtual void setMaxModels(int maxModels);
    virtual void setNumIterations(int numIterations);
    // Whether a hypothesis or a refitted shape is acceptable; by default its
    // position and direction are valid vectors.
    virtual bool isValidModel(const T &model) const;
    // Whether two shapes stand for the same thing, so that only the one with
    // more inliers is kept.
    virtual bool isSimilar(const T &a, const T &b) const = 0;
    // Fills out with sampleSize() points of the cloud drawn at random, with
    // replacement; an empty cloud gives an empty sample.
    virtual void sample(MPointCloud &out);

    // The private copy of the cloud, without invalid points.
    const MPointCloud &points() const { return m_points; }
    double minRadius() const { return m_minRadius; }
    double maxRadius() const { return m_maxRadius; }
    double minLength() const { return m_minLength; }
    double maxLength() const { return m_maxLength; }
    double threshold() const { return m_threshold; }
    int sampleSize() const { return m_sampleSize; }
    int maxModels() const { return m_maxModels; }
    int numIterations() const { return m_numIterations; }
    // After run(): the shapes found, most inliers first.
    const std::vector<Model> &models() const { return m_models; }

protected:
    // Seeds rand() from the clock.
    explicit MRansac(int sampleSize);

private:
    // Fills models with one record per hypothesis.
    void search();
    // The number of points within the band of hypothesis, gathered into
    // inliers. The count stops, with a result of at most countToBeat, once
    // the points left cannot lift it above countToBeat.
    int gatherInliers(const T &hypothesis, int countToBeat, MPointCloud &inliers) const;
    // The selections of run() for one and for several shapes.
    void keepBestModel();
    void keepDistinctModels();

    MPointCloud m_points;
    double m_minRadius = 0.0;
    double m_maxRadius = MInvalid;
    double m_minLength = 0.0;
    double m_maxLength = MInvalid;
    double m_threshold = 0.5;
    int m_sampleSize;
    int m_maxModels = 1;
    int m_numIterations = 1000;
    std::vector<Model> m_models;
};

} // namespace ZOLAR3D
