#pragma once

#include <memory>

#include "platform/core/NSGeometry.h"
#include "platform/core/PropertyList.h"
#include "platform/graphics/NSAffineTransform.h"

/// The flip and rotation transform of an interval request: null when "transforms" is
/// missing, not a dictionary, or empty; otherwise a transform (possibly the identity)
/// that turns a frame of `frameSize` about the centre of the canvas it will be drawn on.
/// Only ±90 degrees swap the canvas size; any other angle turns about the unswapped
/// centre, on purpose.
std::shared_ptr<NSAffineTransform> TransformForFrameOptions(const PropertyValue* transforms, NSSize frameSize);
