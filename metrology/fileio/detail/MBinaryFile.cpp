#include "metrology/fileio/detail/MBinaryFile.h"

#include "metrology/core/detail/MPathEncoding.h"

#include <algorithm>
#include <sys/stat.h>

namespace ZOLAR3D {

MBinaryReader::MBinaryReader(const wchar_t *path)
{
    m_file = std::fopen(MPathEncoding::toFileSystem(path).c_str(), "rb");
    if (!m_file)
        return;
    // Directories, pipes and devices open too, but report no length that
    // could bound what is read from them; they read as empty files.
    struct stat status;
    if (::fstat(::fileno(m_file), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0)
        m_length = std::uint64_t(status.st_size);
}

MBinaryReader::~MBinaryReader()
{
    if (m_file)
        std::fclose(m_file);
}

std::size_t MBinaryReader::readBytes(void *dest, std::size_t size)
{
    const std::size_t wanted = std::size_t(std::min<std::uint64_t>(size, remaining()));
    const std::size_t got = wanted > 0 ? std::fread(dest, 1, wanted, m_file) : 0;
    // A file that shrank under us or failed to read has ended here.
    m_position = got < wanted ? m_length : m_position + got;
    return got;
}

std::uint64_t MBinaryReader::skip(std::uint64_t size)
{
    const std::uint64_t step = std::min(size, remaining());
    if (step > 0 && ::fseeko(m_file, off_t(m_position + step), SEEK_SET) != 0) {
        m_position = m_length;
        return 0;
    }
    m_position += step;
    return step;
}

MBinaryWriter::MBinaryWriter(const wchar_t *path) : m_file(std::fopen(MPathEncoding::toFileSystem(path).c_str(), "wb")) {}

MBinaryWriter::~MBinaryWriter() { close(); }

void MBinaryWriter::writeBytes(const void *src, std::size_t size)
{
    if (m_file && size > 0 && std::fwrite(src, 1, size, m_file) != size)
        m_good = false;
}

bool MBinaryWriter::close()
{
    if (!m_file)
        return false;
    const bool closed = std::fclose(m_file) == 0;
    m_file = nullptr;
    return m_good && closed;
}

} // namespace ZOLAR3D
