#pragma once

#include "MVector3d.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MVector3dArray, MVector3d);
