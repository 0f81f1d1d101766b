#pragma once

#include "Zol3DExport.h"

#include <string>

namespace ZOLAR3D {

// Conversion between the narrow paths callers pass and the wide paths the
// file functions take. Narrow paths are UTF-8 on this platform; bytes that
// are not valid UTF-8 are carried through as U+DC80..U+DCFF so that any
// narrow name survives the round trip to the file system unchanged.
struct ZOL3D_API MPathEncoding {
    static std::wstring widen(const char *path);
    // The byte string handed to the file system for a wide path.
    static std::string toFileSystem(const wchar_t *path);
};

} // namespace ZOLAR3D
