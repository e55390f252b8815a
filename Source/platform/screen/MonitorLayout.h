#pragma once

#include <vector>

#include "platform/core/NSGeometry.h"

/// A monitor as X reports it: origin at the top-left of the root window, y growing
/// downwards.
struct MonitorRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool primary = false;
};

/// The monitors' frames in bottom-up desktop coordinates, the primary monitor first
/// (else the first one) with its bottom-left corner at the origin; the others keep
/// their order.
std::vector<NSRect> ScreenFramesFromMonitors(std::vector<MonitorRect> monitors);
