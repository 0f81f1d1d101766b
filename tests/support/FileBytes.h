#pragma once

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
