#pragma once

#include "MVector4d.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MVector4dArray, MVector4d);
