#pragma once

#include "MLine.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MLineArray, MLine);
