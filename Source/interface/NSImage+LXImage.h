#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/graphics/NSColor.h"
#include "platform/graphics/NSImage.h"
#include "platform/graphics/NSShadow.h"

/// Interface images of the LXImage extension of NSImage: tinted templates and the
/// heads-up button set. They draw through the calling thread's current context, saving
/// and restoring it, and are meant for the main thread.
namespace LXImage {

/// Keys of the button image set, as the interface code looks them up.
inline constexpr const char* kHUDNormal = "hud_normal";
inline constexpr const char* kHUDNormalPressed = "hud_normal_pressed";
inline constexpr const char* kHUDOn = "hud_on";
inline constexpr const char* kHUDOnPressed = "hud_on_pressed";

/// The four states of a heads-up button, each the template tinted in its colour with
/// the template's alpha; one representation per representation of the template (a 1×
/// and a 2× one for a template that is not made of bitmaps). Empty when a bitmap copy
/// of the template cannot be made.
std::map<std::string, std::shared_ptr<NSImage>> buttonImagesForTemplate(const NSImage& image);

/// Fills the rectangle with the colour where the template is opaque; draws nothing for
/// an image that is not a template.
void drawTemplateInRect(const NSImage& image, NSRect rect, const NSColor& color);

/// The template's shape filled with the colour, with an optional shadow cast inwards
/// from its edges and an optional shadow cast outside it, drawn in that order: drop
/// shadow, fill, inner shadow. Every representation must be a bitmap; one that is not is
/// reported through the assertion handler. Null when the new image cannot be made.
std::shared_ptr<NSImage> imageForTemplateWithColor(const NSImage& image, const NSColor& color,
                                                   const NSShadow* innerShadow, const NSShadow* dropShadow);

} // namespace LXImage
