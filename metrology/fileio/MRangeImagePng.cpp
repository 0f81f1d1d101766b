#include "MRangeImage.h"

#include "MFailure.h"
#include "metrology/core/detail/MPathEncoding.h"
#include "metrology/fileio/detail/MBinaryFile.h"

#include <lodepng.h>

#include <climits>
#include <cstdlib>
#include <memory>
#include <vector>

namespace ZOLAR3D {

namespace {

struct FreeLodepngBuffer {
    void operator()(unsigned char *buffer) const { std::free(buffer); }
};
using LodepngBuffer = std::unique_ptr<unsigned char, FreeLodepngBuffer>;

// Deflate cannot expand a byte of input into more than 1032 bytes.
constexpr std::uint64_t MaxDeflateExpansion = 1032;

class LodepngState {
public:
    LodepngState() { lodepng_state_init(&state); }
    ~LodepngState() { lodepng_state_cleanup(&state); }
    LodepngState(const LodepngState &) = delete;
    LodepngState &operator=(const LodepngState &) = delete;
    LodePNGState state;
};

// The 16-bit sample of a height; 0 is kept for invalid pixels. With an offset
// the lowest height maps to exactly 1: (z - minimum)/resolution + 1 is the
// shifted quotient (z + resolution - minimum)/resolution computed so that the
// rounding of the offset cannot push the lowest height down to 0.
unsigned short pngSample(double z, bool shifted, double minimum, double resolution)
{
    if (z == MInvalid)
        return 0;
    const double q = shifted ? (z - minimum) / resolution + 1.0 : z / resolution;
    // Below 1 truncation gives 0; negative and NaN quotients have no sample either.
    if (!(q >= 1.0))
        return 0;
    return q >= 65535.0 ? 65535 : (unsigned short)(q);
}

bool readWholeFile(const wchar_t *path, std::vector<unsigned char> &bytes)
{
    MBinaryReader in(path);
    if (!in.isOpen())
        return false;
    bytes.resize(std::size_t(in.length()));
    bytes.resize(in.readBytes(bytes.data(), bytes.size()));
    return true;
}

// Whether the image that the header announces can come out of a file of this
// length: its filtered scanlines must be within the reach of deflate, and its
// pixel count within the grid's. Keeps a forged header from deciding how much
// the decoder allocates.
bool plausibleSize(unsigned width, unsigned height, const LodePNGColorMode &color, std::size_t fileLength)
{
    if (std::uint64_t(width) * height > std::uint64_t(INT_MAX))
        return false;
    const std::uint64_t rowBytes = (std::uint64_t(width) * lodepng_get_bpp(&color) + 7) / 8 + 1;
    return rowBytes * height <= MaxDeflateExpansion * fileLength;
}

} // namespace

bool MRangeImage::savePng(const char *path, double resolutionZ) const
{
    return savePng(MPathEncoding::widen(path).c_str(), resolutionZ);
}

bool MRangeImage::savePng(const wchar_t *path, double resolutionZ) const
{
    if (resolutionZ == 0.0)
        return MFailure::raise("MRangeImage::savePng: invalid argument for resolutionZ (must be != 0)", false);
    if (resolutionZ < 0.0)
        resolutionZ *= -(m_pixelSizeRows + m_pixelSizeColumns) / 2.0;
    double minimum = MInvalid;
    for (int i = 0; i < size(); ++i)
        minimum = m_values[i] < minimum ? m_values[i] : minimum;
    // Heights above 0 keep their absolute scale; otherwise the lowest one is
    // lifted to sample 1, apart from the invalid 0.
    const bool shifted = !(minimum > 0.0);
    std::vector<unsigned char> samples(std::size_t(size()) * 2);
    for (int i = 0; i < size(); ++i) {
        const unsigned short sample = pngSample(m_values[i], shifted, minimum, resolutionZ);
        samples[2 * i] = (unsigned char)(sample >> 8);
        samples[2 * i + 1] = (unsigned char)(sample & 0xFF);
    }
    // Always 16-bit grey: lodepng would otherwise pick a smaller sample
    // depth for flat images, one that it then refuses to decode to 16 bits.
    LodepngState encoder;
    encoder.state.encoder.auto_convert = 0;
    encoder.state.info_raw.colortype = encoder.state.info_png.color.colortype = LCT_GREY;
    encoder.state.info_raw.bitdepth = encoder.state.info_png.color.bitdepth = 16;
    unsigned char *encoded = nullptr;
    std::size_t encodedSize = 0;
    const unsigned error = lodepng_encode(&encoded, &encodedSize, samples.data(), unsigned(m_width), unsigned(m_height),
                                          &encoder.state);
    const LodepngBuffer owner(encoded);
    // A PNG cannot be empty, and lodepng would write one that no decoder takes.
    if (error || size() == 0)
        return false;
    MBinaryWriter out(path);
    out.writeBytes(encoded, encodedSize);
    return out.close();
}

bool MRangeImage::loadPng(const char *path) { return loadPng(MPathEncoding::widen(path).c_str()); }

bool MRangeImage::loadPng(const wchar_t *path) { return loadPng(path, 1.0, 1.0, 0.1); }

bool MRangeImage::loadPng(const char *path, double pixelSizeColumns, double pixelSizeRows, double zScale)
{
    return loadPng(MPathEncoding::widen(path).c_str(), pixelSizeColumns, pixelSizeRows, zScale);
}

bool MRangeImage::loadPng(const wchar_t *path, double pixelSizeColumns, double pixelSizeRows, double zScale)
{
    std::vector<unsigned char> file;
    if (!readWholeFile(path, file))
        return false;
    LodepngState decoder;
    unsigned width = 0, height = 0;
    if (lodepng_inspect(&width, &height, &decoder.state, file.data(), file.size()) != 0 ||
        !plausibleSize(width, height, decoder.state.info_png.color, file.size()))
        return false;
    decoder.state.info_raw.colortype = LCT_GREY;
    decoder.state.info_raw.bitdepth = 16;
    unsigned char *decoded = nullptr;
    const unsigned error = lodepng_decode(&decoded, &width, &height, &decoder.state, file.data(), file.size());
    const LodepngBuffer owner(decoded);
    if (error)
        return false;
    // PNG samples are big-endian.
    std::vector<unsigned short> samples(std::size_t(width) * height);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = (unsigned short)((decoded[2 * i] << 8) | decoded[2 * i + 1]);
    from(samples.data(), int(height), int(width), pixelSizeColumns, pixelSizeRows, zScale);
    return true;
}

} // namespace ZOLAR3D
