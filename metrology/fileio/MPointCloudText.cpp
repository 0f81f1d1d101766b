// Point files in text: plain ASCII points, ASCII points with colours and OBJ
// vertices, and the choice of a format by the suffix of the path.
#include "MPointCloud.h"

#include "metrology/core/detail/MPathEncoding.h"
#include "metrology/fileio/detail/MBinaryFile.h"
#include "metrology/fileio/detail/MFilePath.h"
#include "metrology/fileio/detail/MLineReader.h"
#include "metrology/fileio/detail/MNumberText.h"

#include <charconv>
#include <string>
#include <string_view>

namespace ZOLAR3D {

namespace {

// Digits of the coordinates: plain ASCII files have always had eight; the
// coloured and OBJ files use the sixteen of the library's text files.
constexpr int AsciiDigits = 8;
constexpr int TextDigits = 16;

// One line of text at a time, numbers formatted as a standard stream
// formats them in its default notation, independent of the host's locale.
class TextLine {
public:
    TextLine &number(double value, int digits)
    {
        m_end = std::to_chars(m_end, m_text + sizeof m_text, value, std::chars_format::general, digits).ptr;
        return *this;
    }
    TextLine &integer(int value)
    {
        m_end = std::to_chars(m_end, m_text + sizeof m_text, value).ptr;
        return *this;
    }
    TextLine &text(std::string_view piece)
    {
        m_end = std::copy(piece.begin(), piece.end(), m_end);
        return *this;
    }
    TextLine &character(char c)
    {
        *m_end++ = c;
        return *this;
    }
    void writeTo(MBinaryWriter &out)
    {
        out.writeBytes(m_text, std::size_t(m_end - m_text));
        m_end = m_text;
    }

private:
    // Three numbers of at most 24 characters, three channels and separators.
    char m_text[160];
    char *m_end = m_text;
};

// Three coordinates as a stream would extract them, from p on.
bool extractPoint(const char *p, const char *end, MVector3d &point)
{
    double x, y, z;
    if (!MNumberText::extractDouble(p, end, x) || !MNumberText::extractDouble(p, end, y) ||
        !MNumberText::extractDouble(p, end, z))
        return false;
    point = MVector3d(x, y, z);
    return true;
}

// "%lf %lf %lf %d %d %d": every directive skips white space first.
bool scanColoredPoint(const char *p, const char *end, MVector3d &point, MColor &color)
{
    double x, y, z;
    int red, green, blue;
    if (!MNumberText::scanDouble(p, end, x) || !MNumberText::scanDouble(p, end, y) ||
        !MNumberText::scanDouble(p, end, z) || !MNumberText::scanInt(p, end, red) ||
        !MNumberText::scanInt(p, end, green) || !MNumberText::scanInt(p, end, blue))
        return false;
    // This reader has always negated the third coordinate, and the files in
    // use were written for it.
    point = MVector3d(x, y, -z);
    color = MColor(red, green, blue, 255);
    return true;
}

// Clears the cloud and adds the point of every line that extract(line, point)
// reads; true when at least one was read.
template <class Extract>
bool readPointLines(const wchar_t *path, MPointCloud &cloud, Extract extract)
{
    MLineReader in(path);
    if (!in.isOpen())
        return false;
    cloud.clear();
    std::string_view line;
    MVector3d point;
    while (in.nextLine(line))
        if (extract(line, point))
            cloud.add(point);
    return cloud.numPoints() >= 1;
}

// Writes `head`, then the line that format(line, point, index) makes of each
// valid point; true when every byte reached the file.
template <class Format>
bool writePointLines(const wchar_t *path, const MPointCloud &cloud, std::string_view head, Format format)
{
    MBinaryWriter out(path);
    if (!out.isOpen())
        return false;
    TextLine line;
    line.text(head).writeTo(out);
    for (int i = 0; i < cloud.numPoints(); ++i) {
        const MVector3d &p = cloud.points()[i];
        if (!p.isValid())
            continue;
        format(line, p, i);
        line.writeTo(out);
    }
    return out.close();
}

} // namespace

// ---------------------------------------------------------------- ASCII

bool MPointCloud::loadAscii(const char *path) { return loadAscii(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::loadAscii(const wchar_t *path)
{
    return readPointLines(path, *this, [](std::string_view line, MVector3d &point) {
        return extractPoint(line.data(), line.data() + line.size(), point);
    });
}

bool MPointCloud::saveAscii(const char *path) const { return saveAscii(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::saveAscii(const wchar_t *path) const
{
    return writePointLines(path, *this, {}, [](TextLine &line, const MVector3d &p, int) {
        line.number(p.x(), AsciiDigits).character('\t').number(p.y(), AsciiDigits).character('\t');
        line.number(p.z(), AsciiDigits).character('\n');
    });
}

bool MPointCloud::loadAsciiRgb(const char *path) { return loadAsciiRgb(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::loadAsciiRgb(const wchar_t *path)
{
    MLineReader in(path);
    if (!in.isOpen())
        return false;
    clear();
    constexpr int FailuresThatStop = 3;
    int failures = 0;
    std::string_view line;
    MVector3d point;
    MColor color;
    while (failures < FailuresThatStop && in.nextLine(line)) {
        if (scanColoredPoint(line.data(), line.data() + line.size(), point, color)) {
            add(point);
            addColor(color);
        } else {
            ++failures;
        }
    }
    return numPoints() >= 1;
}

bool MPointCloud::saveAsciiRgb(const char *path) const { return saveAsciiRgb(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::saveAsciiRgb(const wchar_t *path) const
{
    // Without colours every point gets the fill colour of new colours.
    const MColor *pointColors = hasColors() ? colors() : nullptr;
    return writePointLines(path, *this, {}, [pointColors](TextLine &line, const MVector3d &p, int i) {
        const MColor c = pointColors ? pointColors[i] : MColor::Gray;
        line.number(p.x(), TextDigits).character(' ').number(p.y(), TextDigits).character(' ');
        line.number(p.z(), TextDigits).character(' ').integer(c.red()).character(' ');
        line.integer(c.green()).character(' ').integer(c.blue()).character('\n');
    });
}

// ---------------------------------------------------------------- OBJ

bool MPointCloud::loadObj(const char *path) { return loadObj(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::loadObj(const wchar_t *path)
{
    return readPointLines(path, *this, [](std::string_view line, MVector3d &point) {
        return line.size() >= 2 && line[0] == 'v' && line[1] == ' ' &&
               extractPoint(line.data() + 2, line.data() + line.size(), point);
    });
}

bool MPointCloud::saveObj(const char *path) const { return saveObj(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::saveObj(const wchar_t *path) const
{
    const std::string head = "# 3d obj file\n# written by ZOLAR3D - the 3d metrology library\n# vertices(" +
                             std::to_string(numValidPoints()) + ")\n";
    return writePointLines(path, *this, head, [](TextLine &line, const MVector3d &p, int) {
        line.text("v ").number(p.x(), TextDigits).character(' ').number(p.y(), TextDigits).character(' ');
        line.number(p.z(), TextDigits).character('\n');
    });
}

// ---------------------------------------------------------------- by suffix

bool MPointCloud::load(const char *path) { return load(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::load(const wchar_t *path)
{
    const std::wstring suffix = MFilePath::suffix(path);
    if (suffix == L"obj")
        return loadObj(path);
    if (suffix == L"txt" || suffix == L"asc" || suffix == L"xyz")
        return loadAscii(path);
    if (suffix == L"xyzrgb")
        return loadAsciiRgb(path);
    if (suffix == L"pcd")
        return loadPcd(path);
    return false;
}

bool MPointCloud::save(const char *path) const { return save(MPathEncoding::widen(path).c_str()); }

bool MPointCloud::save(const wchar_t *path) const
{
    const std::wstring suffix = MFilePath::suffix(path);
    if (suffix == L"obj")
        return saveObj(path);
    if (suffix == L"txt" || suffix == L"asc" || suffix == L"xyz")
        return saveAscii(path);
    if (suffix == L"xyzrgb")
        return saveAsciiRgb(path);
    if (suffix == L"pcd")
        return savePcd(path, 2);
    return false;
}

} // namespace ZOLAR3D
