#include "MRangeImage.h"

#include "metrology/core/detail/MPathEncoding.h"
#include "metrology/fileio/detail/MFilePath.h"

namespace ZOLAR3D {

bool MRangeImage::load(const char *path) { return load(MPathEncoding::widen(path).c_str()); }

bool MRangeImage::load(const wchar_t *path)
{
    const std::wstring suffix = MFilePath::suffix(path);
    if (suffix == L"png")
        return loadPng(path, 1.0, 1.0, 0.1);
    if (suffix == L"mri")
        return loadMri(path);
    return false;
}

bool MRangeImage::save(const char *path) const { return save(MPathEncoding::widen(path).c_str()); }

bool MRangeImage::save(const wchar_t *path) const
{
    const std::wstring suffix = MFilePath::suffix(path);
    if (suffix == L"png")
        return savePng(path, -0.1);
    if (suffix == L"mri")
        return saveMri(path);
    return false;
}

} // namespace ZOLAR3D
