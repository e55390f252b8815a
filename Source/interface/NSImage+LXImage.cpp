#include "interface/NSImage+LXImage.h"

#include <cmath>
#include <optional>

#include "imaging/BitmapConversion.h"
#include "imaging/ColorSpaces.h"
#include "platform/graphics/CGContext.h"
#include "platform/graphics/NSAssertionHandler.h"
#include "platform/graphics/NSBezierPath.h"

namespace LXImage {

namespace {

std::optional<NSBitmapImageRep> MakeRepresentation(int width, int height, NSSize size) {
    std::optional<NSBitmapImageRep> rep =
        NSBitmapImageRep::initWithBitmapDataPlanes(width, height, 8, 4, true, false, NSCalibratedRGBColorSpace, 0, 0);
    if (rep)
        rep->setSize(size);
    return rep;
}

/// Runs `draw` with the bitmap as the current context, size points over its pixels.
template <typename Draw>
void DrawInto(const NSBitmapImageRep& rep, NSSize size, Draw draw) {
    NSGraphicsContext::saveGraphicsState();
    NSGraphicsContext::setCurrentContext(NSGraphicsContext::graphicsContextWithBitmapImageRep(rep, size));
    if (NSGraphicsContext::currentContext())
        draw(NSGraphicsContext::currentContext());
    NSGraphicsContext::restoreGraphicsState();
}

std::shared_ptr<const CGColor> ShadowColor(const NSShadow& shadow) {
    return std::make_shared<CGColor>(nullptr, std::vector<double>{}, shadow.shadowColor());
}

/// Casts only the shadow of `shape` inside the clip: the shape itself is drawn one image
/// height above the canvas, and its shadow brought back down by the same height on top of
/// the shadow's own offset.
void DrawShadowOnly(CGContextRef context, NSRect rect, const CGImage* clip, const CGImage* shape,
                    const NSShadow& shadow) {
    CGContextSaveGState(context);
    CGContextClipToMask(context, rect, clip);
    NSSize offset = shadow.shadowOffset();
    auto color = ShadowColor(shadow);
    CGContextSetShadowWithColor(context, NSMakeSize(offset.width, offset.height - rect.size.height),
                                shadow.shadowBlurRadius(), color.get());
    CGContextDrawImage(context, NSOffsetRect(rect, 0, rect.size.height), shape);
    CGContextRestoreGState(context);
}

} // namespace

std::map<std::string, std::shared_ptr<NSImage>> buttonImagesForTemplate(const NSImage& image) {
    std::map<std::string, std::shared_ptr<NSImage>> result;
    const std::pair<const char*, NSColor> colors[] = {
        {kHUDNormal, NSColor::colorWithGenericGamma22White(0.8, 1.0)},
        {kHUDNormalPressed, NSColor::colorWithGenericGamma22White(0.6, 1.0)},
        {kHUDOn, NSColor::colorWithSRGBRed(0.8, 0.4, 0.0, 1.0)},
        {kHUDOnPressed, NSColor::colorWithSRGBRed(0.6, 0.3, 0.0, 1.0)},
    };
    NSSize size = image.size();
    NSRect rect{NSZeroPoint, size};

    // Pixel sizes come from the template's bitmaps, or from a 1× and 2× rendering of it.
    std::vector<NSBitmapImageRep> sources = image.representations();
    if (image.hasDrawingHandler()) {
        for (double scale : {1.0, 2.0}) {
            std::optional<NSBitmapImageRep> rep =
                MakeRepresentation(int(size.width * scale), int(size.height * scale), size);
            if (!rep)
                return result;
            DrawInto(*rep, size, [&](NSGraphicsContext*) {
                image.drawInRect(rect, NSZeroRect, NSCompositingOperation::SourceOver, 1.0);
            });
            sources.push_back(std::move(*rep));
        }
    }

    for (const auto& [key, color] : colors) {
        std::vector<NSBitmapImageRep> tinted;
        for (const NSBitmapImageRep& source : sources) {
            std::optional<NSBitmapImageRep> rep = MakeRepresentation(source.pixelsWide(), source.pixelsHigh(), size);
            if (!rep)
                continue;
            DrawInto(*rep, size, [&](NSGraphicsContext*) {
                color.set();
                NSBezierPath::fillRect(rect);
                // Keep the colour only where the template is opaque, with its alpha.
                image.drawInRect(rect, NSZeroRect, NSCompositingOperation::DestinationIn, 1.0);
            });
            tinted.push_back(std::move(*rep));
        }
        if (auto tintedImage = NSImage::imageWithRepresentations(std::move(tinted), size))
            result.emplace(key, std::move(tintedImage));
    }
    return result;
}

void drawTemplateInRect(const NSImage& image, NSRect rect, const NSColor& color) {
    if (!image.isTemplate())
        return;
    NSGraphicsContext::saveGraphicsState();
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    CGImageRef bitmap = image.CGImageForProposedRect(nullptr, nullptr);
    if (bitmap && context) {
        CGContextClipToMask(context, rect, bitmap.get());
        color.setFill();
        CGContextFillRect(context, rect);
    } else {
        image.drawInRect(rect, NSZeroRect, NSCompositingOperation::SourceOver, 1.0);
    }
    NSGraphicsContext::restoreGraphicsState();
}

std::shared_ptr<NSImage> imageForTemplateWithColor(const NSImage& image, const NSColor& color,
                                                   const NSShadow* innerShadow, const NSShadow* dropShadow) {
    NSSize size = image.size();
    NSRect rect{NSZeroPoint, size};
    std::vector<NSBitmapImageRep> reps;

    // An image drawn by a handler has no bitmap representation to take a bitmap from.
    std::vector<std::optional<NSBitmapImageRep>> sources;
    if (image.hasDrawingHandler())
        sources.push_back(std::nullopt);
    for (const NSBitmapImageRep& rep : image.representations())
        sources.push_back(rep);

    for (const std::optional<NSBitmapImageRep>& source : sources) {
        CGImageRef bitmap = source ? source->CGImage() : nullptr;
        if (!bitmap) {
            std::string file = std::string(__FILE__);
            size_t slash = file.find_last_of('/');
            file = file.empty() ? "<Unknown File>" : file.substr(slash == std::string::npos ? 0 : slash + 1);
            NSAssertionHandler::currentHandler().handleFailureInMethod(
                "imageForTemplateWithColor:innerShadow:dropShadow:", &image, file, 251,
                "-[NSBitmapImageRep CGImage] returned NULL");
            continue;
        }
        int w = source->pixelsWide(), h = source->pixelsHigh();
        std::optional<NSBitmapImageRep> rep = MakeRepresentation(w, h, size);
        if (!rep)
            continue;

        // Two grey masks: A is white outside the shape and dark inside; B, its inverse,
        // is light inside and black outside.
        CGImageRef maskA, maskB;
        if (CGBitmapContextRef scratch = CGBitmapContextCreate(nullptr, size_t(w), size_t(h), 8,
                                                               PaddedRowBytes(uint64_t(w), 8),
                                                               GetDeviceGrayColorSpace(), 0)) {
            NSRect pixels = NSMakeRect(0, 0, w, h);
            CGContextSetGrayFillColor(scratch->context(), 1.0, 1.0);
            CGContextFillRect(scratch->context(), pixels);
            CGContextDrawImage(scratch->context(), pixels, bitmap.get());
            maskA = CGBitmapContextCreateImage(scratch.get());
            CGContextSetBlendMode(scratch->context(), CGBlendMode::Difference);
            CGContextSetGrayFillColor(scratch->context(), 1.0, 1.0);
            CGContextFillRect(scratch->context(), pixels);
            maskB = CGBitmapContextCreateImage(scratch.get());
        }

        DrawInto(*rep, size, [&](NSGraphicsContext* context) {
            if (!maskA || !maskB)
                return;
            if (dropShadow) {
                if (CGImageRef shape = CGImageCreateWithMask(maskA.get(), maskB.get()))
                    DrawShadowOnly(context, rect, maskA.get(), shape.get(), *dropShadow);
            }
            CGContextSaveGState(context);
            CGContextClipToMask(context, rect, maskB.get());
            context->setFillColor(color);
            CGContextFillRect(context, rect);
            CGContextRestoreGState(context);
            if (innerShadow) {
                if (CGImageRef outside = CGImageCreateWithMask(maskB.get(), maskA.get()))
                    DrawShadowOnly(context, rect, maskB.get(), outside.get(), *innerShadow);
            }
        });
        reps.push_back(std::move(*rep));
    }
    return NSImage::imageWithRepresentations(std::move(reps), size);
}

} // namespace LXImage
