#pragma once

#include "MPlane.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MPlaneArray, MPlane);
