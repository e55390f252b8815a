#pragma once

#include <cstdint>

/// A window on the X display, known by its number (the X window id), which is all that
/// screen capture needs of a window.
class NSWindow {
public:
    explicit NSWindow(uint32_t windowNumber) : m_windowNumber(windowNumber) {}
    uint32_t windowNumber() const { return m_windowNumber; }

private:
    uint32_t m_windowNumber;
};
