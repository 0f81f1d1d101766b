#pragma once

#include "MCone.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MConeArray, MCone);
