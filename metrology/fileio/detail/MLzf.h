#pragma once

#include <cstddef>
#include <cstdint>

namespace ZOLAR3D {

// Raw LZF blocks, as the binary scan files store them: no header and no
// length of their own, so the file around them carries the sizes.
struct MLzf {
    // No stream decodes to more bytes than this per byte of input: the
    // longest back reference takes three bytes and yields 264. Readers bound
    // sizes taken from a file with it before they allocate anything.
    static constexpr std::uint64_t MaxExpansion = 88;

    // Compresses size bytes into out; returns the compressed length, or 0
    // when there is nothing to compress or the result does not fit capacity.
    static std::size_t compress(const void *in, std::size_t size, void *out, std::size_t capacity);

    // Decodes size bytes into out; returns the decoded length, or 0 when the
    // stream is corrupt or decodes to more than capacity. Whatever was decoded
    // before such an error stays in out, and nothing beyond capacity is written.
    static std::size_t decompress(const void *in, std::size_t size, void *out, std::size_t capacity);
};

} // namespace ZOLAR3D
