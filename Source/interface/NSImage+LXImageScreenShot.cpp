#include "interface/NSImage+LXImageScreenShot.h"

#include "platform/graphics/CGContext.h"
#include "platform/graphics/NSBezierPath.h"
#include "platform/screen/WindowCapture.h"

namespace LXImage {

std::shared_ptr<NSImage> imageWithScreenShotOfDesktopInRect(NSRect rect, const std::vector<NSWindow>& windows) {
    CGImageRef picture;
    if (windows.empty()) {
        picture = CGWindowListCreateImage(rect, kCGWindowListOptionOnScreenOnly, 0, kCGWindowImageDefault);
    } else {
        std::vector<CGWindowID> numbers;
        numbers.reserve(windows.size());
        for (const NSWindow& window : windows)
            numbers.push_back(window.windowNumber());
        picture = CGWindowListCreateImageFromArray(rect, numbers, kCGWindowImageDefault);
    }
    if (!picture)
        return nullptr;
    // One point per captured pixel, deliberately: a dense capture gives a larger image.
    NSRect bounds = NSMakeRect(0, 0, double(picture->width()), double(picture->height()));
    auto image = NSImage::imageWithSize(bounds.size);
    if (!image)
        return nullptr;
    image->lockFocus();
    NSColor::lightGrayColor().set();
    NSBezierPath::fillRect(bounds);
    CGContextDrawImage(NSGraphicsContext::currentContext(), bounds, picture.get());
    image->unlockFocus();
    return image;
}

} // namespace LXImage
