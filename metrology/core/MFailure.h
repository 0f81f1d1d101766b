#pragma once

#include "MException.h"
#include "MInvalid.h"

namespace ZOLAR3D {

// The one place where the failure policy is applied. A failing function
// writes `return MFailure::raise("text", neutral);` and never tests
// MException::Enable itself.
struct MFailure {
    // Throws MException(text) when the policy is on, otherwise returns neutral.
    template <class T>
    static T raise(const char *text, T neutral)
    {
        if (MException::Enable)
            throw MException(text);
        return neutral;
    }

    // For failures whose neutral result is doing nothing.
    static void raise(const char *text)
    {
        if (MException::Enable)
            throw MException(text);
    }

    // For element access with a bad index: throws when the policy is on,
    // otherwise hands out a scratch element that holds the invalid marker.
    // The scratch is per thread and refilled on every bad access, so a
    // caller who wrote through an earlier bad reference poisons nobody.
    static double &raiseElement(const char *text)
    {
        if (MException::Enable)
            throw MException(text);
        thread_local double scratch;
        scratch = MInvalid;
        return scratch;
    }

    // The read-only form: the marker itself.
    static const double &raiseConstElement(const char *text)
    {
        if (MException::Enable)
            throw MException(text);
        return MInvalid;
    }

    // For failures that reuse one prepared exception object.
    static void raise(const MException &prepared)
    {
        if (MException::Enable)
            throw prepared;
    }
};

} // namespace ZOLAR3D
