#include "metrology/fileio/detail/MNumberText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <system_error>

namespace ZOLAR3D {

namespace {

// Decimal exponent of the leading digit of a number whose conversion fell
// out of range: negative for numbers too small, positive for too large.
std::int64_t decimalMagnitude(const char *p, const char *end)
{
    if (p < end && (*p == '-' || *p == '+'))
        ++p;
    while (p < end && *p == '0')
        ++p;
    std::int64_t magnitude = -1;
    while (p < end && MNumberText::isDigit(*p)) {
        ++magnitude;
        ++p;
    }
    if (p < end && *p == '.') {
        ++p;
        if (magnitude < 0)
            for (; p < end && *p == '0'; ++p)
                --magnitude;
        while (p < end && MNumberText::isDigit(*p))
            ++p;
    }
    if (p < end && (*p == 'e' || *p == 'E')) {
        ++p;
        const bool negative = p < end && *p == '-';
        if (p < end && (*p == '-' || *p == '+'))
            ++p;
        std::int64_t exponent = 0;
        for (; p < end && MNumberText::isDigit(*p); ++p)
            exponent = exponent < 1000000000 ? exponent * 10 + (*p - '0') : exponent;
        magnitude += negative ? -exponent : exponent;
    }
    return magnitude;
}

// "0x" in front of a hexadecimal digit or point.
bool isHexPrefix(const char *p, const char *end)
{
    if (end - p < 3 || p[0] != '0' || (p[1] != 'x' && p[1] != 'X'))
        return false;
    const char c = p[2];
    return MNumberText::isDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == '.';
}

// The longest decimal, hexadecimal, infinity or NaN at p in the pattern of
// strtod, with an optional plus sign. Out of range it becomes an infinity
// or a signed zero, as strtod makes it. False when no number starts at p.
template <class T>
bool convertPrefix(const char *&p, const char *end, T &value)
{
    const char *start = p;
    if (start < end && *start == '+') {
        ++start;
        if (start < end && *start == '-')
            return false;
    }
    const bool negative = start < end && *start == '-';
    const char *digits = negative ? start + 1 : start;
    T result = 0;
    std::from_chars_result parsed{};
    bool tooSmall = false;
    if (isHexPrefix(digits, end) &&
        (parsed = std::from_chars(digits + 2, end, result, std::chars_format::hex)).ec != std::errc::invalid_argument) {
        result = negative ? -result : result;
        const char *exponent = std::find_if(digits, parsed.ptr, [](char c) { return c == 'p' || c == 'P'; });
        tooSmall = exponent + 1 < parsed.ptr && exponent[1] == '-';
    } else {
        parsed = std::from_chars(start, end, result);
        if (parsed.ec == std::errc::invalid_argument)
            return false;
        tooSmall = parsed.ec == std::errc::result_out_of_range && decimalMagnitude(start, parsed.ptr) < 0;
    }
    if (parsed.ec == std::errc::result_out_of_range) {
        const T limit = tooSmall ? T(0) : std::numeric_limits<T>::infinity();
        result = negative ? -limit : limit;
    }
    value = result;
    p = parsed.ptr;
    return true;
}

const char *skipSpace(const char *p, const char *end)
{
    while (p < end && MNumberText::isSpace(*p))
        ++p;
    return p;
}

template <class T>
T plainReal(std::string_view token)
{
    const char *p = skipSpace(token.data(), token.data() + token.size());
    T value = 0;
    return convertPrefix(p, token.data() + token.size(), value) ? value : T(0);
}

} // namespace

double MNumberText::plainDouble(std::string_view token) { return plainReal<double>(token); }

float MNumberText::plainFloat(std::string_view token) { return plainReal<float>(token); }

std::int64_t MNumberText::plainInteger(std::string_view token)
{
    const char *end = token.data() + token.size();
    const char *p = skipSpace(token.data(), end);
    const bool negative = p < end && *p == '-';
    if (p < end && (*p == '-' || *p == '+'))
        ++p;
    std::uint64_t magnitude = 0;
    const std::uint64_t limit = negative ? std::uint64_t(INT64_MAX) + 1 : std::uint64_t(INT64_MAX);
    for (; p < end && isDigit(*p); ++p)
        magnitude = magnitude <= (limit - std::uint64_t(*p - '0')) / 10 ? magnitude * 10 + std::uint64_t(*p - '0') : limit;
    return negative ? std::int64_t(0 - magnitude) : std::int64_t(magnitude);
}

bool MNumberText::scanDouble(const char *&p, const char *end, double &value)
{
    const char *q = skipSpace(p, end);
    if (!convertPrefix(q, end, value))
        return false;
    p = q;
    return true;
}

bool MNumberText::scanInt(const char *&p, const char *end, int &value)
{
    const char *q = skipSpace(p, end);
    const char *sign = q;
    if (q < end && (*q == '-' || *q == '+'))
        ++q;
    if (q == end || !isDigit(*q))
        return false;
    while (q < end && isDigit(*q))
        ++q;
    // The conversion goes through a 64-bit long and the store keeps its low
    // 32 bits: a channel beyond the range of int wraps instead of failing.
    value = int(std::uint32_t(plainInteger(std::string_view(sign, std::size_t(q - sign)))));
    p = q;
    return true;
}

bool MNumberText::extractDouble(const char *&p, const char *end, double &value)
{
    p = skipSpace(p, end);
    const char *start = p;
    if (p < end && (*p == '+' || *p == '-'))
        ++p;
    bool digits = false, point = false, exponent = false;
    for (; p < end; ++p) {
        if (isDigit(*p)) {
            digits = true;
        } else if (*p == '.' && !point && !exponent) {
            point = true;
        } else if ((*p == 'e' || *p == 'E') && digits && !exponent) {
            exponent = true;
            if (p + 1 < end && (p[1] == '+' || p[1] == '-'))
                ++p;
        } else {
            break;
        }
    }
    const char *number = start < p && *start == '+' ? start + 1 : start;
    if (number == p || *number == '+')
        return false;
    double result = 0;
    const std::from_chars_result parsed = std::from_chars(number, p, result);
    if (parsed.ptr != p || parsed.ec == std::errc::invalid_argument)
        return false;
    if (parsed.ec == std::errc::result_out_of_range) {
        // Too large fails, as in the stream; too small is a zero.
        if (decimalMagnitude(number, p) >= 0)
            return false;
        result = *number == '-' ? -0.0 : 0.0;
    }
    value = result;
    return true;
}

} // namespace ZOLAR3D
