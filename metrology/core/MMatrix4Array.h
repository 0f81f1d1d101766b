#pragma once

#include "MMatrix4.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MMatrix4Array, MMatrix4);
