#pragma once

#include "MPointCloud.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MPointCloudArray, MPointCloud);
