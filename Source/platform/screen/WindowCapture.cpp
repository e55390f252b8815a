#include "platform/screen/WindowCapture.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "platform/graphics/CairoHandles.h"
#include "platform/screen/XcbHandles.h"

namespace {

struct Display {
    XcbConnection connection;
    xcb_screen_t* screen = nullptr;
};

std::optional<Display> OpenDisplay() {
    const char* name = std::getenv("DISPLAY");
    if (!name || !*name)
        return std::nullopt;
    int number = 0;
    Display display{XcbConnection(xcb_connect(name, &number))};
    if (!display.connection || xcb_connection_has_error(display.connection.get()))
        return std::nullopt;
    auto iterator = xcb_setup_roots_iterator(xcb_get_setup(display.connection.get()));
    for (int i = 0; iterator.rem; ++i, xcb_screen_next(&iterator)) {
        if (i == number)
            display.screen = iterator.data;
    }
    if (!display.screen)
        return std::nullopt;
    return display;
}

struct PixelRect {
    int x = 0, y = 0, width = 0, height = 0;
};

std::optional<PixelRect> Intersect(PixelRect a, PixelRect b) {
    int left = std::max(a.x, b.x), top = std::max(a.y, b.y);
    int right = std::min(a.x + a.width, b.x + b.width), bottom = std::min(a.y + a.height, b.y + b.height);
    if (right <= left || bottom <= top)
        return std::nullopt;
    return PixelRect{left, top, right - left, bottom - top};
}

/// The capture rectangle in whole root pixels; an infinite one is the whole root.
std::optional<PixelRect> CaptureRect(NSRect bounds, const xcb_screen_t* screen) {
    PixelRect root{0, 0, screen->width_in_pixels, screen->height_in_pixels};
    if (!std::isfinite(bounds.size.width) || !std::isfinite(bounds.size.height) || !std::isfinite(bounds.origin.x) ||
        !std::isfinite(bounds.origin.y))
        return root;
    int left = int(std::floor(bounds.origin.x)), top = int(std::floor(bounds.origin.y));
    int right = int(std::ceil(NSMaxX(bounds))), bottom = int(std::ceil(NSMaxY(bounds)));
    if (right <= left || bottom <= top)
        return std::nullopt;
    return PixelRect{left, top, right - left, bottom - top};
}

/// Copies the drawable's `area` (in its own coordinates) to the canvas at `at`, opaque.
void CopyArea(xcb_connection_t* connection, xcb_drawable_t drawable, PixelRect area, int atX, int atY,
              cairo_surface_t* canvas) {
    XcbReply<xcb_get_image_reply_t> image(xcb_get_image_reply(
        connection,
        xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, drawable, int16_t(area.x), int16_t(area.y),
                      uint16_t(area.width), uint16_t(area.height), ~0u),
        nullptr));
    if (!image || (image->depth != 24 && image->depth != 32))
        return;
    int length = xcb_get_image_data_length(image.get());
    const uint8_t* data = xcb_get_image_data(image.get());
    int sourceStride = area.height > 0 ? length / area.height : 0;
    if (sourceStride < area.width * 4)
        return;
    cairo_surface_flush(canvas);
    uint8_t* out = cairo_image_surface_get_data(canvas);
    int stride = cairo_image_surface_get_stride(canvas);
    for (int row = 0; row < area.height; ++row) {
        const uint32_t* in = reinterpret_cast<const uint32_t*>(data + size_t(row) * size_t(sourceStride));
        uint32_t* words = reinterpret_cast<uint32_t*>(out + size_t(atY + row) * size_t(stride)) + atX;
        for (int x = 0; x < area.width; ++x)
            words[x] = in[x] | 0xff000000u; // 24-bit TrueColor: X's pixel is 0x00RRGGBB
    }
    cairo_surface_mark_dirty(canvas);
}

CairoSurface NewCanvas(PixelRect rect) {
    CairoSurface canvas(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, rect.width, rect.height));
    if (cairo_surface_status(canvas.get()) != CAIRO_STATUS_SUCCESS)
        return nullptr;
    return canvas;
}

/// What every capture starts from: the display, the area asked for in root pixels, and
/// a canvas of that size. Nothing without a display or for an empty or oversized area.
struct Capture {
    Display display;
    PixelRect rect;
    CairoSurface canvas;
};

std::optional<Capture> BeginCapture(NSRect screenBounds) {
    std::optional<Display> display = OpenDisplay();
    if (!display)
        return std::nullopt;
    std::optional<PixelRect> rect = CaptureRect(screenBounds, display->screen);
    if (!rect || rect->width > 16384 || rect->height > 16384)
        return std::nullopt;
    CairoSurface canvas = NewCanvas(*rect);
    if (!canvas)
        return std::nullopt;
    return Capture{std::move(*display), *rect, std::move(canvas)};
}

} // namespace

CGImageRef CGWindowListCreateImage(NSRect screenBounds, CGWindowListOption, CGWindowID, CGWindowImageOption) {
    std::optional<Capture> capture = BeginCapture(screenBounds);
    if (!capture)
        return nullptr;
    Display* display = &capture->display;
    PixelRect* rect = &capture->rect;
    CairoSurface& canvas = capture->canvas;
    PixelRect root{0, 0, display->screen->width_in_pixels, display->screen->height_in_pixels};
    if (std::optional<PixelRect> visible = Intersect(*rect, root))
        CopyArea(display->connection.get(), display->screen->root, *visible, visible->x - rect->x,
                 visible->y - rect->y, canvas.get());
    return CGImageCreateWithSurface(canvas.get());
}

CGImageRef CGWindowListCreateImageFromArray(NSRect screenBounds, const std::vector<CGWindowID>& windows,
                                            CGWindowImageOption) {
    std::optional<Capture> capture = BeginCapture(screenBounds);
    if (!capture)
        return nullptr;
    Display* display = &capture->display;
    PixelRect* rect = &capture->rect;
    CairoSurface& canvas = capture->canvas;
    xcb_connection_t* connection = display->connection.get();
    // Back to front, so the first window ends up on top.
    for (auto window = windows.rbegin(); window != windows.rend(); ++window) {
        XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(connection, xcb_get_window_attributes(connection, *window), nullptr));
        if (!attributes || attributes->map_state != XCB_MAP_STATE_VIEWABLE)
            continue;
        XcbReply<xcb_get_geometry_reply_t> geometry(
            xcb_get_geometry_reply(connection, xcb_get_geometry(connection, *window), nullptr));
        XcbReply<xcb_translate_coordinates_reply_t> origin(xcb_translate_coordinates_reply(
            connection, xcb_translate_coordinates(connection, *window, display->screen->root, 0, 0), nullptr));
        if (!geometry || !origin)
            continue;
        PixelRect frame{origin->dst_x, origin->dst_y, geometry->width, geometry->height};
        PixelRect root{0, 0, display->screen->width_in_pixels, display->screen->height_in_pixels};
        std::optional<PixelRect> onScreen = Intersect(frame, root);
        std::optional<PixelRect> visible = onScreen ? Intersect(*onScreen, *rect) : std::nullopt;
        if (!visible)
            continue;
        CopyArea(connection, *window, {visible->x - frame.x, visible->y - frame.y, visible->width, visible->height},
                 visible->x - rect->x, visible->y - rect->y, canvas.get());
    }
    return CGImageCreateWithSurface(canvas.get());
}
