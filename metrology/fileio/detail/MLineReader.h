#pragma once

#include "metrology/fileio/detail/MBinaryFile.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace ZOLAR3D {

// Reads a file through one buffer, as lines or as raw bytes, for the text
// point files and for the PCD header and bodies. Lines are handed out as
// views that stay valid until the next call, so that reading a file costs
// no allocation per line: a line that crosses the end of the buffer is
// gathered in one string that keeps its capacity.
class MLineReader {
public:
    explicit MLineReader(const wchar_t *path);

    bool isOpen() const { return m_file.isOpen(); }
    // Bytes not yet handed out, buffered or still in the file.
    std::uint64_t remaining() const { return (m_end - m_next) + m_file.remaining(); }

    // The next byte without taking it, or -1 at the end of the file.
    int peek()
    {
        if (m_next == m_end && !refill())
            return -1;
        return static_cast<unsigned char>(m_buffer[m_next]);
    }

    // The next line without its terminator, which is a line feed or, when
    // nulEndsLine, also a byte 0. The last line of a file needs no
    // terminator. False at the end of the file.
    bool nextLine(std::string_view &line, bool nulEndsLine = false);
    // Passes over the bytes up to and including the next line feed.
    void skipLine();
    // Up to size bytes, buffered ones first; returns how many arrived.
    std::size_t readBytes(void *dest, std::size_t size);

private:
    static constexpr std::size_t BufferSize = std::size_t(1) << 16;

    bool refill();
    // Position of the first terminator in [m_next, m_end), or m_end.
    std::size_t findTerminator(bool nulEndsLine) const;

    MBinaryReader m_file;
    std::unique_ptr<char[]> m_buffer;
    std::size_t m_next = 0;
    std::size_t m_end = 0;
    std::string m_gathered;
};

} // namespace ZOLAR3D
