#include "interface/NSImage+LXImageBadge.h"

#include <string>

#include "interface/NSShadow+LXShadow.h"
#include "platform/graphics/NSBezierPath.h"
#include "platform/graphics/NSFont.h"
#include "platform/graphics/NSGraphicsContext.h"

namespace LXImage {

namespace {

NSRect Inset(NSRect rect, double dx, double dy) {
    return NSMakeRect(rect.origin.x + dx, rect.origin.y + dy, rect.size.width - 2 * dx, rect.size.height - 2 * dy);
}

std::shared_ptr<NSBezierPath> Pill(NSRect rect) {
    double radius = 0.5 * rect.size.height;
    return NSBezierPath::bezierPathWithRoundedRect(rect, radius, radius);
}

} // namespace

std::shared_ptr<NSImage> imageWithBadgeForNumber(int32_t number) {
    std::string text = std::to_string(number);
    NSStringAttributes attributes{NSFont::fontWithName("Helvetica", 12.0), NSColor::whiteColor()};
    NSSize textSize = NSStringSizeWithAttributes(text, attributes);
    NSRect canvas = NSMakeRect(0, 0, textSize.width + 18.0, textSize.height + 10.0);
    NSRect outerPill = Inset(canvas, 2.0, 2.0);
    NSRect innerPill = Inset(outerPill, 2.0, 2.0);
    NSRect textBox = Inset(canvas, 9.0, 5.0);

    auto image = NSImage::imageWithSize(canvas.size);
    if (!image)
        return nullptr;
    image->lockFocus();
    NSColor::clearColor().set();
    NSBezierPath::fillRect(canvas);

    NSGraphicsContext::saveGraphicsState();
    NSColor shadowColor = NSColor::colorWithCalibratedWhite(0.0, 0.5);
    LXShadow::shadowWithColor(&shadowColor, NSMakeSize(0.0, -1.0), 1.0)->set();
    NSColor::whiteColor().set();
    Pill(outerPill)->fill();
    NSGraphicsContext::restoreGraphicsState();

    NSColor::redColor().set();
    Pill(innerPill)->fill();
    NSStringDrawInRect(text, textBox, attributes);
    image->unlockFocus();
    return image;
}

} // namespace LXImage
