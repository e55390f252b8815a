#include <gtest/gtest.h>

#include <cstring>

#include <xcb/xcb.h>

#include "interface/NSImage+LXImageScreenShot.h"
#include "platform/screen/XcbHandles.h"
#include "platform/screen/XvfbServer.h"

namespace {

using lxkit::test::ScopedDisplay;
using lxkit::test::XvfbServer;

uint32_t Pixel(const NSImage& image, int x, int row) {
    uint32_t word;
    const NSBitmapImageRep& rep = image.bitmap();
    std::memcpy(&word, rep.bitmapData() + size_t(row) * size_t(rep.bytesPerRow()) + size_t(x) * 4, 4);
    return word;
}

TEST(ScreenShot, NothingWithoutADisplay) {
    ScopedDisplay display(std::nullopt);
    EXPECT_FALSE(LXImage::imageWithScreenShotOfDesktopInRect(NSMakeRect(0, 0, 10, 10), {}));
    EXPECT_FALSE(LXImage::imageWithScreenShotOfDesktopInRect(NSMakeRect(0, 0, 10, 10), {NSWindow(1)}));
}

TEST(ScreenShot, NamedWindowsOnLightGreyAtOnePointPerPixel) {
    if (!XvfbServer::available())
        GTEST_SKIP() << "Xvfb is not installed";
    XvfbServer server(200, 150);
    if (server.display().empty())
        GTEST_SKIP() << "Xvfb did not start";
    ScopedDisplay display(server.display());
    XcbConnection connection(xcb_connect(server.display().c_str(), nullptr));
    ASSERT_FALSE(xcb_connection_has_error(connection.get()));
    xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data;
    xcb_window_t window = xcb_generate_id(connection.get());
    uint32_t values[] = {0x00ff00, 1};
    xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, screen->root, 20, 10, 30, 20, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, screen->root_visual, XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT,
                      values);
    xcb_map_window(connection.get(), window);
    free(xcb_get_input_focus_reply(connection.get(), xcb_get_input_focus(connection.get()), nullptr));

    auto shot = LXImage::imageWithScreenShotOfDesktopInRect(NSMakeRect(0, 0, 100, 60), {NSWindow(window)});
    ASSERT_TRUE(shot);
    EXPECT_EQ(shot->size().width, 100.0);
    EXPECT_EQ(shot->size().height, 60.0);
    EXPECT_EQ(Pixel(*shot, 30, 15), 0xff00ff00u);
    EXPECT_EQ(Pixel(*shot, 5, 5), 0xffaaaaaau) << "light grey where no window was captured";

    auto whole = LXImage::imageWithScreenShotOfDesktopInRect(NSMakeRect(0, 0, 100, 60), {});
    ASSERT_TRUE(whole);
    EXPECT_EQ(Pixel(*whole, 30, 15), 0xff00ff00u);
}

} // namespace
