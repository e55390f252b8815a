#include "interface/NSShadow+LXShadow.h"

namespace LXShadow {

std::shared_ptr<NSShadow> shadowWithColor(const NSColor* color, NSSize offset, double radius) {
    auto shadow = std::make_shared<NSShadow>();
    shadow->setShadowOffset(offset);
    shadow->setShadowBlurRadius(radius);
    if (color)
        shadow->setShadowColor(*color);
    return shadow;
}

} // namespace LXShadow
