#pragma once

#include "MVector3f.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MVector3fArray, MVector3f);
