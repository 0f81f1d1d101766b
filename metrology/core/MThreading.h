#pragma once

#include "Zol3DExport.h"

namespace ZOLAR3D {

// The process-wide thread limit of the functions that size scratch buffers
// per OpenMP thread. A plain global: set it before work starts.
class ZOL3D_API MThreading {
public:
    // Sets the OpenMP thread limit when n > 0; otherwise does nothing.
    static void SetMaxNumThreads(int n);
};

} // namespace ZOLAR3D
