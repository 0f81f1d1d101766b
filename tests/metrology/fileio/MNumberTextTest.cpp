#include "metrology/fileio/detail/MNumberText.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>

using namespace ZOLAR3D;

namespace {

// Strings of characters that numbers are made of, with a few that end them.
std::string randomNumberText(std::mt19937 &rng)
{
    static const char alphabet[] = "0123456789012345678901234567890123456789+-..eE  \tx,ni";
    std::uniform_int_distribution<std::size_t> pick(0, sizeof alphabet - 2);
    std::uniform_int_distribution<int> length(0, 14);
    std::string text;
    for (int n = length(rng); n > 0; --n)
        text += alphabet[pick(rng)];
    return text;
}

// Equal as numbers, or both NaN; zeros must agree in sign.
bool sameNumber(double a, double b) { return (std::isnan(a) && std::isnan(b)) || (a == b && std::signbit(a) == std::signbit(b)); }

const char *const TrickyTexts[] = {"", " ", "1", "-1", "+1", "+-1", "-+1", "1.", ".5", ".", "-.", "1e", "1e+", "1e-3",
                                   "1E5x", "5.e3", ".e3", "1.5.3", "1e5e5", "0x1A", "00012", "1e400", "-1e400", "1e-400",
                                   "4.9e-324", "2.4e-324", "1.7976931348623157e308", "1.7976931348623159e308",
                                   "123456789012345678901234567890", "0.000000000000000000000000000001e-300", "inf",
                                   "nan", "-0", "\t7", "3,5", "e5", "-e5", "1e+-5", "0x", "0x.", "-0x1.8p1", "0x1p-99999",
                                   "0x1p99999", "+0X.8", "0xg", "infinity", "-nan"};

} // namespace

TEST(MNumberText, ExtractDoubleTakesWhatAStreamTakes)
{
    std::mt19937 rng(1);
    for (int round = 0; round < 40000; ++round) {
        const std::string text = round < int(std::size(TrickyTexts)) ? TrickyTexts[round] : randomNumberText(rng);
        std::istringstream stream(text);
        double streamValue = 0;
        const bool streamGot = bool(stream >> streamValue);

        const char *p = text.data();
        double value = 0;
        const bool got = MNumberText::extractDouble(p, text.data() + text.size(), value);
        ASSERT_EQ(got, streamGot) << "'" << text << "'";
        if (!got)
            continue;
        ASSERT_TRUE(sameNumber(value, streamValue)) << "'" << text << "'";
        // The next number starts where the stream stands.
        const std::streamoff at = stream.eof() ? std::streamoff(text.size()) : std::streamoff(stream.tellg());
        ASSERT_EQ(p - text.data(), at) << "'" << text << "'";
    }
}

TEST(MNumberText, ScanConversionsTakeWhatScanfTakes)
{
    std::mt19937 rng(2);
    for (int round = 0; round < 40000; ++round) {
        const std::string text = round < int(std::size(TrickyTexts)) ? TrickyTexts[round] : randomNumberText(rng);
        // The C library's scanf consumes the "1e" of "1ex" or the "0x" of
        // "0xg" and then fails; the longest number is the rule here.
        if (text.find_first_of("eExX") != std::string::npos)
            continue;
        double expected = 0;
        int used = 0;
        const bool scanned = std::sscanf(text.c_str(), "%lf%n", &expected, &used) == 1;
        const char *p = text.data();
        double value = 0;
        ASSERT_EQ(MNumberText::scanDouble(p, text.data() + text.size(), value), scanned) << "'" << text << "'";
        if (scanned) {
            ASSERT_TRUE(sameNumber(value, expected)) << "'" << text << "'";
            ASSERT_EQ(p - text.data(), used) << "'" << text << "'";
        }

        int expectedInt = 0;
        const bool scannedInt = std::sscanf(text.c_str(), "%d%n", &expectedInt, &used) == 1;
        p = text.data();
        int intValue = 0;
        ASSERT_EQ(MNumberText::scanInt(p, text.data() + text.size(), intValue), scannedInt) << "'" << text << "'";
        if (scannedInt) {
            ASSERT_EQ(intValue, expectedInt) << "'" << text << "'";
            ASSERT_EQ(p - text.data(), used) << "'" << text << "'";
        }
    }
}

TEST(MNumberText, ScanDoubleReadsHexadecimalAndSpecialNumbers)
{
    const std::pair<const char *, double> cases[] = {{"-0x1.8p1", -3.0},    {"+0X.8", 0.5}, {"0x1p-99999", 0.0},
                                                     {" 0x1p99999", HUGE_VAL}, {"1e", 1.0},   {"0xg", 0.0},
                                                     {"-infinity", -HUGE_VAL}};
    for (const auto &[text, expected] : cases) {
        const char *p = text;
        double value = 7;
        ASSERT_TRUE(MNumberText::scanDouble(p, text + std::strlen(text), value)) << text;
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(MNumberText, ScanIntKeepsTheLow32BitsOfA64BitConversion)
{
    const std::pair<const char *, int> cases[] = {
        {"2147483647", INT32_MAX}, {"2147483648", INT32_MIN}, {"4294967296", 0}, {"4294967553", 257},
        {"-4294967295", 1},        {"99999999999999999999", -1}, {"-99999999999999999999", 0}};
    for (const auto &[text, expected] : cases) {
        const char *p = text;
        int value = 7;
        ASSERT_TRUE(MNumberText::scanInt(p, text + std::strlen(text), value));
        EXPECT_EQ(value, expected) << text;
    }
}

TEST(MNumberText, PlainConversionsAreThoseOfStrtodAndStrtoll)
{
    std::mt19937 rng(3);
    for (int round = 0; round < 40000; ++round) {
        const std::string text = round < int(std::size(TrickyTexts)) ? TrickyTexts[round] : randomNumberText(rng);
        ASSERT_TRUE(sameNumber(MNumberText::plainDouble(text), std::strtod(text.c_str(), nullptr))) << "'" << text << "'";
        ASSERT_TRUE(sameNumber(double(MNumberText::plainFloat(text)), double(std::strtof(text.c_str(), nullptr))))
            << "'" << text << "'";
        ASSERT_EQ(MNumberText::plainInteger(text), std::strtoll(text.c_str(), nullptr, 10)) << "'" << text << "'";
    }
}
