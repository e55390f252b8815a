#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/graphics/NSImage.h"

/// The desktop's icon for a GIO content type (a MIME type here): GIO names the icons,
/// and the freedesktop icon theme (Adwaita, then hicolor) supplies the largest picture
/// it has of the first name found, a PNG or an SVG drawn by librsvg at 512 pixels.
/// Null when the theme has none of the names.
std::shared_ptr<NSImage> IconForContentType(const std::string& contentType);
/// The icon of a document whose type says nothing ("application-x-generic").
std::shared_ptr<NSImage> GenericDocumentIcon();
/// The first of the icon names that the theme has, as a picture; null for none.
std::shared_ptr<NSImage> IconForNames(const std::vector<std::string>& names);
