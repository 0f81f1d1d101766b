#include "MCircleArray.h"
#include "MConeArray.h"
#include "MCylinderArray.h"
#include "MSphereArray.h"

#include <gtest/gtest.h>

using namespace ZOLAR3D;

TEST(MRoundShapeArrays, HoldDefaultShapesAndTakeNewOnes)
{
    MCircleArray circles(2);
    MSphereArray spheres(2);
    MCylinderArray cylinders(2);
    MConeArray cones(2);
    EXPECT_FALSE(circles[1].isValid() || spheres[1].isValid() || cylinders[1].isValid() || cones[1].isValid());

    const MCone cone(MVector3d(0, 0, 0), MVector3d(0, 0, 1), 1.0, 0.5, 2.0);
    EXPECT_EQ(cones.add(cone), 2);
    EXPECT_EQ(cones.last(), cone);
    EXPECT_EQ(cones.last().distance(MVector3d(5, 0, 0)), cone.distance(MVector3d(5, 0, 0)));
    spheres.add(MSphere::UnitSphere);
    EXPECT_EQ(spheres.last(), MSphere::UnitSphere);
}
