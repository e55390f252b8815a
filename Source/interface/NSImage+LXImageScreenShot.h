#pragma once

#include <memory>
#include <vector>

#include "platform/graphics/NSImage.h"
#include "platform/screen/NSWindow.h"

namespace LXImage {

/// A picture of the screen within the rectangle (root-window pixels, origin top-left):
/// everything on screen when `windows` is empty, else only those windows, the first in
/// front. One point per captured pixel, over light grey where nothing was captured.
/// Null without a display or when nothing can be captured.
std::shared_ptr<NSImage> imageWithScreenShotOfDesktopInRect(NSRect rect, const std::vector<NSWindow>& windows);

} // namespace LXImage
