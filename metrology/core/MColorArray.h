#pragma once

#include "MColor.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MColorArray, MColor);
