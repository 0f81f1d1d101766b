#include "metrology/core/detail/MPathEncoding.h"

#include <cstdint>

namespace ZOLAR3D {

namespace {

constexpr char32_t EscapeBase = 0xDC00; // lone low surrogates carry raw bytes

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Decodes one well-formed UTF-8 sequence at p (n bytes left); returns its
// length, or 0 when the bytes there are not a valid shortest-form sequence.
int decodeUtf8(const unsigned char *p, size_t n, char32_t &out)
{
    const unsigned char lead = p[0];
    int length;
    char32_t minimum;
    if (lead < 0x80) {
        out = lead;
        return 1;
    } else if ((lead & 0xE0) == 0xC0) {
        length = 2; minimum = 0x80; out = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3; minimum = 0x800; out = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4; minimum = 0x10000; out = lead & 0x07;
    } else {
        return 0;
    }
    if (n < size_t(length))
        return 0;
    for (int i = 1; i < length; ++i) {
        if (!isContinuation(p[i]))
            return 0;
        out = (out << 6) | (p[i] & 0x3F);
    }
    const bool surrogate = out >= 0xD800 && out <= 0xDFFF;
    if (out < minimum || out > 0x10FFFF || surrogate)
        return 0;
    return length;
}

void appendWide(std::wstring &text, char32_t code)
{
    if (sizeof(wchar_t) == 2 && code > 0xFFFF) {
        code -= 0x10000;
        text.push_back(wchar_t(0xD800 + (code >> 10)));
        text.push_back(wchar_t(0xDC00 + (code & 0x3FF)));
    } else {
        text.push_back(wchar_t(code));
    }
}

void appendUtf8(std::string &text, char32_t code)
{
    if (code < 0x80) {
        text.push_back(char(code));
    } else if (code < 0x800) {
        text.push_back(char(0xC0 | (code >> 6)));
        text.push_back(char(0x80 | (code & 0x3F)));
    } else if (code < 0x10000) {
        text.push_back(char(0xE0 | (code >> 12)));
        text.push_back(char(0x80 | ((code >> 6) & 0x3F)));
        text.push_back(char(0x80 | (code & 0x3F)));
    } else {
        text.push_back(char(0xF0 | (code >> 18)));
        text.push_back(char(0x80 | ((code >> 12) & 0x3F)));
        text.push_back(char(0x80 | ((code >> 6) & 0x3F)));
        text.push_back(char(0x80 | (code & 0x3F)));
    }
}

} // namespace

std::wstring MPathEncoding::widen(const char *path)
{
    std::wstring wide;
    if (!path)
        return wide;
    const auto *p = reinterpret_cast<const unsigned char *>(path);
    size_t n = std::char_traits<char>::length(path);
    while (n > 0) {
        char32_t code;
        int length = decodeUtf8(p, n, code);
        if (length == 0) {
            code = EscapeBase + *p;
            length = 1;
        }
        appendWide(wide, code);
        p += length;
        n -= size_t(length);
    }
    return wide;
}

std::string MPathEncoding::toFileSystem(const wchar_t *path)
{
    std::string narrow;
    if (!path)
        return narrow;
    for (; *path; ++path) {
        char32_t code = char32_t(std::uint32_t(*path));
        if (sizeof(wchar_t) == 2 && code >= 0xD800 && code <= 0xDBFF && path[1] >= 0xDC00 && path[1] <= 0xDFFF) {
            code = 0x10000 + ((code - 0xD800) << 10) + (char32_t(path[1]) - 0xDC00);
            ++path;
        }
        if (code >= EscapeBase + 0x80 && code <= EscapeBase + 0xFF)
            narrow.push_back(char(code - EscapeBase));
        else if ((code >= 0xD800 && code <= 0xDFFF) || code > 0x10FFFF)
            appendUtf8(narrow, 0xFFFD); // unpaired surrogate or out of range: no file name can hold it
        else
            appendUtf8(narrow, code);
    }
    return narrow;
}

} // namespace ZOLAR3D
