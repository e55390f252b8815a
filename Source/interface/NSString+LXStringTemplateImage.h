#pragma once

#include <memory>
#include <string>

#include "platform/graphics/NSFont.h"
#include "platform/graphics/NSImage.h"

namespace LXString {

/// A template image of the text in the font (null: the 36-point system font), exactly
/// the text's measured size, drawn on demand so it stays sharp at any scale.
std::shared_ptr<NSImage> templateImageWithFont(const std::string& text, std::shared_ptr<NSFont> font);

} // namespace LXString
