#include "platform/graphics/CGImage.h"

#include <cstring>
#include <vector>

namespace {

bool IsSupported(size_t bpc, size_t bpp, const CGColorSpace* space, CGImageAlphaInfo alpha) {
    if (bpc != 8)
        return false;
    CGColorSpaceModel model = CGColorSpaceGetModel(space);
    bool hasAlpha = alpha != CGImageAlphaInfo::None;
    switch (bpp) {
    case 8:
        return alpha == CGImageAlphaInfo::Only || (model == CGColorSpaceModel::Monochrome && !hasAlpha);
    case 24:
        return model == CGColorSpaceModel::RGB && !hasAlpha;
    case 32:
        if (model == CGColorSpaceModel::CMYK)
            return !hasAlpha;
        return model == CGColorSpaceModel::RGB && hasAlpha && alpha != CGImageAlphaInfo::Only;
    default:
        return false;
    }
}

uint8_t Premultiply(uint8_t component, uint8_t alpha) {
    return uint8_t((unsigned(component) * alpha + 127) / 255);
}

} // namespace

CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                         size_t bytesPerRow, const CGColorSpace* space, uint32_t bitmapInfo, NSData data) {
    auto alpha = CGImageAlphaInfo(bitmapInfo & kCGBitmapAlphaInfoMask);
    if (width == 0 || height == 0 || width > 65536 || height > 65536 ||
        !IsSupported(bitsPerComponent, bitsPerPixel, space, alpha))
        return nullptr;
    if (bytesPerRow < width * bitsPerPixel / 8 || data.length() < bytesPerRow * (height - 1) + width * bitsPerPixel / 8)
        return nullptr;
    std::shared_ptr<CGImage> image(new CGImage());
    image->m_width = width;
    image->m_height = height;
    image->m_bitsPerComponent = bitsPerComponent;
    image->m_bitsPerPixel = bitsPerPixel;
    image->m_bytesPerRow = bytesPerRow;
    image->m_colorSpace = CGColorSpaceRetain(space);
    image->m_bitmapInfo = bitmapInfo;
    image->m_data = std::move(data);
    return image;
}

CGImageRef CGImageCreateWithMask(const CGImage* image, const CGImage* mask) {
    if (!image || !mask || mask->bitsPerPixel() != 8 || mask->width() != image->width() ||
        mask->height() != image->height() || CGColorSpaceGetModel(mask->colorSpace()) != CGColorSpaceModel::Monochrome)
        return nullptr;
    if (image->mask()) // masks do not stack
        return nullptr;
    std::shared_ptr<CGImage> masked(new CGImage(*image));
    masked->m_surface.reset();
    masked->m_mask = CGImageCreate(mask->width(), mask->height(), 8, 8, mask->bytesPerRow(), mask->colorSpace(),
                                   mask->bitmapInfo(), mask->data());
    return masked->m_mask ? masked : nullptr;
}

CGImageRef CGImageCreateWithSurface(cairo_surface_t* surface) {
    if (!surface || cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE ||
        cairo_image_surface_get_format(surface) != CAIRO_FORMAT_ARGB32)
        return nullptr;
    cairo_surface_flush(surface);
    size_t width = size_t(cairo_image_surface_get_width(surface));
    size_t height = size_t(cairo_image_surface_get_height(surface));
    size_t stride = size_t(cairo_image_surface_get_stride(surface));
    static CGColorSpaceRef rgb = CGColorSpaceCreateWithName(kCGColorSpaceGenericRGB);
    return CGImageCreate(width, height, 8, 32, stride, rgb.get(), kCGBitmapInfoCairoARGB32,
                         NSData::dataWithBytes(cairo_image_surface_get_data(surface), stride * height));
}

cairo_surface_t* CGImage::surface() const {
    if (!m_surface) {
        CairoSurface converted = convert();
        if (!converted)
            return nullptr;
        m_surface = std::shared_ptr<cairo_surface_t>(converted.release(), CairoSurfaceDeleter());
    }
    return m_surface.get();
}

CairoSurface CGImage::convert() const {
    CairoSurface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, int(m_width), int(m_height)));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    uint8_t* out = cairo_image_surface_get_data(surface.get());
    size_t outStride = size_t(cairo_image_surface_get_stride(surface.get()));
    CGColorSpaceModel model = CGColorSpaceGetModel(m_colorSpace.get());
    CGImageAlphaInfo alpha = alphaInfo();
    bool little = (m_bitmapInfo & kCGBitmapByteOrderMask) == kCGBitmapByteOrder32Little;
    std::vector<uint8_t> rgb(m_width * 3);
    std::vector<uint8_t> samples(m_width * 4);
    for (size_t y = 0; y < m_height; ++y) {
        const uint8_t* row = m_data.bytes() + y * m_bytesPerRow;
        uint32_t* words = reinterpret_cast<uint32_t*>(out + y * outStride);
        if (alpha == CGImageAlphaInfo::Only) {
            for (size_t x = 0; x < m_width; ++x)
                words[x] = uint32_t(row[x]) << 24;
            continue;
        }
        if (m_bitsPerPixel == 8 || model == CGColorSpaceModel::CMYK || m_bitsPerPixel == 24) {
            const uint8_t* source = row;
            if (model == CGColorSpaceModel::CMYK && little) {
                for (size_t x = 0; x < m_width; ++x)
                    for (int i = 0; i < 4; ++i)
                        samples[4 * x + size_t(i)] = row[4 * x + size_t(3 - i)];
                source = samples.data();
            }
            m_colorSpace->convertToDeviceRGB(source, rgb.data(), m_width);
            for (size_t x = 0; x < m_width; ++x)
                words[x] = 0xff000000u | uint32_t(rgb[3 * x]) << 16 | uint32_t(rgb[3 * x + 1]) << 8 | rgb[3 * x + 2];
            continue;
        }
        // 32-bit RGB: put the four bytes in big-endian order, then find alpha's place.
        bool alphaFirst = alpha == CGImageAlphaInfo::PremultipliedFirst || alpha == CGImageAlphaInfo::First ||
                          alpha == CGImageAlphaInfo::NoneSkipFirst;
        bool premultiplied = alpha == CGImageAlphaInfo::PremultipliedFirst || alpha == CGImageAlphaInfo::PremultipliedLast;
        bool skip = alpha == CGImageAlphaInfo::NoneSkipFirst || alpha == CGImageAlphaInfo::NoneSkipLast;
        for (size_t x = 0; x < m_width; ++x) {
            uint8_t b[4];
            std::memcpy(b, row + 4 * x, 4);
            if (little)
                std::swap(b[0], b[3]), std::swap(b[1], b[2]);
            uint8_t a = alphaFirst ? b[0] : b[3];
            const uint8_t* c = alphaFirst ? b + 1 : b;
            uint8_t r = c[0], g = c[1], bl = c[2];
            if (skip)
                a = 255;
            else if (!premultiplied)
                r = Premultiply(r, a), g = Premultiply(g, a), bl = Premultiply(bl, a);
            words[x] = uint32_t(a) << 24 | uint32_t(r) << 16 | uint32_t(g) << 8 | bl;
        }
    }
    if (m_mask) {
        CairoSurface levels = m_mask->createAlphaFromGray();
        if (!levels)
            return nullptr;
        const uint8_t* maskData = cairo_image_surface_get_data(levels.get());
        size_t maskStride = size_t(cairo_image_surface_get_stride(levels.get()));
        for (size_t y = 0; y < m_height; ++y) {
            uint32_t* words = reinterpret_cast<uint32_t*>(out + y * outStride);
            for (size_t x = 0; x < m_width; ++x) {
                uint8_t level = maskData[y * maskStride + x];
                uint32_t w = words[x];
                words[x] = uint32_t(Premultiply(uint8_t(w >> 24), level)) << 24 |
                           uint32_t(Premultiply(uint8_t(w >> 16), level)) << 16 |
                           uint32_t(Premultiply(uint8_t(w >> 8), level)) << 8 | Premultiply(uint8_t(w), level);
            }
        }
    }
    cairo_surface_mark_dirty(surface.get());
    return surface;
}

CairoSurface CGImage::createAlphaFromGray() const {
    CairoSurface levels(cairo_image_surface_create(CAIRO_FORMAT_A8, int(m_width), int(m_height)));
    if (cairo_surface_status(levels.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    uint8_t* out = cairo_image_surface_get_data(levels.get());
    size_t outStride = size_t(cairo_image_surface_get_stride(levels.get()));
    bool gray = m_bitsPerPixel == 8 && CGColorSpaceGetModel(m_colorSpace.get()) == CGColorSpaceModel::Monochrome;
    if (gray && m_colorSpace->isDevice()) {
        for (size_t y = 0; y < m_height; ++y)
            std::memcpy(out + y * outStride, m_data.bytes() + y * m_bytesPerRow, m_width);
    } else {
        CGImageAlphaInfo alpha = alphaInfo();
        bool hasAlpha = alpha == CGImageAlphaInfo::PremultipliedFirst || alpha == CGImageAlphaInfo::PremultipliedLast ||
                        alpha == CGImageAlphaInfo::First || alpha == CGImageAlphaInfo::Last || alpha == CGImageAlphaInfo::Only;
        cairo_surface_t* argb = surface();
        if (!argb)
            return nullptr;
        const uint8_t* in = cairo_image_surface_get_data(argb);
        size_t inStride = size_t(cairo_image_surface_get_stride(argb));
        for (size_t y = 0; y < m_height; ++y) {
            const uint32_t* words = reinterpret_cast<const uint32_t*>(in + y * inStride);
            for (size_t x = 0; x < m_width; ++x) {
                uint32_t w = words[x];
                out[y * outStride + x] = hasAlpha ? uint8_t(w >> 24)
                                                  : uint8_t((((w >> 16) & 0xff) + ((w >> 8) & 0xff) + (w & 0xff) + 1) / 3);
            }
        }
    }
    cairo_surface_mark_dirty(levels.get());
    return levels;
}
