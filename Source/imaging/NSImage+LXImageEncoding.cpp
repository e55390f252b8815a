#include "imaging/NSImage+LXImageEncoding.h"
#include "platform/graphics/NSBezierPath.h"
#include "platform/graphics/NSColor.h"
#include "platform/graphics/NSGraphicsContext.h"

namespace LXImage {

std::shared_ptr<NSImage> imageByApplyingAffineTransform(const NSImage& image,
                                                        const NSAffineTransform* transform) {
    if (!transform)
        return nullptr;
    NSSize size = image.size();

    // Only the bounding box's size counts; its origin is dropped on purpose, so a
    // translation in the transform never makes the canvas larger.
    auto outline = NSBezierPath::bezierPathWithRect({NSZeroPoint, size});
    outline->transformUsingAffineTransform(*transform);
    NSSize canvasSize = outline->bounds().size;

    // Centred in the canvas's own coordinates before the transform applies; not rounded.
    NSPoint origin{0 + canvasSize.width * 0.5 - size.width * 0.5,
                   0 + canvasSize.height * 0.5 - size.height * 0.5};

    std::shared_ptr<NSImage> canvas = NSImage::imageWithSize(canvasSize);
    if (!canvas)
        return nullptr;
    canvas->lockFocus();
    transform->concat();
    image.drawInRect({origin, size}, NSZeroRect, NSCompositingOperation::SourceOver, 1.0);
    canvas->unlockFocus();
    return canvas;
}

std::optional<NSData> PNGRepresentation(const NSImage& image) {
    // Straight from the bitmap: the same pixels a detour through TIFF would deliver.
    return image.bitmap().representationUsingType(NSBitmapImageFileType::PNG, {});
}

std::optional<NSData> JPEGRepresentationWithSize(const NSImage& image, NSSize size, float compression) {
    std::shared_ptr<NSImage> resampled;
    const NSImage* chosen = &image;
    if (!NSEqualSizes(size, NSZeroSize) && !NSEqualSizes(size, image.size())) {
        resampled = NSImage::imageWithSize(size);
        if (!resampled)
            return std::nullopt;
        NSRect whole{NSZeroPoint, size};
        resampled->lockFocus();
        NSGraphicsContext::currentContext()->setImageInterpolation(NSImageInterpolation::High);
        NSColor::clearColor().set();
        NSBezierPath::fillRect(whole);
        // Stretched to fill the canvas: keeping the aspect ratio is the caller's business.
        image.drawInRect(whole, {NSZeroPoint, image.size()}, NSCompositingOperation::SourceOver, 1.0);
        resampled->unlockFocus();
        chosen = resampled.get();
    }
    PropertyDictionary properties{{NSImageCompressionFactor, NSNumber::numberWithFloat(compression)}};
    return chosen->bitmap().representationUsingType(NSBitmapImageFileType::JPEG, properties);
}

std::optional<NSData> JPEGRepresentationWithCompression(const NSImage& image, float compression) {
    return JPEGRepresentationWithSize(image, NSZeroSize, compression);
}

} // namespace LXImage
