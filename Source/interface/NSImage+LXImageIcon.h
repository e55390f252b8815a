#pragma once

#include <memory>
#include <string>

#include "platform/graphics/NSImage.h"

namespace LXImage {

/// The desktop's icon for a type string (code, identifier or extension form) at 512 ×
/// 512 points, or the generic document icon for a type the desktop has none for; null
/// for no type or no icon at all. Icons are kept for the life of the process under the
/// type string asked for, so asking again returns the same image.
std::shared_ptr<NSImage> iconForFileType(const std::string* typeString);

} // namespace LXImage
