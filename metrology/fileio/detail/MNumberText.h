#pragma once

#include "Zol3DExport.h"

#include <cstdint>
#include <string_view>

namespace ZOLAR3D {

// Numbers read from text files without the C library's locale: the point
// files are always written with a dot, whatever locale the host has set.
// Each reader follows one of three habits, and each habit is kept here:
// the plain conversion of a whole token, the scanf conversions, and the
// extraction of a standard stream.
struct ZOL3D_API MNumberText {
    // The number at the start of a token, after leading white space, or 0
    // when there is none; beyond the range of a double it is an infinity,
    // below it a zero of the right sign.
    static double plainDouble(std::string_view token);
    static float plainFloat(std::string_view token);
    // The integer at the start of a token, or 0 when there is none, held
    // at the 64-bit limits when it goes beyond them.
    static std::int64_t plainInteger(std::string_view token);

    // "%lf" of scanf: skips white space, then takes the longest number.
    // False, with p unmoved, when no number starts there.
    static bool scanDouble(const char *&p, const char *end, double &value);
    // "%d" of scanf: skips white space, then takes an optionally signed run
    // of digits, kept to 64 bits and then reduced to its low 32 bits.
    static bool scanInt(const char *&p, const char *end, int &value);

    // What a standard stream's >> into a double takes: white space is
    // skipped, the characters that can continue a decimal number are
    // gathered, and they must make up a number within the range of a
    // double. False when they do not or when the text is used up; p then
    // stands behind whatever was gathered, as the stream's position would.
    static bool extractDouble(const char *&p, const char *end, double &value);

    static bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }
    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
};

} // namespace ZOLAR3D
