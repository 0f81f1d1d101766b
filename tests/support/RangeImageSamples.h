#pragma once

#include "MInvalid.h"
#include "MMatrix4.h"
#include "MRangeImage.h"

#include <Eigen/Dense>

#include <random>

namespace ZOLAR3D::test {

inline Eigen::Matrix4d toEigen(const MMatrix4 &m) { return Eigen::Map<const Eigen::Matrix<double, 4, 4, Eigen::RowMajor>>(m.data()); }

// A rotation from a random unit quaternion and a translation within +-100.
inline MMatrix4 randomRigidPose(std::mt19937 &rng)
{
    std::uniform_real_distribution<double> unit(-1.0, 1.0);
    const Eigen::Matrix3d r = Eigen::Quaterniond(unit(rng), unit(rng), unit(rng), unit(rng)).normalized().toRotationMatrix();
    MMatrix4 pose;
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col)
            pose.data()[row * 4 + col] = r(row, col);
        pose.data()[row * 4 + 3] = 100.0 * unit(rng);
    }
    return pose;
}

// Random heights with a share of invalid pixels, random colours when asked,
// random pixel sizes and a random rigid pose.
inline MRangeImage randomRangeImage(std::mt19937 &rng, int height, int width, bool withColors, double invalidShare = 0.2)
{
    std::uniform_real_distribution<double> z(-50.0, 50.0);
    std::uniform_real_distribution<double> size(0.05, 3.0);
    std::bernoulli_distribution invalid(invalidShare);
    MRangeImage image(height, width);
    for (int i = 0; i < image.size(); ++i)
        image.values()[i] = invalid(rng) ? MInvalid : z(rng);
    if (withColors) {
        image.createColors();
        for (int i = 0; i < image.size(); ++i)
            image.colors()[i] = MColor(int(rng()));
    }
    image.setPixelSize(size(rng), size(rng));
    image.setPose(randomRigidPose(rng));
    return image;
}

} // namespace ZOLAR3D::test
