// The frames of the orthogonal-distance fits, compiled and exported once here.
#include "MNistFit.h"

namespace ZOLAR3D {

template class MNistFit<MCircle>;
template class MNistFit<MCylinder>;
template class MNistFit<MCone>;

} // namespace ZOLAR3D
