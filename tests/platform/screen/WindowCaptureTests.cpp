#include <gtest/gtest.h>

#include "SolidWindows.h"
#include "XvfbServer.h"
#include "platform/graphics/PixelTestSupport.h"
#include "platform/screen/WindowCapture.h"

namespace {

using namespace lxkit::test;

TEST(WindowCapture, WithoutADisplayThereIsNoPicture) {
    ScopedDisplay display(std::nullopt);
    EXPECT_FALSE(CGWindowListCreateImage(NSMakeRect(0, 0, 10, 10), kCGWindowListOptionOnScreenOnly, 0, 0));
    EXPECT_FALSE(CGWindowListCreateImageFromArray(NSMakeRect(0, 0, 10, 10), {1}, 0));
}

TEST(WindowCapture, EverythingOnScreenOrOnlyTheNamedWindowsWithinTheRectangle) {
    if (!XvfbServer::available())
        GTEST_SKIP() << "Xvfb is not installed";
    XvfbServer server(320, 240);
    if (server.display().empty())
        GTEST_SKIP() << "Xvfb did not start";
    ScopedDisplay display(server.display());
    SolidWindows windows(server.display());
    ASSERT_TRUE(windows.connected());
    xcb_window_t red = windows.add(10, 10, 40, 30, 0xff0000);
    xcb_window_t blue = windows.add(100, 50, 20, 20, 0x0000ff);

    CGImageRef all =
        CGWindowListCreateImage(NSMakeRect(0, 0, 160, 120), kCGWindowListOptionOnScreenOnly, 0, 0);
    ASSERT_TRUE(all);
    EXPECT_EQ(all->width(), 160u);
    EXPECT_EQ(all->height(), 120u);
    EXPECT_EQ(pixelAt(*all, 20, 20), 0xffff0000u);
    EXPECT_EQ(pixelAt(*all, 110, 60), 0xff0000ffu);
    EXPECT_EQ(alphaOf(pixelAt(*all, 5, 5)), 255u) << "the desktop is captured too";

    CGImageRef named = CGWindowListCreateImageFromArray(NSMakeRect(0, 0, 160, 120), {blue}, 0);
    ASSERT_TRUE(named);
    EXPECT_EQ(pixelAt(*named, 110, 60), 0xff0000ffu);
    EXPECT_EQ(pixelAt(*named, 20, 20), 0u) << "the red window is left out";
    EXPECT_EQ(pixelAt(*named, 5, 5), 0u);
    // A rectangle that starts inside a window captures from there.
    CGImageRef part = CGWindowListCreateImageFromArray(NSMakeRect(30, 20, 40, 40), {red, blue}, 0);
    ASSERT_TRUE(part);
    EXPECT_EQ(pixelAt(*part, 0, 0), 0xffff0000u);
    EXPECT_EQ(pixelAt(*part, 25, 0), 0u);
}

} // namespace
