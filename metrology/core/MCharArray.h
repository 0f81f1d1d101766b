#pragma once

#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MCharArray, char);
