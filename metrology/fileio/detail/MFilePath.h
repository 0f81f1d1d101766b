#pragma once

#include <cwchar>
#include <string>

namespace ZOLAR3D {

struct MFilePath {
    // What follows the last dot of the file name, without the dot, for the
    // exact and case-sensitive dispatch of load and save; "" when the name
    // has no dot. Dots in folder names do not count.
    static std::wstring suffix(const wchar_t *path)
    {
        if (!path)
            return std::wstring();
        const wchar_t *name = path;
        for (const wchar_t *p = path; *p; ++p)
            if (*p == L'/' || *p == L'\\')
                name = p + 1;
        const wchar_t *dot = std::wcsrchr(name, L'.');
        return dot ? std::wstring(dot + 1) : std::wstring();
    }
};

} // namespace ZOLAR3D
