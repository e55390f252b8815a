#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "imaging/Scaling.h"

namespace {

constexpr NSRect R(double x, double y, double w, double h) {
    return NSMakeRect(x, y, w, h);
}
constexpr NSSize S(double w, double h) {
    return NSMakeSize(w, h);
}

// Thirds do not come out the same in every order of operations.
testing::AssertionResult RectsNear(NSRect a, NSRect b) {
    for (auto [x, y] : {std::pair{a.origin.x, b.origin.x},
                        {a.origin.y, b.origin.y},
                        {a.size.width, b.size.width},
                        {a.size.height, b.size.height}})
        if (std::fabs(x - y) > 1e-9 * std::max(1.0, std::fabs(y)))
            return testing::AssertionFailure() << NSStringFromRect(a) << " is not " << NSStringFromRect(b);
    return testing::AssertionSuccess();
}
testing::AssertionResult SizesNear(NSSize a, NSSize b) {
    return RectsNear({NSZeroPoint, a}, {NSZeroPoint, b});
}

TEST(Scaling, SizesShrinkOnlyOrShrinkAndGrow) {
    struct Case {
        NSSize size, box, scaled, scaledUp;
    };
    const Case cases[] = {
        {S(400, 300), S(200, 200), S(200, 150), S(200, 150)},
        {S(100, 50), S(200, 200), S(100, 50), S(200, 100)},
        {S(400, 400), S(200, 200), S(200, 200), S(200, 200)}, // equal ratios: heights match
        {S(300, 100), S(200, 200), S(200, 100.0 * 200 / 300), S(200, 100.0 * 200 / 300)},
        {S(50, 300), S(200, 200), S(50.0 * 200 / 300, 200), S(50.0 * 200 / 300, 200)},
        {S(0, 50), S(10, 10), S(0, 50), S(0, 50)},
        {S(50, 50), S(10, 0), S(50, 50), S(50, 50)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(NSStringFromSize(c.size));
        EXPECT_TRUE(SizesNear(ScaleSize(c.size, c.box), c.scaled));
        EXPECT_TRUE(SizesNear(ScaleSizeUp(c.size, c.box), c.scaledUp));
    }
}

TEST(Scaling, RectsKeepTheirOriginUnlessCentred) {
    struct Case {
        NSRect rect, inRect;
        bool center;
        NSRect scaled, scaledUp, filled;
    };
    const Case cases[] = {
        {R(10, 10, 400, 300), R(0, 0, 200, 200), false, R(10, 10, 200, 150), R(10, 10, 200, 150),
         R(10, 10, 800.0 / 3, 200)},
        {R(10, 10, 400, 300), R(0, 0, 200, 200), true, R(0, 25, 200, 150), R(0, 25, 200, 150),
         R(-100.0 / 3, 0, 800.0 / 3, 200)},
        // Centred even when not scaled.
        {R(5, 5, 50, 50), R(0, 0, 200, 100), true, R(75, 25, 50, 50), R(50, 0, 100, 100),
         R(0, -50, 200, 200)},
        {R(0, 0, 100, 50), R(0, 0, 200, 200), true, R(50, 75, 100, 50), R(0, 50, 200, 100),
         R(-100, 0, 400, 200)},
        // A zero side returns the rect unchanged, without centring.
        {R(3, 4, 0, 50), R(0, 0, 200, 200), true, R(3, 4, 0, 50), R(3, 4, 0, 50), R(3, 4, 0, 50)},
        {R(3, 4, 10, 50), R(0, 0, 200, 0), true, R(3, 4, 10, 50), R(3, 4, 10, 50), R(3, 4, 10, 50)},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(NSStringFromRect(c.rect));
        EXPECT_TRUE(RectsNear(ScaleRect(c.rect, c.inRect, c.center), c.scaled));
        EXPECT_TRUE(RectsNear(ScaleRectUp(c.rect, c.inRect, c.center), c.scaledUp));
        EXPECT_TRUE(RectsNear(ScaleRectUpFill(c.rect, c.inRect, c.center), c.filled));
    }
}

} // namespace
