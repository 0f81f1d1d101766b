#pragma once

#include "MException.h"

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

    // For failures that reuse one prepared exception object.
    static void raise(const MException &prepared)
    {
        if (MException::Enable)
            throw prepared;
    }
};

} // namespace ZOLAR3D
