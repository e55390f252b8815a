#include <gtest/gtest.h>

#include "interface/NSImage+LXImageScreenShot.h"
#include "platform/graphics/PixelTestSupport.h"
#include "platform/screen/SolidWindows.h"
#include "platform/screen/XvfbServer.h"

namespace {

using namespace lxkit::test;

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
    SolidWindows windows(server.display());
    ASSERT_TRUE(windows.connected());
    xcb_window_t window = windows.add(20, 10, 30, 20, 0x00ff00);

    auto shot = LXImage::imageWithScreenShotOfDesktopInRect(NSMakeRect(0, 0, 100, 60), {NSWindow(window)});
    ASSERT_TRUE(shot);
    EXPECT_EQ(shot->size(), NSMakeSize(100, 60));
    EXPECT_EQ(pixelAt(*shot, 30, 15), 0xff00ff00u);
    EXPECT_EQ(pixelAt(*shot, 5, 5), 0xffaaaaaau) << "light grey where no window was captured";

    auto whole = LXImage::imageWithScreenShotOfDesktopInRect(NSMakeRect(0, 0, 100, 60), {});
    ASSERT_TRUE(whole);
    EXPECT_EQ(pixelAt(*whole, 30, 15), 0xff00ff00u);
}

} // namespace
