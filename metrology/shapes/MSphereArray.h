#pragma once

#include "MSphere.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MSphereArray, MSphere);
