#pragma once

#include "MTriangleDistanceAnalysis.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MTriangleDistanceAnalysisArray, MTriangleDistanceAnalysis);
