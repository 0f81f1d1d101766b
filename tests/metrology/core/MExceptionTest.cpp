#include "MFailure.h"
#include "TestSupport.h"
#include "metrology/core/detail/MPathEncoding.h"

#include <gtest/gtest.h>

using namespace ZOLAR3D;

TEST(MException, OwnsACopyOfItsText)
{
    char text[] = "first";
    MException error(text);
    text[0] = 'X';
    EXPECT_STREQ(error.message(), "first");

    MException copy(error);
    MException assigned("other");
    assigned = error;
    EXPECT_STREQ(copy.message(), "first");
    EXPECT_STREQ(assigned.message(), "first");
    EXPECT_STREQ(MException().message(), "");
}

TEST(MException, PolicyIsOffByDefault) { EXPECT_FALSE(MException::Enable); }

TEST(MFailure, ReturnsNeutralResultWhenPolicyIsOff)
{
    test::ScopedExceptions off(false);
    EXPECT_EQ(MFailure::raise("no", 42), 42);
    EXPECT_NO_THROW(MFailure::raise("no"));
}

TEST(MFailure, ThrowsTheExactTextWhenPolicyIsOn)
{
    test::ScopedExceptions on;
    EXPECT_MEXCEPTION(MFailure::raise("value failure", 1.0), "value failure");
    EXPECT_MEXCEPTION(MFailure::raise("plain failure"), "plain failure");
    const MException prepared("prepared failure");
    EXPECT_MEXCEPTION(MFailure::raise(prepared), "prepared failure");
}

TEST(MPathEncoding, Utf8NamesBecomeCodePointsAndBack)
{
    const char *name = "/tmp/caf\xC3\xA9_\xE6\xB8\xAC\xE9\x87\x8F_\xF0\x9F\x93\x90.mri";
    const std::wstring wide = MPathEncoding::widen(name);
    EXPECT_EQ(wide, L"/tmp/caf\u00E9_\u6E2C\u91CF_\U0001F4D0.mri");
    EXPECT_EQ(MPathEncoding::toFileSystem(wide.c_str()), name);
}

TEST(MPathEncoding, InvalidUtf8BytesSurviveTheRoundTrip)
{
    // Latin-1 name, a lone continuation byte, an overlong '/', a truncated sequence.
    const char *name = "\xE9t\xE9/\x80/\xC0\xAF/\xE6\xB8";
    const std::wstring wide = MPathEncoding::widen(name);
    EXPECT_EQ(wide.size(), 11u);
    EXPECT_EQ(MPathEncoding::toFileSystem(wide.c_str()), name);
    EXPECT_EQ(MPathEncoding::widen(nullptr), L"");
    EXPECT_EQ(MPathEncoding::toFileSystem(nullptr), "");
}
