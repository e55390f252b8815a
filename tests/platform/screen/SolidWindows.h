#pragma once

#include <cstdlib>
#include <string>

#include <xcb/xcb.h>

#include "platform/screen/XcbHandles.h"

namespace lxkit::test {

/// A client of an X server that puts up undecorated windows of one colour each.
class SolidWindows {
public:
    explicit SolidWindows(const std::string& display) : m_connection(xcb_connect(display.c_str(), nullptr)) {}

    bool connected() const { return !xcb_connection_has_error(m_connection.get()); }

    /// Maps the window and returns once the server has handled it.
    xcb_window_t add(int16_t x, int16_t y, uint16_t width, uint16_t height, uint32_t rgb) {
        xcb_connection_t* connection = m_connection.get();
        xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
        xcb_window_t window = xcb_generate_id(connection);
        uint32_t values[] = {rgb, 1};
        xcb_create_window(connection, XCB_COPY_FROM_PARENT, window, screen->root, x, y, width, height, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(connection, window);
        // A round trip: once the server answers, it has handled every request before it.
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
        return window;
    }

private:
    XcbConnection m_connection;
};

} // namespace lxkit::test
