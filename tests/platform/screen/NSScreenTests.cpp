#include <gtest/gtest.h>

#include "XvfbServer.h"
#include "platform/screen/MonitorLayout.h"
#include "platform/screen/NSScreen.h"

namespace {

using lxkit::test::ScopedDisplay;
using lxkit::test::XvfbServer;

TEST(MonitorLayout, PrimaryComesFirstAtTheOriginAndOthersFlipAboutIt) {
    struct Case {
        const char* name;
        std::vector<MonitorRect> monitors;
        std::vector<NSRect> frames;
    };
    const Case cases[] = {
        {"none", {}, {}},
        {"one", {{0, 0, 1024, 768, false}}, {NSMakeRect(0, 0, 1024, 768)}},
        // A 1920 x 1080 primary on the right of a taller 1200 x 1600 monitor whose top
        // is level with it: the left one reaches 520 below the primary's bottom.
        {"primary second",
         {{0, 0, 1200, 1600, false}, {1200, 0, 1920, 1080, true}},
         {NSMakeRect(0, 0, 1920, 1080), NSMakeRect(-1200, -520, 1200, 1600)}},
        // Without a primary the first monitor stands in; the order of the rest is kept.
        {"no primary",
         {{100, 50, 400, 300, false}, {0, 0, 100, 100, false}, {500, 350, 10, 10, false}},
         {NSMakeRect(0, 0, 400, 300), NSMakeRect(-100, 250, 100, 100), NSMakeRect(400, -10, 10, 10)}},
        {"rest keep order",
         {{0, 0, 10, 10, false}, {10, 0, 20, 20, false}, {30, 0, 30, 30, true}},
         {NSMakeRect(0, 0, 30, 30), NSMakeRect(-30, 20, 10, 10), NSMakeRect(-20, 10, 20, 20)}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ScreenFramesFromMonitors(c.monitors), c.frames) << c.name;
}

TEST(NSScreen, WithoutADisplayThereAreNoScreens) {
    {
        ScopedDisplay display(std::nullopt);
        EXPECT_TRUE(NSScreen::screens().empty());
        EXPECT_FALSE(NSScreen::mainScreen());
        EXPECT_FALSE(NSScreen::screenWithPoint(NSMakePoint(0, 0)));
    }
    // A display that nothing serves is no display either.
    ScopedDisplay display(std::string(":9876"));
    EXPECT_TRUE(NSScreen::screens().empty());
    EXPECT_FALSE(NSScreen::mainMenuScreen());
}

TEST(NSScreen, VirtualServerHasOneScreenOfItsSize) {
    if (!XvfbServer::available())
        GTEST_SKIP() << "Xvfb is not installed";
    XvfbServer server(800, 600);
    ASSERT_FALSE(server.display().empty()) << "Xvfb did not start";
    ScopedDisplay display(server.display());

    std::vector<NSScreen> screens = NSScreen::screens();
    ASSERT_EQ(screens.size(), 1u);
    EXPECT_EQ(screens[0].frame(), NSMakeRect(0, 0, 800, 600));
    ASSERT_TRUE(NSScreen::mainMenuScreen());
    EXPECT_EQ(NSScreen::mainMenuScreen()->frame(), NSMakeRect(0, 0, 800, 600));

    // Left and bottom edges belong to the screen, right and top edges do not.
    EXPECT_TRUE(NSScreen::screenWithPoint(NSMakePoint(0, 0)));
    EXPECT_TRUE(NSScreen::screenWithPoint(NSMakePoint(799.5, 599.5)));
    EXPECT_FALSE(NSScreen::screenWithPoint(NSMakePoint(800, 10)));
    EXPECT_FALSE(NSScreen::screenWithPoint(NSMakePoint(10, 600)));
    EXPECT_FALSE(NSScreen::screenWithPoint(NSMakePoint(-1, 10)));
}

} // namespace
