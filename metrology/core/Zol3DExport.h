// Symbol export of the shared library: everything is hidden unless marked.
#pragma once

#if defined(_WIN32)
#  if defined(ZOL3DUTIL_BUILDING)
#    define ZOL3D_API __declspec(dllexport)
#  else
#    define ZOL3D_API __declspec(dllimport)
#  endif
#else
#  define ZOL3D_API __attribute__((visibility("default")))
#endif
