#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <type_traits>

namespace ZOLAR3D {

#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ != __ORDER_LITTLE_ENDIAN__
#error "The binary scan files are little-endian memory images of their fields"
#endif

// Reads a binary file field by field. The length of the file is known from
// the start, so that a count or size found inside the file can be checked
// against what the file can hold before anything is allocated for it. Once
// the file ends inside a field, that field and all later ones read as absent.
class MBinaryReader {
public:
    explicit MBinaryReader(const wchar_t *path);
    ~MBinaryReader();
    MBinaryReader(const MBinaryReader &) = delete;
    MBinaryReader &operator=(const MBinaryReader &) = delete;

    bool isOpen() const { return m_file != nullptr; }
    // 0 for anything but a regular file, whose length cannot be trusted.
    std::uint64_t length() const { return m_length; }
    std::uint64_t remaining() const { return m_length - m_position; }

    // One plain field; when the file ends inside it, value keeps what it held.
    template <class T>
    bool read(T &value)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        unsigned char bytes[sizeof(T)];
        if (remaining() < sizeof(T) || readBytes(bytes, sizeof(T)) != sizeof(T)) {
            m_position = m_length;
            return false;
        }
        std::memcpy(&value, bytes, sizeof(T));
        return true;
    }
    // Up to size bytes; returns how many arrived.
    std::size_t readBytes(void *dest, std::size_t size);
    // Moves on by up to size bytes; returns how many were passed over.
    std::uint64_t skip(std::uint64_t size);

private:
    std::FILE *m_file = nullptr;
    std::uint64_t m_length = 0;
    std::uint64_t m_position = 0;
};

// Writes a binary file field by field and remembers whether every write got
// through, so that a full disk is reported like a file that would not open.
class MBinaryWriter {
public:
    explicit MBinaryWriter(const wchar_t *path);
    ~MBinaryWriter();
    MBinaryWriter(const MBinaryWriter &) = delete;
    MBinaryWriter &operator=(const MBinaryWriter &) = delete;

    bool isOpen() const { return m_file != nullptr; }

    template <class T>
    void write(const T &value)
    {
        static_assert(std::is_trivially_copyable_v<T>);
        writeBytes(&value, sizeof(T));
    }
    void writeBytes(const void *src, std::size_t size);
    // Marks the file as failed, for an answer the writer itself cannot see.
    void fail() { m_good = false; }
    // Closes the file; true when it opened and every write and the close succeeded.
    bool close();

private:
    std::FILE *m_file = nullptr;
    bool m_good = true;
};

} // namespace ZOLAR3D
