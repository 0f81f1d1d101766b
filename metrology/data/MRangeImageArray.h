#pragma once

#include "MRangeImage.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MRangeImageArray, MRangeImage);
