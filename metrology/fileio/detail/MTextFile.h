#pragma once

#include "MInvalid.h"
#include "metrology/core/detail/MPathEncoding.h"

#include <cmath>
#include <fstream>
#include <ios>

namespace ZOLAR3D {

// The text files of the value and shape classes: one wide stream, the value's
// stream operator, and the stream state as the answer. Every class's
// load/save goes through here so that they all open, format and fail alike.
struct MTextFile {
    static constexpr int DoublePrecision = 12;
    static constexpr int FloatPrecision = 7;

    template <class T>
    static bool save(const wchar_t *path, const T &value)
    {
        std::wofstream out(MPathEncoding::toFileSystem(path));
        if (!out)
            return false;
        out << value;
        out.flush();
        return out.good();
    }

    template <class T>
    static bool load(const wchar_t *path, T &value)
    {
        std::wifstream in(MPathEncoding::toFileSystem(path));
        if (!in)
            return false;
        in >> value;
        return !in.fail();
    }

    // Reads one number for a value's stream operator. Twelve digits (seven
    // for floats) cannot carry the invalid marker exactly, so a number that
    // is the marker to that precision is read back as the marker: holes
    // written to a file stay holes when it is read.
    static std::wistream &read(std::wistream &in, double &value)
    {
        if (in >> value && std::fabs(value - MInvalid) <= MInvalid * 1e-11)
            value = MInvalid;
        return in;
    }

    static std::wistream &read(std::wistream &in, float &value)
    {
        if (in >> value && std::fabs(double(value) - MInvalid) <= MInvalid * 1e-6)
            value = MInvalidF;
        return in;
    }
};

// Sets a stream's precision for one scope, so that a value's stream operator
// can write doubles with 12 digits and floats with 7 without leaving the
// caller's stream changed.
class MStreamPrecision {
public:
    MStreamPrecision(std::ios_base &stream, int precision) : m_stream(stream), m_previous(stream.precision(precision)) {}
    ~MStreamPrecision() { m_stream.precision(m_previous); }
    MStreamPrecision(const MStreamPrecision &) = delete;
    MStreamPrecision &operator=(const MStreamPrecision &) = delete;

private:
    std::ios_base &m_stream;
    std::streamsize m_previous;
};

} // namespace ZOLAR3D
