#pragma once

#include "MStatistics.h"
#include "MTypedArray.h"

ZOL3D_TYPED_ARRAY(MStatisticsArray, MStatistics);
