#include "MRangeImage.h"

#include "metrology/core/detail/MPathEncoding.h"
#include "metrology/fileio/detail/MBinaryFile.h"
#include "metrology/fileio/detail/MLzf.h"

#include <algorithm>
#include <memory>

namespace ZOLAR3D {

namespace {

constexpr std::int32_t MriVersion = 1;

// Bytes of a stream as the file holds them: the size field, then that many
// bytes or as many as the file still has.
struct MriStream {
    std::int32_t declaredSize = 0;
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t size = 0;
};

MriStream readStream(MBinaryReader &in)
{
    MriStream stream;
    in.read(stream.declaredSize);
    const std::uint64_t available = std::min<std::uint64_t>(std::max(stream.declaredSize, 0), in.remaining());
    stream.bytes.reset(new unsigned char[available]);
    stream.size = in.readBytes(stream.bytes.get(), available);
    return stream;
}

// One compressed stream: its size as int32, then its bytes. False when the
// data could not be compressed into the work buffer or its size into the field.
bool writeStream(MBinaryWriter &out, const void *data, std::size_t size, unsigned char *work, std::size_t capacity)
{
    const std::size_t compressed = MLzf::compress(data, size, work, capacity);
    if ((size > 0 && compressed == 0) || compressed > std::size_t(INT32_MAX))
        return false;
    out.write(std::int32_t(compressed));
    out.writeBytes(work, compressed);
    return true;
}

} // namespace

void MRangeImage::writeMriHeader(MBinaryWriter &out) const
{
    // Width before height and the column size first: the file's own order.
    out.write(MriVersion);
    out.write(std::int32_t(m_width));
    out.write(std::int32_t(m_height));
    out.write(m_pixelSizeColumns);
    out.write(m_pixelSizeRows);
    out.writeBytes(m_pose.data(), 16 * sizeof(double));
}

void MRangeImage::readMriHeader(MBinaryReader &in, std::int32_t &height, std::int32_t &width)
{
    // The version is read past and not tested: every version reads alike.
    std::int32_t version;
    in.read(version);
    width = m_width;
    height = m_height;
    in.read(width);
    in.read(height);
    in.read(m_pixelSizeColumns);
    in.read(m_pixelSizeRows);
    double pose[16];
    if (in.read(pose))
        std::copy(pose, pose + 16, m_pose.data());
    updateMatrices();
}

bool MRangeImage::saveMri(const char *path) const { return saveMri(MPathEncoding::widen(path).c_str()); }

bool MRangeImage::saveMri(const wchar_t *path) const
{
    MBinaryWriter out(path);
    if (!out.isOpen())
        return false;
    writeMriHeader(out);
    // One work buffer, half as large again as the raw values, serves both
    // streams: the colours need 6 of its 12 bytes per pixel.
    const std::size_t pixels = std::size_t(size());
    const std::unique_ptr<unsigned char[]> work(new unsigned char[pixels * 12]);
    if (!writeStream(out, values(), pixels * sizeof(double), work.get(), pixels * 12))
        out.fail();
    if (!hasColors())
        out.write(std::int32_t(0));
    else if (!writeStream(out, colors(), pixels * sizeof(MColor), work.get(), pixels * 6))
        out.fail();
    return out.close();
}

bool MRangeImage::loadMri(const char *path) { return loadMri(MPathEncoding::widen(path).c_str()); }

bool MRangeImage::loadMri(const wchar_t *path)
{
    MBinaryReader in(path);
    if (!in.isOpen())
        return false;
    std::int32_t height, width;
    readMriHeader(in, height, width);
    const MriStream valueStream = readStream(in);
    setGridWithin(height, width, valueStream.size * MLzf::MaxExpansion / sizeof(double));
    // Pixels that a short or broken stream does not deliver stay invalid.
    m_values.init(MInvalid);
    MLzf::decompress(valueStream.bytes.get(), valueStream.size, values(), std::size_t(size()) * sizeof(double));

    const MriStream colorStream = readStream(in);
    if (colorStream.declaredSize <= 0) {
        m_colors.clear();
        return true;
    }
    m_colors.resize(size());
    m_colors.init(MColor::LightGray);
    // This reader has always handed LZF the length of the value stream for
    // the colours too, so a colour stream longer than the value stream is cut.
    const std::size_t colorLength = std::min<std::size_t>(colorStream.size, std::max(valueStream.declaredSize, 0));
    MLzf::decompress(colorStream.bytes.get(), colorLength, colors(), std::size_t(size()) * sizeof(MColor));
    return true;
}

bool MRangeImage::saveMriNoCompress(const wchar_t *path) const
{
    MBinaryWriter out(path);
    if (!out.isOpen())
        return false;
    writeMriHeader(out);
    out.write(std::int32_t(size()));
    out.writeBytes(values(), std::size_t(size()) * sizeof(double));
    if (hasColors()) {
        out.write(std::int32_t(size()));
        out.writeBytes(colors(), std::size_t(size()) * sizeof(MColor));
    } else {
        out.write(std::int32_t(0));
    }
    return out.close();
}

bool MRangeImage::loadMriNoCompress(const wchar_t *path)
{
    MBinaryReader in(path);
    if (!in.isOpen())
        return false;
    std::int32_t height, width;
    readMriHeader(in, height, width);
    // The writer stores a count of values and this reader has always passed
    // over that many bytes, not values: the geometry comes back, the values
    // do not, and the colour count is read from inside the value data.
    std::int32_t valueBytes = 0;
    in.read(valueBytes);
    in.skip(std::uint64_t(std::max(valueBytes, 0)));
    setGridWithin(height, width, in.length() / sizeof(double));
    m_values.init(MInvalid);
    std::int32_t colorBytes = 0;
    in.read(colorBytes);
    if (colorBytes <= 0) {
        m_colors.clear();
        return true;
    }
    in.skip(std::uint64_t(colorBytes));
    m_colors.resize(size());
    m_colors.init(MColor::LightGray);
    return true;
}

} // namespace ZOLAR3D
