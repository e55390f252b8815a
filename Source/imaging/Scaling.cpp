#include "imaging/Scaling.h"

#include "imaging/RectGeometry.h"

namespace {

bool hasZeroSide(NSSize a, NSSize b) {
    return a.width == 0 || a.height == 0 || b.width == 0 || b.height == 0;
}

// Equal ratios match the heights.
NSSize fit(NSSize size, NSSize box) {
    double factor =
        box.height / box.width > size.height / size.width ? box.width / size.width : box.height / size.height;
    return {size.width * factor, size.height * factor};
}

NSSize cover(NSSize size, NSSize box) {
    double factor =
        box.height / box.width > size.height / size.width ? box.height / size.height : box.width / size.width;
    return {size.width * factor, size.height * factor};
}

bool exceeds(NSSize size, NSSize box) {
    return size.width > box.width || size.height > box.height;
}

enum class Fit { ShrinkOnly, ShrinkOrGrow, Cover };

NSRect scaleRect(NSRect rect, NSRect inRect, bool center, Fit mode) {
    if (hasZeroSide(rect.size, inRect.size))
        return rect;
    switch (mode) {
    case Fit::ShrinkOnly:
        if (exceeds(rect.size, inRect.size))
            rect.size = fit(rect.size, inRect.size);
        break;
    case Fit::ShrinkOrGrow:
        rect.size = fit(rect.size, inRect.size);
        break;
    case Fit::Cover:
        rect.size = cover(rect.size, inRect.size);
        break;
    }
    return center ? CenterRect(rect, inRect) : rect;
}

} // namespace

NSSize ScaleSize(NSSize size, NSSize maxSize) {
    if (hasZeroSide(size, maxSize) || !exceeds(size, maxSize))
        return size;
    return fit(size, maxSize);
}

NSSize ScaleSizeUp(NSSize size, NSSize maxSize) {
    if (hasZeroSide(size, maxSize))
        return size;
    return fit(size, maxSize);
}

NSRect ScaleRect(NSRect rect, NSRect inRect, bool center) {
    return scaleRect(rect, inRect, center, Fit::ShrinkOnly);
}
NSRect ScaleRectUp(NSRect rect, NSRect inRect, bool center) {
    return scaleRect(rect, inRect, center, Fit::ShrinkOrGrow);
}
NSRect ScaleRectUpFill(NSRect rect, NSRect inRect, bool center) {
    return scaleRect(rect, inRect, center, Fit::Cover);
}
