#include "metrology/fileio/detail/MLzf.h"

#include <lzf.h>

#include <climits>

namespace ZOLAR3D {

namespace {

// LibLZF counts in unsigned int; a longer block cannot be passed whole.
bool fitsLzf(std::size_t size) { return size <= UINT_MAX; }

} // namespace

std::size_t MLzf::compress(const void *in, std::size_t size, void *out, std::size_t capacity)
{
    if (size == 0 || !fitsLzf(size))
        return 0;
    if (size == 1) {
        // LibLZF hashes two bytes before it looks at the length; one byte is
        // a literal run of one, written here instead.
        if (capacity < 2)
            return 0;
        static_cast<unsigned char *>(out)[0] = 0;
        static_cast<unsigned char *>(out)[1] = *static_cast<const unsigned char *>(in);
        return 2;
    }
    return lzf_compress(in, unsigned(size), out, unsigned(capacity < UINT_MAX ? capacity : UINT_MAX));
}

std::size_t MLzf::decompress(const void *in, std::size_t size, void *out, std::size_t capacity)
{
    // The decoder reads its first control byte before looking at the length.
    if (size == 0 || !fitsLzf(size))
        return 0;
    return lzf_decompress(in, unsigned(size), out, unsigned(capacity < UINT_MAX ? capacity : UINT_MAX));
}

} // namespace ZOLAR3D
