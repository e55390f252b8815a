#pragma once

#include <concepts>
#include <cstddef>

#include "platform/core/NSGeometry.h"

/// Anything that answers `frame` with a rectangle: a window, a view, a screen.
template <typename T>
concept AnswersFrame = requires(const T& object) {
    { object.frame() } -> std::convertible_to<NSRect>;
};

/// The ratio that a tag of the aspect-ratio menu stands for, except tag -1.
NSSize AspectRatioFromTableTag(int tag, NSSize ownSize);

/// The aspect ratio (width and height terms) for a menu tag. Tag -1 is the frame
/// object's frame size (0 x 0 without an object), tag 1 the own size; the others are
/// fixed ratios, several with their digits deliberately reversed (57 is 7:5), 916 is
/// 40:71 and unknown tags are 6:4. The object is asked for its frame only for tag -1.
template <AnswersFrame FrameObject>
NSSize AspectRatioFromTag(int tag, const FrameObject* frameObject, NSSize ownSize) {
    if (tag == -1)
        return frameObject ? NSRect(frameObject->frame()).size : NSZeroSize;
    return AspectRatioFromTableTag(tag, ownSize);
}

inline NSSize AspectRatioFromTag(int tag, std::nullptr_t, NSSize ownSize) {
    return tag == -1 ? NSZeroSize : AspectRatioFromTableTag(tag, ownSize);
}

/// Resizes rect to the ratio (a, b), keeping its width (or its height), limits the
/// derived side to the extent left in bounds (at single precision), rounds the size
/// ties-to-even and pins a corner: 1 top-right, 2 top-left, 4 bottom-right, any other
/// the bottom-left. The extent is measured upwards/rightwards for corners 1, 4 / 1, 2
/// and the other way for the rest, which for corners 1 and 3 is not the side of the
/// pinned corner; this asymmetry is intended and must stay.
NSRect ConstrainAndPinRectWithAspectRatio(NSRect rect, NSRect bounds, NSSize ratio, int corner,
                                          bool keepWidth);
