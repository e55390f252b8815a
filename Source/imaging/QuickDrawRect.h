#pragma once

#include <cstdint>

#include "platform/core/NSGeometry.h"

/// The classic QuickDraw screen rectangle: four signed 16-bit fields measured from the
/// top of the screen, y growing downwards. Stored data holds them big-endian.
struct QDRect {
    int16_t top = 0;
    int16_t left = 0;
    int16_t bottom = 0;
    int16_t right = 0;
    friend bool operator==(const QDRect&, const QDRect&) = default;
};
static_assert(sizeof(QDRect) == 8, "the record is the 8 bytes of the stored form");

/// Exchanges the two bytes of every field, keeping the field order. It always swaps:
/// it is meant for little-endian hosts reading the big-endian record.
QDRect SwapBigQDRectToHost(QDRect rect);

/// The rectangle (fields in host order) flipped into bottom-up coordinates by the
/// height of the screen that contains (left, top), else of the main screen, else 0.
/// Only that screen's height is used, never its origin.
NSRect NSRectFromQDScreenRect(QDRect rect);
