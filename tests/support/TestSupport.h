#pragma once

#include "MException.h"

#include <string>

namespace ZOLAR3D::test {

// Turns the library's exceptions on for one scope and restores the old policy.
class ScopedExceptions {
public:
    explicit ScopedExceptions(bool enable = true) : m_previous(MException::Enable) { MException::Enable = enable; }
    ~ScopedExceptions() { MException::Enable = m_previous; }
    ScopedExceptions(const ScopedExceptions &) = delete;
    ScopedExceptions &operator=(const ScopedExceptions &) = delete;

private:
    bool m_previous;
};

// Path of a file of the shared real data, or "" when the data is absent.
// Tests call GTEST_SKIP() on "".
std::string dataFile(const std::string &relativePath);

// A fresh scratch folder for files a test writes.
std::string scratchDir(const std::string &name);

} // namespace ZOLAR3D::test

// Expects `statement` to throw MException with exactly `text`.
#define EXPECT_MEXCEPTION(statement, text)                                              \
    do {                                                                                \
        bool zol3dThrown = false;                                                       \
        try {                                                                           \
            statement;                                                                  \
        } catch (const ::ZOLAR3D::MException &zol3dError) {                             \
            zol3dThrown = true;                                                         \
            EXPECT_STREQ(zol3dError.message(), text);                                   \
        }                                                                               \
        EXPECT_TRUE(zol3dThrown) << "expected MException: " << text;                    \
    } while (0)
