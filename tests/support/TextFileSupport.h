#pragma once

#include "FileBytes.h"
#include "metrology/core/detail/MPathEncoding.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace ZOLAR3D::test {

// What operator<< writes for a value.
template <class T>
std::wstring textOf(const T &value)
{
    std::wostringstream out;
    out << value;
    return out.str();
}

// Which overload of save and load a round trip goes through.
enum class PathForm { Narrow, Wide };

// Saves `value` to the UTF-8 `path` and loads it into `read`, each through the
// narrow or the wide overload; the paths name the same file either way.
template <class T>
T roundTrip(const T &value, const std::string &path, PathForm save = PathForm::Narrow, PathForm load = PathForm::Wide,
            T read = T())
{
    const std::wstring wide = MPathEncoding::widen(path.c_str());
    EXPECT_TRUE(save == PathForm::Narrow ? value.save(path.c_str()) : value.save(wide.c_str())) << path;
    EXPECT_TRUE(load == PathForm::Narrow ? read.load(path.c_str()) : read.load(wide.c_str())) << path;
    return read;
}

} // namespace ZOLAR3D::test
