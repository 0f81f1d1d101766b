#pragma once

#include "MCircle.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MCircleArray, MCircle);
