#pragma once

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace ZOLAR3D::test {

using Bytes = std::vector<unsigned char>;

inline Bytes readBytes(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeBytes(const std::string &path, const unsigned char *data, std::size_t size)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char *>(data), std::streamsize(size));
}

inline void writeBytes(const std::string &path, const Bytes &bytes) { writeBytes(path, bytes.data(), bytes.size()); }

inline std::string readText(const std::string &path)
{
    const Bytes bytes = readBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

inline void writeText(const std::string &path, const std::string &text)
{
    writeBytes(path, reinterpret_cast<const unsigned char *>(text.data()), text.size());
}

// A fixture with a fresh scratch folder for the files its tests write.
class ScratchFiles : public ::testing::Test {
protected:
    explicit ScratchFiles(const std::string &folder) : m_dir(scratchDir(folder)) {}
    std::string path(const std::string &name) const { return m_dir + "/" + name; }
    // The same path for the wide overloads; scratch folders are ASCII.
    std::wstring widePath(const std::string &name) const
    {
        const std::string narrow = path(name);
        return std::wstring(narrow.begin(), narrow.end());
    }
    void write(const std::string &name, const std::string &text) const { writeText(path(name), text); }
    std::string read(const std::string &name) const { return readText(path(name)); }

    const std::string m_dir;
};

// A little-endian field of a file image, read at a byte offset.
template <class T>
T fieldAt(const Bytes &bytes, std::size_t offset)
{
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof(T));
    return value;
}

template <class T>
void setFieldAt(Bytes &bytes, std::size_t offset, T value)
{
    std::memcpy(bytes.data() + offset, &value, sizeof(T));
}

} // namespace ZOLAR3D::test
