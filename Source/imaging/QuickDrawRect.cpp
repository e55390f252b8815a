#include "imaging/QuickDrawRect.h"

#include <optional>

#include "platform/screen/NSScreen.h"

namespace {

int16_t swapBytes(int16_t value) {
    auto bits = static_cast<uint16_t>(value);
    return static_cast<int16_t>(static_cast<uint16_t>((bits << 8) | (bits >> 8)));
}

} // namespace

QDRect SwapBigQDRectToHost(QDRect rect) {
    return {swapBytes(rect.top), swapBytes(rect.left), swapBytes(rect.bottom), swapBytes(rect.right)};
}

NSRect NSRectFromQDScreenRect(QDRect rect) {
    // The point goes to the look-up unconverted, in the rectangle's own top-down terms.
    std::optional<NSScreen> screen = NSScreen::screenWithPoint(NSMakePoint(rect.left, rect.top));
    if (!screen)
        screen = NSScreen::mainMenuScreen();
    const double screenHeight = screen ? screen->frame().size.height : 0;
    const int32_t width = int32_t(rect.right) - int32_t(rect.left);
    const int32_t height = int32_t(rect.bottom) - int32_t(rect.top);
    return NSMakeRect(rect.left, screenHeight - rect.bottom, width, height);
}
