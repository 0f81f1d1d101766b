#include "metrology/fileio/detail/MLineReader.h"

#include <algorithm>
#include <cstring>

namespace ZOLAR3D {

MLineReader::MLineReader(const wchar_t *path) : m_file(path)
{
    if (m_file.isOpen())
        m_buffer.reset(new char[BufferSize]);
}

bool MLineReader::refill()
{
    m_next = 0;
    m_end = m_file.isOpen() ? m_file.readBytes(m_buffer.get(), BufferSize) : 0;
    return m_end > 0;
}

std::size_t MLineReader::findTerminator(bool nulEndsLine) const
{
    const char *begin = m_buffer.get() + m_next;
    const std::size_t size = m_end - m_next;
    if (!nulEndsLine) {
        const void *found = std::memchr(begin, '\n', size);
        return found ? m_next + std::size_t(static_cast<const char *>(found) - begin) : m_end;
    }
    for (std::size_t i = 0; i < size; ++i)
        if (begin[i] == '\n' || begin[i] == '\0')
            return m_next + i;
    return m_end;
}

bool MLineReader::nextLine(std::string_view &line, bool nulEndsLine)
{
    if (m_next == m_end && !refill())
        return false;
    std::size_t stop = findTerminator(nulEndsLine);
    if (stop < m_end) {
        line = std::string_view(m_buffer.get() + m_next, stop - m_next);
        m_next = stop + 1;
        return true;
    }
    m_gathered.assign(m_buffer.get() + m_next, m_end - m_next);
    m_next = m_end;
    while (refill()) {
        stop = findTerminator(nulEndsLine);
        m_gathered.append(m_buffer.get() + m_next, stop - m_next);
        if (stop < m_end) {
            m_next = stop + 1;
            break;
        }
        m_next = m_end;
    }
    line = m_gathered;
    return true;
}

void MLineReader::skipLine()
{
    while (m_next < m_end || refill()) {
        const std::size_t stop = findTerminator(false);
        m_next = std::min(stop + 1, m_end);
        if (stop < m_end)
            return;
    }
}

std::size_t MLineReader::readBytes(void *dest, std::size_t size)
{
    const std::size_t buffered = std::min(size, m_end - m_next);
    if (buffered > 0)
        std::memcpy(dest, m_buffer.get() + m_next, buffered);
    m_next += buffered;
    if (buffered == size || !m_file.isOpen())
        return buffered;
    return buffered + m_file.readBytes(static_cast<char *>(dest) + buffered, size - buffered);
}

} // namespace ZOLAR3D
