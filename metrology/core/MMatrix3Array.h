#pragma once

#include "MMatrix3.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MMatrix3Array, MMatrix3);
