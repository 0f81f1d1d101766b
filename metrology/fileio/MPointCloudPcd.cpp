// PCD files, version .7: a text header of keyword lines, then the points in
// one of three body modes. The writer always compresses, field by field.
#include "MPointCloud.h"

#include "MFailure.h"
#include "metrology/core/detail/MPathEncoding.h"
#include "metrology/fileio/detail/MBinaryFile.h"
#include "metrology/fileio/detail/MLineReader.h"
#include "metrology/fileio/detail/MLzf.h"
#include "metrology/fileio/detail/MNumberText.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ZOLAR3D {

namespace {

const char HeaderUnknown[] = "The PCD file header is unknown or the version is not supported";

constexpr std::uint32_t FloatNaN = 0xFFC00000u;
constexpr std::uint64_t DoubleNaN = 0xFFF8000000000000ull;

// ---------------------------------------------------------------- tokens

// The tokens of one line. Blanks separate them, carriage returns are
// dropped wherever they stand, a byte 0 ends the line like a line feed, and
// a line that starts with '#' is passed over inside the same call, so that
// comments may stand anywhere, in the body of an ascii file too.
class PcdTokens {
public:
    // False at the end of the file.
    bool next(MLineReader &in)
    {
        while (in.peek() == '#')
            in.skipLine();
        std::string_view line;
        if (!in.nextLine(line, true))
            return false;
        if (line.find('\r') != std::string_view::npos) {
            m_withoutReturns.assign(line);
            m_withoutReturns.erase(std::remove(m_withoutReturns.begin(), m_withoutReturns.end(), '\r'),
                                   m_withoutReturns.end());
            line = m_withoutReturns;
        }
        split(line);
        return true;
    }

    std::size_t size() const { return m_tokens.size(); }
    std::string_view operator[](std::size_t i) const { return m_tokens[i]; }

private:
    // A run of blanks separates like one, so that doubled or trailing blanks
    // never make empty fields.
    void split(std::string_view line)
    {
        m_tokens.clear();
        std::size_t start = 0;
        while (start < line.size()) {
            const std::size_t blank = std::min(line.find(' ', start), line.size());
            if (blank > start)
                m_tokens.push_back(line.substr(start, blank - start));
            start = blank + 1;
        }
    }

    std::vector<std::string_view> m_tokens;
    std::string m_withoutReturns;
};

// ---------------------------------------------------------------- header

enum class PcdMode { Ascii, Binary, Compressed };

struct PcdHeader {
    int fieldCount = 0;
    int xIndex = -1;
    int colorIndex = -1;
    std::vector<std::int64_t> sizes;
    std::vector<char> types;
    std::vector<std::int64_t> counts;
    std::int64_t width = 0;
    std::int64_t height = 0;
    std::int64_t points = 0;
    PcdMode mode = PcdMode::Ascii;
    bool hasFields = false, hasSize = false, hasType = false, hasCount = false;
    bool hasWidth = false, hasHeight = false, hasViewpoint = false, hasPoints = false;

    // Reads keyword lines up to a recognised DATA line; false when the
    // file ends first.
    bool read(MLineReader &in);
    // The keywords every file must have, a point count that is the grid's,
    // and three coordinate fields.
    bool isComplete() const;
    // Whether the per-field sizes and counts describe records that a file
    // can hold; on success recordBytes is the size of one binary record.
    bool hasRecordLayout(std::uint64_t &recordBytes) const;

    bool coordinatesAreDoubles() const { return sizes[std::size_t(xIndex)] == 8; }
    bool colorIsInteger() const { return colorIndex < int(types.size()) && types[std::size_t(colorIndex)] == 'U'; }
    std::uint64_t fieldBytes(int field) const;

private:
    void readFields(const PcdTokens &tokens);
    bool readData(const PcdTokens &tokens);
};

std::vector<std::int64_t> integersOf(const PcdTokens &tokens)
{
    std::vector<std::int64_t> values;
    for (std::size_t i = 1; i < tokens.size(); ++i)
        values.push_back(MNumberText::plainInteger(tokens[i]));
    return values;
}

std::int64_t integerOf(const PcdTokens &tokens) { return tokens.size() > 1 ? MNumberText::plainInteger(tokens[1]) : 0; }

bool PcdHeader::read(MLineReader &in)
{
    PcdTokens tokens;
    while (tokens.next(in)) {
        if (tokens.size() == 0)
            continue;
        const std::string_view keyword = tokens[0];
        if (keyword == "FIELDS") {
            readFields(tokens);
        } else if (keyword == "SIZE") {
            sizes = integersOf(tokens);
            hasSize = true;
        } else if (keyword == "TYPE") {
            types.clear();
            for (std::size_t i = 1; i < tokens.size(); ++i)
                types.push_back(tokens[i][0]);
            hasType = true;
        } else if (keyword == "COUNT") {
            counts = integersOf(tokens);
            hasCount = true;
        } else if (keyword == "WIDTH") {
            width = integerOf(tokens);
            hasWidth = true;
        } else if (keyword == "HEIGHT") {
            height = integerOf(tokens);
            hasHeight = true;
        } else if (keyword == "VIEWPOINT") {
            hasViewpoint = true;
        } else if (keyword == "POINTS") {
            points = integerOf(tokens);
            hasPoints = true;
        } else if (keyword == "DATA" && readData(tokens)) {
            return true;
        }
    }
    return false;
}

// Only the names "x" and "rgb" are looked for: "rgba" and every other
// field is passed over like padding, as this reader has always done.
void PcdHeader::readFields(const PcdTokens &tokens)
{
    fieldCount = int(tokens.size()) - 1;
    xIndex = -1;
    colorIndex = -1;
    for (int i = 0; i < fieldCount; ++i) {
        if (tokens[std::size_t(i) + 1] == "x")
            xIndex = i;
        else if (tokens[std::size_t(i) + 1] == "rgb")
            colorIndex = i;
    }
    hasFields = xIndex >= 0;
}

bool PcdHeader::readData(const PcdTokens &tokens)
{
    if (tokens.size() < 2)
        return false;
    if (tokens[1] == "ascii")
        mode = PcdMode::Ascii;
    else if (tokens[1] == "binary")
        mode = PcdMode::Binary;
    else if (tokens[1] == "binary_compressed")
        mode = PcdMode::Compressed;
    else
        return false;
    return true;
}

bool isCount(std::int64_t value) { return value >= 0 && value <= INT_MAX; }

bool PcdHeader::isComplete() const
{
    const bool allSeen = hasFields && hasSize && hasType && hasCount && hasWidth && hasHeight && hasViewpoint && hasPoints;
    // Counts beyond int cannot be held by a cloud, and y and z are the two
    // fields behind x, so x must not be one of the last two.
    return allSeen && isCount(width) && isCount(height) && isCount(points) && width * height == points &&
           xIndex + 2 < fieldCount;
}

std::uint64_t PcdHeader::fieldBytes(int field) const
{
    return std::uint64_t(sizes[std::size_t(field)]) * std::uint64_t(counts[std::size_t(field)]);
}

bool PcdHeader::hasRecordLayout(std::uint64_t &recordBytes) const
{
    if (sizes.size() < std::size_t(fieldCount) || counts.size() < std::size_t(fieldCount))
        return false;
    recordBytes = 0;
    for (int field = 0; field < fieldCount; ++field) {
        const std::int64_t size = sizes[std::size_t(field)], count = counts[std::size_t(field)];
        if (size < 0 || count < 0 || size > INT_MAX || count > INT_MAX)
            return false;
        if (__builtin_add_overflow(recordBytes, fieldBytes(field), &recordBytes))
            return false;
    }
    return true;
}

// ---------------------------------------------------------------- bodies

template <class T>
T loadAt(const unsigned char *bytes)
{
    T value;
    std::memcpy(&value, bytes, sizeof(T));
    return value;
}

// Where one field of interest sits in a binary record. The field is read
// into a slot of 32 bytes, so that only its first 32 bytes count, and a
// value wider than the field reads the missing bytes as zeros.
struct RecordSlot {
    std::size_t offset = 0;
    std::size_t length = 0;

    template <class T>
    T read(const unsigned char *record) const
    {
        if (length >= sizeof(T))
            return loadAt<T>(record + offset);
        unsigned char bytes[sizeof(T)] = {};
        std::memcpy(bytes, record + offset, length);
        return loadAt<T>(bytes);
    }
};

class BinaryBody {
public:
    BinaryBody(const PcdHeader &header, std::uint64_t recordBytes) : m_recordBytes(std::size_t(recordBytes))
    {
        std::size_t offset = 0;
        for (int field = 0; field < header.fieldCount; ++field) {
            const std::size_t bytes = std::size_t(header.fieldBytes(field));
            const RecordSlot slot{offset, std::min<std::size_t>(bytes, 32)};
            if (field >= header.xIndex && field <= header.xIndex + 2)
                m_coordinates[field - header.xIndex] = slot;
            if (field == header.colorIndex)
                m_color = slot;
            offset += bytes;
        }
    }

    // Points whose record the file does not hold in full keep their marker.
    template <class T>
    void read(MLineReader &in, MVector3d *points, MColor *colors, int count) const
    {
        // A record longer than the rest of the file never arrives whole.
        if (m_recordBytes > in.remaining())
            return;
        constexpr std::size_t ChunkBytes = std::size_t(1) << 20;
        const std::size_t chunkRecords = std::clamp<std::size_t>(ChunkBytes / std::max<std::size_t>(m_recordBytes, 1), 1, std::size_t(count));
        const std::unique_ptr<unsigned char[]> chunk(new unsigned char[std::max<std::size_t>(chunkRecords * m_recordBytes, 1)]);
        for (int done = 0; done < count;) {
            const std::size_t wanted = std::min<std::size_t>(chunkRecords, std::size_t(count - done));
            const std::size_t arrived = m_recordBytes == 0 ? wanted : in.readBytes(chunk.get(), wanted * m_recordBytes) / m_recordBytes;
            for (std::size_t r = 0; r < arrived; ++r, ++done) {
                const unsigned char *record = chunk.get() + r * m_recordBytes;
                points[done] = MVector3d(m_coordinates[0].read<T>(record), m_coordinates[1].read<T>(record),
                                         m_coordinates[2].read<T>(record));
                if (colors)
                    colors[done].setArgb(m_color.read<std::uint32_t>(record));
            }
            if (arrived < wanted)
                return;
        }
    }

private:
    std::size_t m_recordBytes;
    RecordSlot m_coordinates[3];
    RecordSlot m_color;
};

std::uint64_t saturatingProduct(std::uint64_t a, std::uint64_t b)
{
    std::uint64_t product;
    return __builtin_mul_overflow(a, b, &product) ? UINT64_MAX : product;
}

std::uint64_t saturatingSum(std::uint64_t a, std::uint64_t b)
{
    std::uint64_t sum;
    return __builtin_add_overflow(a, b, &sum) ? UINT64_MAX : sum;
}

// One field of the decompressed block: its elements stand at offset,
// offset + stride, and so on; only those the block delivered are read.
struct BlockColumn {
    std::uint64_t offset = UINT64_MAX;
    std::uint64_t stride = 0;

    // How many of count elements of width bytes lie within the first
    // delivered bytes of the block.
    int elementsWithin(std::size_t width, std::size_t delivered, int count) const
    {
        if (offset > delivered || delivered - offset < width)
            return 0;
        if (stride == 0)
            return count;
        return int(std::min<std::uint64_t>(std::uint64_t(count), (delivered - offset - width) / stride + 1));
    }
};

class CompressedBody {
public:
    // The fields are laid out one after the other, each taking size x count
    // bytes per point; the block holds only the coordinates and the colour,
    // so fields besides those move everything behind them.
    CompressedBody(const PcdHeader &header, int points) : m_points(points)
    {
        const std::size_t coordinateBytes = header.coordinatesAreDoubles() ? 8 : 4;
        m_blockBytes = std::size_t(points) * (3 * coordinateBytes + (header.colorIndex >= 0 ? 4 : 0));
        std::uint64_t offset = 0;
        for (int field = 0; field < header.fieldCount; ++field) {
            const BlockColumn column{offset, header.fieldBytes(field)};
            if (field >= header.xIndex && field <= header.xIndex + 2)
                m_coordinates[field - header.xIndex] = column;
            if (field == header.colorIndex)
                m_color = column;
            offset = saturatingSum(offset, saturatingProduct(column.stride, std::uint64_t(points)));
        }
    }

    std::size_t blockBytes() const { return m_blockBytes; }

    template <class T>
    void store(const unsigned char *compressed, std::size_t size, MVector3d *points, MColor *colors) const
    {
        if (m_blockBytes == 0)
            return;
        const std::unique_ptr<unsigned char[]> block(new unsigned char[m_blockBytes]);
        std::size_t delivered = MLzf::decompress(compressed, size, block.get(), m_blockBytes);
        if (delivered == 0 && size > 0)
            delivered = decodedPrefix(compressed, size, block.get());
        storeCoordinates<T>(block.get(), delivered, points);
        if (colors)
            storeColors(block.get(), delivered, colors);
    }

private:
    // LZF refuses a stream that decodes to more than the block, as the
    // stream of a file with further fields does, and a stream cut short; it
    // leaves what it decoded before the run that failed. Decoded once more
    // over zeros and once over ones, the two blocks part where that ended,
    // so that no value is taken from a run that never arrived.
    std::size_t decodedPrefix(const unsigned char *compressed, std::size_t size, unsigned char *block) const
    {
        const std::unique_ptr<unsigned char[]> probe(new unsigned char[m_blockBytes]);
        std::memset(block, 0x00, m_blockBytes);
        std::memset(probe.get(), 0xFF, m_blockBytes);
        MLzf::decompress(compressed, size, block, m_blockBytes);
        MLzf::decompress(compressed, size, probe.get(), m_blockBytes);
        return std::size_t(std::mismatch(block, block + m_blockBytes, probe.get()).first - block);
    }

    // A NaN in the file is a point the writer had no value for: the marker
    // of the fresh point stays in its place.
    template <class T>
    void storeCoordinates(const unsigned char *block, std::size_t delivered, MVector3d *points) const
    {
        int counts[3];
        const unsigned char *columns[3];
        for (int c = 0; c < 3; ++c) {
            counts[c] = m_coordinates[c].elementsWithin(sizeof(T), delivered, m_points);
            columns[c] = block + (counts[c] > 0 ? m_coordinates[c].offset : 0);
        }
        for (int i = 0; i < m_points; ++i) {
            double *p = points[i].data();
            for (int c = 0; c < 3; ++c) {
                if (i >= counts[c])
                    continue;
                const T value = loadAt<T>(columns[c] + std::uint64_t(i) * m_coordinates[c].stride);
                if (value == value)
                    p[c] = value;
            }
        }
    }

    void storeColors(const unsigned char *block, std::size_t delivered, MColor *colors) const
    {
        const int n = m_color.elementsWithin(4, delivered, m_points);
        const unsigned char *column = block + (n > 0 ? m_color.offset : 0);
        for (int i = 0; i < n; ++i)
            colors[i].setArgb(loadAt<std::uint32_t>(column + std::uint64_t(i) * m_color.stride));
    }

    int m_points;
    std::size_t m_blockBytes = 0;
    BlockColumn m_coordinates[3];
    BlockColumn m_color;
};

// A field's position among the fields is its token on the line, whatever
// the counts of the fields in front of it: files with arrays in front of x
// or rgb read other tokens, which this reader has always accepted.
void readAsciiBody(MLineReader &in, const PcdHeader &header, MVector3d *points, MColor *colors, int count)
{
    PcdTokens tokens;
    const std::size_t x = std::size_t(header.xIndex);
    const std::size_t color = std::size_t(header.colorIndex);
    const bool colorIsInteger = colors && header.colorIsInteger();
    for (int i = 0; i < count && tokens.next(in); ++i) {
        if (tokens.size() > x + 2)
            points[i] = MVector3d(MNumberText::plainDouble(tokens[x]), MNumberText::plainDouble(tokens[x + 1]),
                                  MNumberText::plainDouble(tokens[x + 2]));
        if (!colors || color >= tokens.size())
            continue;
        if (colorIsInteger) {
            colors[i].setArgb(std::uint32_t(MNumberText::plainInteger(tokens[color])));
        } else {
            const float packed = MNumberText::plainFloat(tokens[color]);
            colors[i].setArgb(loadAt<std::uint32_t>(reinterpret_cast<const unsigned char *>(&packed)));
        }
    }
}

// ---------------------------------------------------------------- writer

std::string headerText(bool doubles, bool withColors, int width, int height)
{
    std::string text = "# .PCD v.7 - Point Cloud Data file format. Generated by the ZOL3D SDK, ZOLAR, "
                       "https://www.zolar3d.example\n"
                       "VERSION .7\n";
    text += withColors ? "FIELDS x y z rgb\n" : "FIELDS x y z\n";
    text += doubles ? (withColors ? "SIZE 8 8 8 4\n" : "SIZE 8 8 8\n") : (withColors ? "SIZE 4 4 4 4\n" : "SIZE 4 4 4\n");
    text += withColors ? "TYPE F F F U\nCOUNT 1 1 1 1\n" : "TYPE F F F\nCOUNT 1 1 1\n";
    text += "WIDTH " + std::to_string(width) + "\nHEIGHT " + std::to_string(height) +
            "\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS " + std::to_string(std::int64_t(width) * height) +
            "\nDATA binary_compressed\n";
    return text;
}

// Writes x, y and z as three columns; an invalid point is a NaN in each.
template <class T, class Bits>
void fillCoordinateColumns(const MVector3d *points, int n, unsigned char *block, Bits nanBits)
{
    unsigned char *columns[3] = {block, block + std::size_t(n) * sizeof(T), block + 2 * std::size_t(n) * sizeof(T)};
    for (int i = 0; i < n; ++i) {
        const std::size_t at = std::size_t(i) * sizeof(T);
        if (points[i].isValid()) {
            for (int c = 0; c < 3; ++c) {
                const T value = T(points[i].data()[c]);
                std::memcpy(columns[c] + at, &value, sizeof(T));
            }
        } else {
            for (int c = 0; c < 3; ++c)
                std::memcpy(columns[c] + at, &nanBits, sizeof(T));
        }
    }
}

} // namespace

bool MPointCloud::loadPcd(const char *path) { return loadPcd(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::loadPcd(const wchar_t *path)
{
    MLineReader in(path);
    if (!in.isOpen())
        return false;
    PcdHeader header;
    std::uint64_t recordBytes = 0;
    if (!header.read(in) || !header.isComplete() ||
        (header.mode != PcdMode::Ascii && !header.hasRecordLayout(recordBytes)))
        return MFailure::raise(HeaderUnknown, false);

    // Nothing is allocated for more points than the rest of the file could
    // hold: a line or a byte per point at least, or as much as LZF can
    // expand the compressed bytes to.
    const int count = int(header.points);
    std::uint32_t compressedSize = 0, declaredSize = 0;
    std::unique_ptr<CompressedBody> compressedBody;
    std::uint64_t available = in.remaining();
    if (header.mode == PcdMode::Compressed) {
        in.readBytes(&compressedSize, 4);
        in.readBytes(&declaredSize, 4);
        available = std::min<std::uint64_t>(compressedSize, in.remaining());
        compressedBody.reset(new CompressedBody(header, count));
        if (compressedBody->blockBytes() > available * MLzf::MaxExpansion)
            return MFailure::raise(HeaderUnknown, false);
    } else if (std::uint64_t(count) > available) {
        return MFailure::raise(HeaderUnknown, false);
    }

    clearPoints();
    resizePoints(count);
    clearColors();
    if (header.colorIndex >= 0)
        resizeColors(count, MColor::Gray);
    clearNormals();
    MColor *colorData = header.colorIndex >= 0 ? colors() : nullptr;

    if (header.mode == PcdMode::Ascii) {
        readAsciiBody(in, header, points(), colorData, count);
    } else if (header.mode == PcdMode::Binary) {
        const BinaryBody body(header, recordBytes);
        if (header.coordinatesAreDoubles())
            body.read<double>(in, points(), colorData, count);
        else
            body.read<float>(in, points(), colorData, count);
    } else {
        const std::unique_ptr<unsigned char[]> compressed(new unsigned char[std::max<std::uint64_t>(available, 1)]);
        const std::size_t arrived = in.readBytes(compressed.get(), std::size_t(available));
        if (header.coordinatesAreDoubles())
            compressedBody->store<double>(compressed.get(), arrived, points(), colorData);
        else
            compressedBody->store<float>(compressed.get(), arrived, points(), colorData);
    }

    // A header of no columns passes the count test for any height; a grid of
    // no points would claim rows that hold nothing.
    if (header.height > 1 && count > 0)
        setOrganized2d(int(header.height), int(header.width));
    return numPoints() >= 1;
}

bool MPointCloud::savePcd(const char *path, int precision) const
{
    return savePcd(MPathEncoding::widen(path).c_str(), precision);
}

bool MPointCloud::savePcd(const wchar_t *path, int precision) const
{
    MBinaryWriter out(path);
    if (!out.isOpen())
        return false;
    const bool doubles = precision == 2;
    const bool withColors = hasColors();
    const int n = numPoints();
    const bool organized = isOrganized2d();
    const std::string header = headerText(doubles, withColors, organized ? width() : n, organized ? height() : 1);
    out.writeBytes(header.data(), header.size());

    const std::size_t coordinateBytes = doubles ? 8 : 4;
    const std::size_t blockBytes = std::size_t(n) * (3 * coordinateBytes + (withColors ? 4 : 0));
    // The two sizes in front of the block are 32-bit.
    if (blockBytes > UINT32_MAX) {
        out.fail();
        return out.close();
    }
    const std::unique_ptr<unsigned char[]> block(new unsigned char[std::max<std::size_t>(blockBytes, 1)]);
    if (doubles)
        fillCoordinateColumns<double>(points(), n, block.get(), DoubleNaN);
    else
        fillCoordinateColumns<float>(points(), n, block.get(), FloatNaN);
    // MColor is its 32-bit 0xAARRGGBB value in memory, as the file wants it.
    if (withColors)
        std::memcpy(block.get() + 3 * std::size_t(n) * coordinateBytes, colors(), std::size_t(n) * 4);

    const std::size_t capacity = blockBytes * 3 / 2;
    const std::unique_ptr<unsigned char[]> compressed(new unsigned char[std::max<std::size_t>(capacity, 1)]);
    const std::size_t compressedBytes = MLzf::compress(block.get(), blockBytes, compressed.get(), capacity);
    if (blockBytes > 0 && compressedBytes == 0) {
        out.fail();
        return out.close();
    }
    out.write(std::uint32_t(compressedBytes));
    out.write(std::uint32_t(blockBytes));
    out.writeBytes(compressed.get(), compressedBytes);
    return out.close();
}

} // namespace ZOLAR3D
