#include <cmath>

#include <gtest/gtest.h>

#include "service/LXVideoFrameProtocols.h"
#include "service/jobs/LXVideoFrameTransform.h"

namespace Key = LXVideoFrameKey;

namespace {

struct Mapping {
    const char* name;
    PropertyDictionary options;
    NSPoint (*expected)(double x, double y);
};

TEST(FrameTransform, MapsPointsOfA320By240Frame) {
    const Mapping cases[] = {
        {"rotation 90", {{Key::rotation, PropertyValue::number(90)}}, [](double x, double y) { return NSPoint{y - 40, 280 - x}; }},
        {"rotation -90", {{Key::rotation, PropertyValue::number(-90)}}, [](double x, double y) { return NSPoint{280 - y, x + 40}; }},
        {"flip horizontal", {{Key::flipHorizontal, PropertyValue::boolean(true)}}, [](double x, double y) { return NSPoint{320 - x, y}; }},
        {"flip vertical", {{Key::flipVertical, PropertyValue::boolean(true)}}, [](double x, double y) { return NSPoint{x, 240 - y}; }},
        // Turned about the centre of the unswapped size: no swap for 270.
        {"rotation 270", {{Key::rotation, PropertyValue::number(270)}}, [](double x, double y) { return NSPoint{y + 40, 280 - x}; }},
        {"rotation 180", {{Key::rotation, "180"}}, [](double x, double y) { return NSPoint{320 - x, 240 - y}; }},
        // Mirrored vertically first, then horizontally, then turned.
        {"flip vertical and rotation 90",
         {{Key::rotation, PropertyValue::number(90)}, {Key::flipVertical, PropertyValue::number(1)}},
         [](double x, double y) { return NSPoint{(320 - y) - 40, 280 - x}; }},
        {"rotation 0 is the identity", {{Key::rotation, PropertyValue::number(0)}}, [](double x, double y) { return NSPoint{x, y}; }},
        {"false flips are the identity",
         {{Key::flipHorizontal, PropertyValue::boolean(false)}, {Key::flipVertical, "N"}},
         [](double x, double y) { return NSPoint{x, y}; }},
    };
    const NSPoint probes[] = {{0, 0}, {320, 240}, {10, 200}, {160, 120}, {300, 5}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        PropertyValue options(c.options);
        auto transform = TransformForFrameOptions(&options, {320, 240});
        ASSERT_NE(transform, nullptr);
        for (NSPoint p : probes) {
            NSPoint mapped = transform->transformPoint(p);
            NSPoint expected = c.expected(p.x, p.y);
            EXPECT_NEAR(mapped.x, expected.x, 1e-9) << p.x << "," << p.y;
            EXPECT_NEAR(mapped.y, expected.y, 1e-9) << p.x << "," << p.y;
        }
    }
}

TEST(FrameTransform, MissingEmptyOrMistypedOptionsGiveNoTransform) {
    PropertyValue empty{PropertyDictionary{}};
    PropertyValue notADictionary{"rotation=90"};
    EXPECT_EQ(TransformForFrameOptions(nullptr, {320, 240}), nullptr);
    EXPECT_EQ(TransformForFrameOptions(&empty, {320, 240}), nullptr);
    EXPECT_EQ(TransformForFrameOptions(&notADictionary, {320, 240}), nullptr);
    // A dictionary with unknown keys only is not empty: the identity applies.
    PropertyValue unknown{PropertyDictionary{{"zoom", PropertyValue::number(2)}}};
    auto identity = TransformForFrameOptions(&unknown, {320, 240});
    ASSERT_NE(identity, nullptr);
    EXPECT_EQ(identity->transformStruct(), NSAffineTransformStruct{});
}

} // namespace
