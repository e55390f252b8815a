#include "platform/graphics/CGContext.h"

#include <cmath>
#include <cstring>
#include <iterator>

namespace {

enum class Layout { RGBA32, Gray8, Alpha8 };

std::optional<Layout> LayoutFor(size_t bitsPerComponent, const CGColorSpace* space, uint32_t info) {
    if (bitsPerComponent != 8)
        return std::nullopt;
    auto alpha = CGImageAlphaInfo(info & kCGBitmapAlphaInfoMask);
    uint32_t order = info & kCGBitmapByteOrderMask;
    if (order != kCGBitmapByteOrderDefault && order != kCGBitmapByteOrder32Little && order != kCGBitmapByteOrder32Big)
        return std::nullopt;
    if (alpha == CGImageAlphaInfo::Only)
        return Layout::Alpha8;
    switch (CGColorSpaceGetModel(space)) {
    case CGColorSpaceModel::Monochrome:
        return alpha == CGImageAlphaInfo::None ? std::optional(Layout::Gray8) : std::nullopt;
    case CGColorSpaceModel::RGB:
        // Unpremultiplied alpha cannot be drawn into, as on the desktop.
        if (alpha == CGImageAlphaInfo::PremultipliedFirst || alpha == CGImageAlphaInfo::PremultipliedLast ||
            alpha == CGImageAlphaInfo::NoneSkipFirst || alpha == CGImageAlphaInfo::NoneSkipLast)
            return Layout::RGBA32;
        return std::nullopt;
    default:
        return std::nullopt;
    }
}

// Where each of A, R, G, B goes among a 32-bit pixel's four bytes in memory.
void BytePositions(uint32_t info, int positions[4]) {
    auto alpha = CGImageAlphaInfo(info & kCGBitmapAlphaInfoMask);
    bool alphaFirst = alpha == CGImageAlphaInfo::PremultipliedFirst || alpha == CGImageAlphaInfo::NoneSkipFirst;
    // Big-endian order of the word: A R G B or R G B A.
    int big[4] = {alphaFirst ? 0 : 3, alphaFirst ? 1 : 0, alphaFirst ? 2 : 1, alphaFirst ? 3 : 2};
    bool little = (info & kCGBitmapByteOrderMask) == kCGBitmapByteOrder32Little;
    for (int i = 0; i < 4; ++i)
        positions[i] = little ? 3 - big[i] : big[i];
}

cairo_t* CairoOf(CGContextRef context) {
    return context ? context->cairo() : nullptr;
}

cairo_matrix_t RectToImagePixels(NSRect rect, size_t width, size_t height) {
    // User space → image pixels, top row first.
    cairo_matrix_t matrix;
    double sx = double(width) / rect.size.width;
    double sy = double(height) / rect.size.height;
    cairo_matrix_init(&matrix, sx, 0, 0, -sy, -rect.origin.x * sx, double(height) + rect.origin.y * sy);
    return matrix;
}

bool IsDrawableRect(NSRect rect) {
    return rect.size.width != 0 && rect.size.height != 0 && std::isfinite(rect.size.width) &&
           std::isfinite(rect.size.height);
}

} // namespace

CGBitmapContextRef CGBitmapContextCreate(void* data, size_t width, size_t height, size_t bitsPerComponent,
                                         size_t bytesPerRow, const CGColorSpace* space, uint32_t bitmapInfo) {
    std::optional<Layout> layout = LayoutFor(bitsPerComponent, space, bitmapInfo);
    if (!layout || width == 0 || height == 0 || width > size_t(kMaxBitmapSide) || height > size_t(kMaxBitmapSide))
        return nullptr;
    size_t bitsPerPixel = *layout == Layout::RGBA32 ? 32 : 8;
    size_t minimumRow = width * bitsPerPixel / 8;
    if (bytesPerRow == 0)
        bytesPerRow = (minimumRow + 15) & ~size_t(15);
    if (bytesPerRow < minimumRow)
        return nullptr;
    auto canvas = NSBitmapImageRep::bitmapWithPixelSize({int(width), int(height)});
    if (!canvas)
        return nullptr;
    CGBitmapContextRef result(new CGBitmapContext(std::move(*canvas)));
    result->m_width = width;
    result->m_height = height;
    result->m_bitsPerPixel = bitsPerPixel;
    result->m_bytesPerRow = bytesPerRow;
    result->m_bitmapInfo = bitmapInfo;
    result->m_space = CGColorSpaceRetain(space);
    result->m_context = NSGraphicsContext::graphicsContextWithBitmapImageRep(result->m_canvas);
    if (!result->m_context)
        return nullptr;
    if (data) {
        result->m_callerData = static_cast<uint8_t*>(data);
        result->loadFrom(result->m_callerData);
    } else {
        result->m_ownData.assign(bytesPerRow * height, 0);
    }
    return result;
}

void CGBitmapContext::loadFrom(const uint8_t* source) {
    uint8_t* out = m_canvas.bitmapData();
    size_t stride = size_t(m_canvas.bytesPerRow());
    int positions[4];
    BytePositions(m_bitmapInfo, positions);
    auto alpha = CGImageAlphaInfo(m_bitmapInfo & kCGBitmapAlphaInfoMask);
    bool skip = alpha == CGImageAlphaInfo::NoneSkipFirst || alpha == CGImageAlphaInfo::NoneSkipLast;
    for (size_t y = 0; y < m_height; ++y) {
        const uint8_t* row = source + y * m_bytesPerRow;
        uint32_t* words = reinterpret_cast<uint32_t*>(out + y * stride);
        for (size_t x = 0; x < m_width; ++x) {
            if (m_bitsPerPixel == 32) {
                const uint8_t* p = row + 4 * x;
                uint32_t a = skip ? 255 : p[positions[0]];
                words[x] = a << 24 | uint32_t(p[positions[1]]) << 16 | uint32_t(p[positions[2]]) << 8 | p[positions[3]];
            } else if (alpha == CGImageAlphaInfo::Only) {
                words[x] = uint32_t(row[x]) << 24;
            } else {
                uint32_t g = row[x];
                words[x] = 0xff000000u | g << 16 | g << 8 | g;
            }
        }
    }
    m_canvas.markDirty();
}

void CGBitmapContext::storeInto(uint8_t* destination) const {
    m_context->flushGraphics();
    const uint8_t* in = m_canvas.bitmapData();
    size_t stride = size_t(m_canvas.bytesPerRow());
    int positions[4];
    BytePositions(m_bitmapInfo, positions);
    auto alpha = CGImageAlphaInfo(m_bitmapInfo & kCGBitmapAlphaInfoMask);
    bool skip = alpha == CGImageAlphaInfo::NoneSkipFirst || alpha == CGImageAlphaInfo::NoneSkipLast;
    for (size_t y = 0; y < m_height; ++y) {
        uint8_t* row = destination + y * m_bytesPerRow;
        const uint32_t* words = reinterpret_cast<const uint32_t*>(in + y * stride);
        for (size_t x = 0; x < m_width; ++x) {
            uint32_t w = words[x];
            if (m_bitsPerPixel == 32) {
                uint8_t* p = row + 4 * x;
                p[positions[0]] = skip ? 0xff : uint8_t(w >> 24);
                p[positions[1]] = uint8_t(w >> 16);
                p[positions[2]] = uint8_t(w >> 8);
                p[positions[3]] = uint8_t(w);
            } else if (alpha == CGImageAlphaInfo::Only) {
                row[x] = uint8_t(w >> 24);
            } else {
                // A grey context has no alpha: what was drawn shows as if over black.
                row[x] = uint8_t((((w >> 16) & 0xff) + ((w >> 8) & 0xff) + (w & 0xff) + 1) / 3);
            }
        }
    }
}

uint8_t* CGBitmapContext::data() {
    uint8_t* destination = m_callerData ? m_callerData : m_ownData.data();
    storeInto(destination);
    return destination;
}

CGImageRef CGBitmapContext::createImage() {
    std::vector<uint8_t> bytes(m_bytesPerRow * m_height);
    storeInto(bytes.data());
    return CGImageCreate(m_width, m_height, 8, m_bitsPerPixel, m_bytesPerRow, m_space.get(), m_bitmapInfo,
                         NSData::dataWithVector(std::move(bytes)));
}

void CGContextSaveGState(CGContextRef context) {
    if (context)
        context->saveState();
}

void CGContextRestoreGState(CGContextRef context) {
    if (context)
        context->restoreState();
}

void CGContextSetGrayFillColor(CGContextRef context, double gray, double alpha) {
    if (context)
        context->setFillColor(NSColor::colorWithDeviceWhite(gray, alpha));
}

void CGContextSetRGBFillColor(CGContextRef context, double red, double green, double blue, double alpha) {
    if (context)
        context->setFillColor(NSColor::colorWithDeviceRed(red, green, blue, alpha));
}

void CGContextSetFillColorWithColor(CGContextRef context, const CGColor* color) {
    if (context && color)
        context->setFillColor(color->color());
}

void CGContextFillRect(CGContextRef context, NSRect rect) {
    if (!context)
        return;
    context->performDrawing([&](cairo_t* cairo) {
        context->setFillSource(cairo);
        cairo_new_path(cairo);
        cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
        cairo_fill(cairo);
    });
}

void CGContextDrawImage(CGContextRef context, NSRect rect, const CGImage* image) {
    if (!context || !image || !IsDrawableRect(rect))
        return;
    cairo_surface_t* surface = image->surface();
    if (!surface)
        return;
    cairo_matrix_t matrix = RectToImagePixels(rect, image->width(), image->height());
    context->performDrawing([&](cairo_t* cairo) {
        CairoPattern pattern(cairo_pattern_create_for_surface(surface));
        cairo_pattern_set_matrix(pattern.get(), &matrix);
        cairo_pattern_set_filter(pattern.get(), context->imageFilter());
        cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
        cairo_new_path(cairo);
        cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
        cairo_set_source(cairo, pattern.get());
        cairo_fill(cairo);
    });
}

void CGContextClipToMask(CGContextRef context, NSRect rect, const CGImage* mask) {
    cairo_t* cairo = CairoOf(context);
    if (!cairo || !mask)
        return;
    cairo_surface_t* target = cairo_get_target(cairo);
    if (cairo_surface_get_type(target) != CAIRO_SURFACE_TYPE_IMAGE)
        return;
    CairoSurface levels = mask->createAlphaFromGray();
    CairoSurface deviceMask(cairo_image_surface_create(CAIRO_FORMAT_A8, cairo_image_surface_get_width(target),
                                                       cairo_image_surface_get_height(target)));
    if (!levels || cairo_surface_status(deviceMask.get()) != CAIRO_STATUS_SUCCESS)
        return;
    if (IsDrawableRect(rect)) {
        CairoContext paint(cairo_create(deviceMask.get()));
        cairo_matrix_t ctm;
        cairo_get_matrix(cairo, &ctm);
        cairo_set_matrix(paint.get(), &ctm);
        CairoPattern pattern(cairo_pattern_create_for_surface(levels.get()));
        cairo_matrix_t matrix = RectToImagePixels(rect, mask->width(), mask->height());
        cairo_pattern_set_matrix(pattern.get(), &matrix);
        cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
        cairo_pattern_set_filter(pattern.get(), context->imageFilter());
        cairo_rectangle(paint.get(), rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
        cairo_set_source(paint.get(), pattern.get());
        cairo_fill(paint.get());
    }
    context->clipToDeviceMask(std::move(deviceMask));
}

cairo_operator_t CairoOperatorForBlendMode(CGBlendMode mode) {
    static constexpr cairo_operator_t table[] = {
        CAIRO_OPERATOR_OVER,        CAIRO_OPERATOR_MULTIPLY,       CAIRO_OPERATOR_SCREEN,
        CAIRO_OPERATOR_OVERLAY,     CAIRO_OPERATOR_DARKEN,         CAIRO_OPERATOR_LIGHTEN,
        CAIRO_OPERATOR_COLOR_DODGE, CAIRO_OPERATOR_COLOR_BURN,     CAIRO_OPERATOR_SOFT_LIGHT,
        CAIRO_OPERATOR_HARD_LIGHT,  CAIRO_OPERATOR_DIFFERENCE,     CAIRO_OPERATOR_EXCLUSION,
        CAIRO_OPERATOR_HSL_HUE,     CAIRO_OPERATOR_HSL_SATURATION, CAIRO_OPERATOR_HSL_COLOR,
        CAIRO_OPERATOR_HSL_LUMINOSITY, CAIRO_OPERATOR_CLEAR,       CAIRO_OPERATOR_SOURCE,
        CAIRO_OPERATOR_IN,          CAIRO_OPERATOR_OUT,            CAIRO_OPERATOR_ATOP,
        CAIRO_OPERATOR_DEST_OVER,   CAIRO_OPERATOR_DEST_IN,        CAIRO_OPERATOR_DEST_OUT,
        CAIRO_OPERATOR_DEST_ATOP,   CAIRO_OPERATOR_XOR,            CAIRO_OPERATOR_DARKEN,
        CAIRO_OPERATOR_ADD,
    };
    int index = int(mode);
    return index >= 0 && index < int(std::size(table)) ? table[index] : CAIRO_OPERATOR_OVER;
}

void CGContextSetBlendMode(CGContextRef context, CGBlendMode mode) {
    if (cairo_t* cairo = CairoOf(context))
        cairo_set_operator(cairo, CairoOperatorForBlendMode(mode));
}

void CGContextSetShadowWithColor(CGContextRef context, NSSize offset, double blur, const CGColor* color) {
    if (!context)
        return;
    if (!color) {
        context->setShadow(std::nullopt);
        return;
    }
    NSShadow shadow;
    shadow.setShadowOffset(offset);
    shadow.setShadowBlurRadius(blur);
    shadow.setShadowColor(color->color());
    context->setShadow(shadow);
}

void CGContextTranslateCTM(CGContextRef context, double tx, double ty) {
    if (cairo_t* cairo = CairoOf(context))
        cairo_translate(cairo, tx, ty);
}

void CGContextScaleCTM(CGContextRef context, double sx, double sy) {
    if (cairo_t* cairo = CairoOf(context))
        cairo_scale(cairo, sx, sy);
}

void CGContextConcatCTM(CGContextRef context, NSAffineTransformStruct t) {
    if (cairo_t* cairo = CairoOf(context)) {
        cairo_matrix_t matrix;
        cairo_matrix_init(&matrix, t.m11, t.m12, t.m21, t.m22, t.tX, t.tY);
        cairo_transform(cairo, &matrix);
    }
}
