#include <cstring>

#include <gtest/gtest.h>

#include "../platform/screen/XvfbServer.h"
#include "imaging/QuickDrawRect.h"

namespace {

using lxkit::test::ScopedDisplay;
using lxkit::test::XvfbServer;

QDRect recordFromBytes(const uint8_t (&bytes)[8]) {
    QDRect rect;
    std::memcpy(&rect, bytes, sizeof rect);
    return rect;
}

TEST(QuickDrawRect, SwapReadsTheBigEndianRecord) {
    const uint8_t stored[8] = {0x00, 0x0A, 0x00, 0x14, 0x01, 0xE0, 0x02, 0x80};
    EXPECT_EQ(SwapBigQDRectToHost(recordFromBytes(stored)), (QDRect{10, 20, 480, 640}));
    const uint8_t negative[8] = {0xFF, 0xFE, 0x80, 0x00, 0x7F, 0xFF, 0x12, 0x34};
    EXPECT_EQ(SwapBigQDRectToHost(recordFromBytes(negative)), (QDRect{-2, -32768, 32767, 0x1234}));
    // It always swaps, so swapping twice gives the record back.
    const QDRect rect{1, -300, 700, 12345};
    EXPECT_EQ(SwapBigQDRectToHost(SwapBigQDRectToHost(rect)), rect);
}

TEST(QuickDrawRect, WithoutADisplayTheScreenHeightIsZero) {
    ScopedDisplay display(std::nullopt);
    EXPECT_EQ(NSRectFromQDScreenRect({10, 20, 480, 640}), NSMakeRect(20, -480, 620, 470));
    // The differences are taken in 32 bits, so the full 16-bit range does not wrap.
    EXPECT_EQ(NSRectFromQDScreenRect({-32768, -32768, 32767, 32767}),
              NSMakeRect(-32768, -32767, 65535, 65535));
}

TEST(QuickDrawRect, FlipsByTheHeightOfTheScreenFound) {
    if (!XvfbServer::available())
        GTEST_SKIP() << "Xvfb is not installed";
    XvfbServer server(1024, 900);
    ASSERT_FALSE(server.display().empty()) << "Xvfb did not start";
    ScopedDisplay display(server.display());

    EXPECT_EQ(NSRectFromQDScreenRect({10, 20, 480, 640}), NSMakeRect(20, 420, 620, 470));
    // A corner outside every screen falls back to the main screen, of the same height.
    EXPECT_EQ(NSRectFromQDScreenRect({-50, 2000, 100, 2100}), NSMakeRect(2000, 800, 100, 150));
}

} // namespace
