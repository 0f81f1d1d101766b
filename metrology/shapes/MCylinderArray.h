#pragma once

#include "MCylinder.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MCylinderArray, MCylinder);
