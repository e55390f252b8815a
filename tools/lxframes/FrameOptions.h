#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/core/ErrorOr.h"
#include "platform/core/NSGeometry.h"

/// What a person asked lxframes for on the command line.
struct FrameOptions {
    std::string moviePath;
    int32_t count = 10;
    std::optional<double> spacingSeconds;
    std::optional<int32_t> spacingTicks;
    std::optional<NSSize> size;
    int32_t rotation = 0;
    bool flipHorizontal = false;
    bool flipVertical = false;
    bool requireAll = false;
    bool chapters = false;
    std::string outputFolder = "frames";
    /// Where to write a contact sheet of the frames, if anywhere.
    std::string sheetPath;
    std::string servicePath;
    std::string address;
    bool quiet = false;
    bool help = false;
};

/// Reads the command line; an error says what is wrong in one line.
ErrorOr<FrameOptions> ParseFrameOptions(int argc, char** argv);
extern const char* const kFrameOptionsUsage;

/// The size that fits `size` into `box` keeping its aspect ratio, never enlarging it,
/// in whole points (at least 1 by 1).
NSSize SizeFittingBox(NSSize size, NSSize box);
