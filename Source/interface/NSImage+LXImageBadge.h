#pragma once

#include <cstdint>
#include <memory>

#include "platform/graphics/NSImage.h"

namespace LXImage {

/// A red count badge: the number in white 12-point Helvetica on a red pill, inside a
/// white rim 2 points wide with a soft shadow below, on a transparent canvas 18 points
/// wider and 10 taller than the text.
std::shared_ptr<NSImage> imageWithBadgeForNumber(int32_t number);

} // namespace LXImage
