#pragma once

#include <memory>

#include "platform/graphics/NSShadow.h"

namespace LXShadow {

/// A new shadow with the offset and blur radius; the colour only when one is given,
/// else the default shadow colour stays.
std::shared_ptr<NSShadow> shadowWithColor(const NSColor* color, NSSize offset, double radius);

} // namespace LXShadow
