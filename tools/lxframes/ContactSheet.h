#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/core/NSData.h"

/// One frame of a contact sheet: its PNG bytes and the movie time to write under it.
struct ContactSheetFrame {
    NSData png;
    std::string time;
};

/// The frames laid out in rows on the checkerboard, each scaled to fit a cell with its
/// time under it, and a red badge with the number of frames in the top-right corner;
/// as PNG bytes. Nothing when there are no frames or none can be decoded.
std::optional<NSData> MakeContactSheet(const std::vector<ContactSheetFrame>& frames);
