#include "platform/graphics/JpegCodec.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include <turbojpeg.h>

namespace {

struct TurboJpegDeleter {
    void operator()(void* handle) const { tjDestroy(handle); }
};
using TurboJpegHandle = std::unique_ptr<void, TurboJpegDeleter>;

/// TurboJPEG's name for the byte order of a Cairo ARGB32 word in memory.
constexpr int kCairoPixelFormat = std::endian::native == std::endian::little ? TJPF_BGRA : TJPF_ARGB;

int QualityForCompressionFactor(double factor) {
    if (std::isnan(factor))
        return 1;
    return int(std::clamp(std::round(factor * 100.0), 1.0, 100.0));
}

} // namespace

std::optional<NSData> JpegCodec::encode(const uint8_t* pixels, PixelSize size, size_t bytesPerRow,
                                        double compressionFactor) {
    if (!pixels || size.width < 1 || size.height < 1 || bytesPerRow < size_t(size.width) * 4)
        return std::nullopt;
    TurboJpegHandle handle(tjInitCompress());
    if (!handle)
        return std::nullopt;
    try {
        // JPEG has no alpha. Pixels are composited over white, the background a viewer
        // shows behind a transparent picture: with premultiplied colour that is c + (255 - a).
        std::vector<uint8_t> rgb(size_t(size.width) * size_t(size.height) * 3);
        uint8_t* out = rgb.data();
        for (int y = 0; y < size.height; ++y) {
            const uint8_t* row = pixels + bytesPerRow * size_t(y);
            for (int x = 0; x < size.width; ++x) {
                uint32_t word;
                std::memcpy(&word, row + size_t(x) * 4, 4);
                uint32_t white = 255 - (word >> 24);
                out[0] = uint8_t(std::min<uint32_t>(((word >> 16) & 0xff) + white, 255));
                out[1] = uint8_t(std::min<uint32_t>(((word >> 8) & 0xff) + white, 255));
                out[2] = uint8_t(std::min<uint32_t>((word & 0xff) + white, 255));
                out += 3;
            }
        }
        int quality = QualityForCompressionFactor(compressionFactor);
        // Full-resolution colour at the top qualities, where halved chroma would be the
        // largest loss left; halved both ways below, as photographs are usually stored.
        int subsampling = quality >= 90 ? TJSAMP_444 : TJSAMP_420;
        unsigned char* jpeg = nullptr;
        unsigned long jpegLength = 0;
        if (tjCompress2(handle.get(), rgb.data(), size.width, size.width * 3, size.height, TJPF_RGB, &jpeg,
                        &jpegLength, subsampling, quality, TJFLAG_ACCURATEDCT) != 0) {
            tjFree(jpeg);
            return std::nullopt;
        }
        std::shared_ptr<const void> owner(jpeg, [](const void* bytes) { tjFree((unsigned char*)bytes); });
        return NSData::dataWithOwner(std::move(owner), jpeg, jpegLength);
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

CairoSurface JpegCodec::decode(const NSData& data) {
    if (data.length() < 3 || data.bytes()[0] != 0xff || data.bytes()[1] != 0xd8)
        return nullptr;
    TurboJpegHandle handle(tjInitDecompress());
    if (!handle)
        return nullptr;
    auto* bytes = const_cast<unsigned char*>(data.bytes());
    int width = 0, height = 0, subsampling = 0, colorspace = 0;
    if (tjDecompressHeader3(handle.get(), bytes, data.length(), &width, &height, &subsampling, &colorspace) !=
        0)
        return nullptr;
    if (!PixelSizeForPointSize(NSMakeSize(width, height)))
        return nullptr;
    CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    cairo_surface_flush(surface.get());
    unsigned char* pixels = cairo_image_surface_get_data(surface.get());
    int stride = cairo_image_surface_get_stride(surface.get());
    if (tjDecompress2(handle.get(), bytes, data.length(), pixels, width, stride, height, kCairoPixelFormat,
                      TJFLAG_ACCURATEDCT) != 0)
        return nullptr;
    cairo_surface_mark_dirty(surface.get());
    return surface;
}
