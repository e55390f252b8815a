#pragma once

#include <cstddef>
#include <optional>
#include <string>

/// The number of images in a GIF file, counting no further than `enough` (pass
/// SIZE_MAX for all). Nothing when the file is no readable GIF.
std::optional<size_t> GIFImageCount(const std::string& path, size_t enough);
