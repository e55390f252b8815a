#include "platform/graphics/NSFont.h"

#include <memory>

#include <pango/pangocairo.h>

#include "platform/core/GObjectRef.h"
#include "platform/graphics/NSGraphicsContext.h"

namespace {

struct FontDescriptionDeleter {
    void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
};
struct FontOptionsDeleter {
    void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
};

std::shared_ptr<NSFont> FontOrSystem(const NSStringAttributes& attributes) {
    return attributes.font ? attributes.font : NSFont::systemFontOfSize(12.0);
}

// Metrics are not hinted, so a text measures the same whatever the transform it is
// drawn under, and what is measured is what is drawn.
void ConfigureContext(PangoContext* context) {
    std::unique_ptr<cairo_font_options_t, FontOptionsDeleter> options(cairo_font_options_create());
    cairo_font_options_set_hint_metrics(options.get(), CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options.get(), CAIRO_HINT_STYLE_NONE);
    pango_cairo_context_set_font_options(context, options.get());
}

void ConfigureLayout(PangoLayout* layout, const std::string& text, const NSFont& font) {
    std::unique_ptr<PangoFontDescription, FontDescriptionDeleter> description(pango_font_description_new());
    pango_font_description_set_family(description.get(), font.familyName().c_str());
    // Absolute size: one point is one user-space unit, whatever the resolution.
    pango_font_description_set_absolute_size(description.get(), font.pointSize() * PANGO_SCALE);
    pango_layout_set_font_description(layout, description.get());
    pango_layout_set_text(layout, text.c_str(), int(text.size()));
}

NSSize LayoutSize(PangoLayout* layout) {
    PangoRectangle logical;
    pango_layout_get_extents(layout, nullptr, &logical);
    return NSMakeSize(double(logical.width) / PANGO_SCALE, double(logical.height) / PANGO_SCALE);
}

} // namespace

std::shared_ptr<NSFont> NSFont::fontWithName(const std::string& name, double size) {
    if (name.empty() || !(size > 0))
        return nullptr;
    return std::make_shared<NSFont>(name, size);
}

std::shared_ptr<NSFont> NSFont::systemFontOfSize(double size) {
    return std::make_shared<NSFont>("sans-serif", size > 0 ? size : 13.0);
}

NSSize NSStringSizeWithAttributes(const std::string& text, const NSStringAttributes& attributes) {
    GObjectRef<PangoContext> context =
        GObjectRef<PangoContext>::adopt(pango_font_map_create_context(pango_cairo_font_map_get_default()));
    if (!context)
        return NSZeroSize;
    ConfigureContext(context.get());
    GObjectRef<PangoLayout> layout = GObjectRef<PangoLayout>::adopt(pango_layout_new(context.get()));
    ConfigureLayout(layout.get(), text, *FontOrSystem(attributes));
    NSSize size = LayoutSize(layout.get());
    if (text.empty())
        size.width = 0;
    return size;
}

void NSStringDrawAtPoint(const std::string& text, NSPoint point, const NSStringAttributes& attributes) {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (!context || text.empty())
        return;
    std::shared_ptr<NSFont> font = FontOrSystem(attributes);
    NSColor color = attributes.foregroundColor.value_or(NSColor::blackColor());
    context->performDrawing([&](cairo_t* cairo) {
        GObjectRef<PangoLayout> layout = GObjectRef<PangoLayout>::adopt(pango_cairo_create_layout(cairo));
        ConfigureContext(pango_layout_get_context(layout.get()));
        pango_layout_context_changed(layout.get());
        ConfigureLayout(layout.get(), text, *font);
        NSSize size = LayoutSize(layout.get());
        // Pango lays text out with y down: flip locally about the line box.
        cairo_translate(cairo, point.x, point.y + size.height);
        cairo_scale(cairo, 1, -1);
        context->setColorSource(cairo, color);
        pango_cairo_show_layout(cairo, layout.get());
    });
}

void NSStringDrawInRect(const std::string& text, NSRect rect, const NSStringAttributes& attributes) {
    NSGraphicsContext* context = NSGraphicsContext::currentContext();
    if (!context)
        return;
    NSSize size = NSStringSizeWithAttributes(text, attributes);
    cairo_t* cairo = context->cairo();
    cairo_save(cairo);
    cairo_new_path(cairo);
    cairo_rectangle(cairo, rect.origin.x, rect.origin.y, rect.size.width, rect.size.height);
    cairo_clip(cairo);
    NSStringDrawAtPoint(text, NSMakePoint(rect.origin.x, NSMaxY(rect) - size.height), attributes);
    cairo_restore(cairo);
}
