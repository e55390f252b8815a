#include "platform/screen/NSScreen.h"

#include <cstdlib>
#include <memory>

#include <xcb/randr.h>
#include <xcb/xcb.h>

#include "platform/screen/MonitorLayout.h"

namespace {

struct ConnectionDeleter {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
};
using ConnectionHandle = std::unique_ptr<xcb_connection_t, ConnectionDeleter>;

// xcb allocates every reply with malloc.
struct ReplyDeleter {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply> using ReplyHandle = std::unique_ptr<Reply, ReplyDeleter>;

xcb_screen_t* screenOfNumber(xcb_connection_t* connection, int number) {
    auto iterator = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; iterator.rem; ++i, xcb_screen_next(&iterator)) {
        if (i == number)
            return iterator.data;
    }
    return nullptr;
}

bool hasMonitorQuery(xcb_connection_t* connection) {
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(connection, &xcb_randr_id);
    if (!extension || !extension->present)
        return false;
    ReplyHandle<xcb_randr_query_version_reply_t> version(
        xcb_randr_query_version_reply(connection, xcb_randr_query_version(connection, 1, 5), nullptr));
    return version && (version->major_version > 1 || version->minor_version >= 5);
}

std::vector<MonitorRect> monitorsOf(xcb_connection_t* connection, xcb_screen_t* screen) {
    std::vector<MonitorRect> monitors;
    if (hasMonitorQuery(connection)) {
        ReplyHandle<xcb_randr_get_monitors_reply_t> reply(xcb_randr_get_monitors_reply(
            connection, xcb_randr_get_monitors(connection, screen->root, true), nullptr));
        if (reply) {
            auto iterator = xcb_randr_get_monitors_monitors_iterator(reply.get());
            for (; iterator.rem; xcb_randr_monitor_info_next(&iterator)) {
                const xcb_randr_monitor_info_t* info = iterator.data;
                monitors.push_back({double(info->x), double(info->y), double(info->width),
                                    double(info->height), bool(info->primary)});
            }
        }
    }
    // A server without monitor information is one monitor as large as the root window.
    if (monitors.empty())
        monitors.push_back({0, 0, double(screen->width_in_pixels), double(screen->height_in_pixels), true});
    return monitors;
}

} // namespace

std::vector<NSScreen> NSScreen::screens() {
    const char* display = std::getenv("DISPLAY");
    if (!display || !*display)
        return {};
    int screenNumber = 0;
    ConnectionHandle connection(xcb_connect(display, &screenNumber));
    if (!connection || xcb_connection_has_error(connection.get()))
        return {};
    xcb_screen_t* screen = screenOfNumber(connection.get(), screenNumber);
    if (!screen)
        return {};

    std::vector<NSScreen> result;
    for (NSRect frame : ScreenFramesFromMonitors(monitorsOf(connection.get(), screen)))
        result.emplace_back(frame);
    return result;
}

std::optional<NSScreen> NSScreen::mainScreen() {
    std::vector<NSScreen> all = screens();
    if (all.empty())
        return std::nullopt;
    return all.front();
}

std::optional<NSScreen> NSScreen::screenWithPoint(NSPoint point) {
    for (const NSScreen& screen : screens()) {
        NSRect frame = screen.frame();
        if (point.x >= NSMinX(frame) && point.x < NSMaxX(frame) && point.y >= NSMinY(frame) &&
            point.y < NSMaxY(frame))
            return screen;
    }
    return std::nullopt;
}
