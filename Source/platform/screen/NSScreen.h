#pragma once

#include <optional>
#include <vector>

#include "platform/core/NSGeometry.h"

/// One monitor of the X display. Frames are in the desktop's coordinates with the
/// origin at the bottom-left corner of the primary monitor and y growing upwards, so
/// the primary monitor's frame starts at (0, 0).
class NSScreen {
  public:
    explicit NSScreen(NSRect frame) : m_frame(frame) {}

    NSRect frame() const { return m_frame; }

    /// The monitors of the display named by $DISPLAY, the primary one first; none when
    /// there is no display or it cannot be reached. Asked afresh on every call, so a
    /// monitor plugged in meanwhile is seen.
    static std::vector<NSScreen> screens();
    /// The primary monitor (the one that carries the panels), or none.
    static std::optional<NSScreen> mainScreen();
    static std::optional<NSScreen> mainMenuScreen() { return mainScreen(); }
    /// The first monitor whose frame contains the point (left and bottom edges
    /// included, right and top edges not), or none.
    static std::optional<NSScreen> screenWithPoint(NSPoint point);

  private:
    NSRect m_frame;
};
