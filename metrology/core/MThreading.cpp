#include "MThreading.h"

#include <omp.h>

namespace ZOLAR3D {

void MThreading::SetMaxNumThreads(int n)
{
    if (n > 0)
        omp_set_num_threads(n);
}

} // namespace ZOLAR3D
