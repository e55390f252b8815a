#include "imaging/AspectRatio.h"

#include <cmath>

NSSize AspectRatioFromTableTag(int tag, NSSize ownSize) {
    switch (tag) {
    case 1:
        return ownSize;
    case 11:
        return {1, 1};
    case 23:
        return {2, 3};
    case 34:
        return {3, 4};
    case 43:
        return {4, 3};
    case 57:
        return {7, 5};
    case 64:
        return {4, 6};
    case 75:
        return {5, 7};
    case 108:
        return {8, 10};
    case 169:
        return {16, 9};
    case 810:
        return {10, 8};
    case 916:
        return {40, 71}; // 640:1136, the tall phone screen
    case 1610:
        return {16, 10};
    default:
        return {6, 4};
    }
}

NSRect ConstrainAndPinRectWithAspectRatio(NSRect rect, NSRect bounds, NSSize ratio, int corner,
                                          bool keepWidth) {
    const double a = ratio.width;
    const double b = ratio.height;
    double width;
    double height;
    double available;
    if (keepWidth) {
        width = rect.size.width;
        height = (b / a) * rect.size.width;
        available =
            (corner == 1 || corner == 4) ? NSMaxY(bounds) - rect.origin.y : bounds.origin.y - NSMaxY(rect);
    } else {
        height = rect.size.height;
        width = (a / b) * rect.size.height;
        available =
            (corner == 1 || corner == 2) ? NSMaxX(bounds) - rect.origin.x : bounds.origin.x - NSMaxX(rect);
    }
    // The limit carries single-precision accuracy only.
    const double limit = std::fabs(static_cast<float>(available));
    if (keepWidth && height > limit) {
        height = limit;
        width = (a / b) * limit;
    } else if (!keepWidth && width > limit) {
        width = limit;
        height = (b / a) * limit;
    }

    NSRect result{rect.origin, {std::nearbyint(width), std::nearbyint(height)}};
    switch (corner) {
    case 1:
        return NSOffsetRect(result, rect.size.width - result.size.width,
                            rect.size.height - result.size.height);
    case 2:
        return NSOffsetRect(result, 0, rect.size.height - result.size.height);
    case 4:
        return NSOffsetRect(result, rect.size.width - result.size.width, 0);
    default:
        return result;
    }
}
