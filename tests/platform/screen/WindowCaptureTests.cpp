#include <gtest/gtest.h>

#include <cstring>

#include <xcb/xcb.h>

#include "XvfbServer.h"
#include "platform/screen/WindowCapture.h"
#include "platform/screen/XcbHandles.h"

namespace {

using lxkit::test::ScopedDisplay;
using lxkit::test::XvfbServer;

uint32_t PixelOf(const CGImage& image, size_t x, size_t row) {
    uint32_t word;
    std::memcpy(&word, image.data().bytes() + row * image.bytesPerRow() + x * 4, 4);
    return word;
}

TEST(WindowCapture, WithoutADisplayThereIsNoPicture) {
    ScopedDisplay display(std::nullopt);
    EXPECT_FALSE(CGWindowListCreateImage(NSMakeRect(0, 0, 10, 10), kCGWindowListOptionOnScreenOnly, 0, 0));
    EXPECT_FALSE(CGWindowListCreateImageFromArray(NSMakeRect(0, 0, 10, 10), {1}, 0));
}

/// Two solid windows on a fresh server: red at (10, 10) 40 x 30, blue at (100, 50) 20 x 20.
class CaptureOnXvfb : public ::testing::Test {
protected:
    void SetUp() override {
        if (!XvfbServer::available())
            GTEST_SKIP() << "Xvfb is not installed";
        m_server = std::make_unique<XvfbServer>(320, 240);
        if (m_server->display().empty())
            GTEST_SKIP() << "Xvfb did not start";
        m_display = std::make_unique<ScopedDisplay>(m_server->display());
        m_connection.reset(xcb_connect(m_server->display().c_str(), nullptr));
        ASSERT_FALSE(xcb_connection_has_error(m_connection.get()));
        xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data;
        m_red = makeWindow(screen, 10, 10, 40, 30, 0xff0000);
        m_blue = makeWindow(screen, 100, 50, 20, 20, 0x0000ff);
        xcb_aux_sync();
    }

    xcb_window_t makeWindow(xcb_screen_t* screen, int16_t x, int16_t y, uint16_t w, uint16_t h, uint32_t color) {
        xcb_window_t window = xcb_generate_id(m_connection.get());
        uint32_t values[] = {color, 1};
        xcb_create_window(m_connection.get(), XCB_COPY_FROM_PARENT, window, screen->root, x, y, w, h, 0,
                          XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual,
                          XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values);
        xcb_map_window(m_connection.get(), window);
        return window;
    }

    void xcb_aux_sync() {
        // A round trip: once the server answers, it has handled every request before it.
        free(xcb_get_input_focus_reply(m_connection.get(), xcb_get_input_focus(m_connection.get()), nullptr));
    }

    std::unique_ptr<XvfbServer> m_server;
    std::unique_ptr<ScopedDisplay> m_display;
    XcbConnection m_connection;
    xcb_window_t m_red = 0, m_blue = 0;
};

TEST_F(CaptureOnXvfb, EverythingOnScreenWithinTheRectangle) {
    CGImageRef picture = CGWindowListCreateImage(NSMakeRect(0, 0, 160, 120), kCGWindowListOptionOnScreenOnly, 0, 0);
    ASSERT_TRUE(picture);
    EXPECT_EQ(picture->width(), 160u);
    EXPECT_EQ(picture->height(), 120u);
    EXPECT_EQ(PixelOf(*picture, 20, 20), 0xffff0000u);
    EXPECT_EQ(PixelOf(*picture, 110, 60), 0xff0000ffu);
    EXPECT_EQ(PixelOf(*picture, 5, 5) >> 24, 255u) << "the desktop is captured too";
}

TEST_F(CaptureOnXvfb, OnlyTheNamedWindows) {
    CGImageRef picture = CGWindowListCreateImageFromArray(NSMakeRect(0, 0, 160, 120), {m_blue}, 0);
    ASSERT_TRUE(picture);
    EXPECT_EQ(PixelOf(*picture, 110, 60), 0xff0000ffu);
    EXPECT_EQ(PixelOf(*picture, 20, 20), 0u) << "the red window is left out";
    EXPECT_EQ(PixelOf(*picture, 5, 5), 0u);
    // A rectangle that starts inside a window captures from there.
    CGImageRef part = CGWindowListCreateImageFromArray(NSMakeRect(30, 20, 40, 40), {m_red, m_blue}, 0);
    ASSERT_TRUE(part);
    EXPECT_EQ(PixelOf(*part, 0, 0), 0xffff0000u);
    EXPECT_EQ(PixelOf(*part, 25, 0), 0u);
}

} // namespace
