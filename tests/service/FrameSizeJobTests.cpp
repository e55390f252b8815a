// Any "frameSize" a client may send, down to a single pixel and out to extreme aspects,
// with any "transforms": every frame comes back whole, in the movie's colour. Narrow
// sizes (2 x 5, 2 x 3, 1.5 x 2.5) once made the scaler write past the frame's bitmap and
// abort the service.

#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "ServiceTestSupport.h"
#include "platform/graphics/NSBitmapImageRep.h"
#include "service/LXVideoFrameProtocols.h"
#include "support/Fixtures.h"

using namespace lxkit::test;
namespace Key = LXVideoFrameKey;

namespace {

/// A solid 64 x 48 movie of 0.2 s and its colour as the command line decodes it.
std::filesystem::path solidMovie() {
    return makeMovie("solid-job.mp4", "-f lavfi -i color=c=0x3070C0:size=64x48:rate=25 -t 0.2 "
                                      "-c:v libx264 -preset veryfast -pix_fmt yuv420p");
}

std::vector<uint8_t> solidColour() {
    auto raw = commandOutput("ffmpeg -nostdin -loglevel error -i '" + solidMovie().string() +
                             "' -frames:v 1 -s 1x1 -f rawvideo -pix_fmt rgb24 -");
    return std::vector<uint8_t>(raw.begin(), raw.end());
}

struct TransformCase {
    const char* name;
    std::optional<PropertyDictionary> transforms;
};

const TransformCase kTransforms[] = {
    {"none", std::nullopt},
    {"rotation 90", PropertyDictionary{{Key::rotation, PropertyValue::number(90)}}},
    {"rotation -90", PropertyDictionary{{Key::rotation, PropertyValue::number(-90)}}},
    {"rotation 180", PropertyDictionary{{Key::rotation, PropertyValue::number(180)}}},
    {"both flips", PropertyDictionary{{Key::flipHorizontal, PropertyValue::boolean(true)},
                                      {Key::flipVertical, PropertyValue::boolean(true)}}},
};

/// Checks that the frame's PNG holds the movie's colour: every opaque pixel near it,
/// and opaque pixels there at all (edges of fractional sizes may be partly covered).
void ExpectSolidPng(const NSData& png, const std::vector<uint8_t>& colour, const std::string& what) {
    auto bitmap = NSBitmapImageRep::initWithData(png);
    ASSERT_TRUE(bitmap) << what;
    int opaque = 0;
    for (int y = 0; y < bitmap->pixelsHigh(); ++y) {
        auto row = reinterpret_cast<const uint32_t*>(bitmap->bitmapData() +
                                                     size_t(y) * size_t(bitmap->bytesPerRow()));
        for (int x = 0; x < bitmap->pixelsWide(); ++x) {
            uint32_t pixel = row[x];
            if (pixel >> 24 != 255)
                continue;
            ++opaque;
            int rgb[3] = {int(pixel >> 16 & 0xFF), int(pixel >> 8 & 0xFF), int(pixel & 0xFF)};
            for (int c = 0; c < 3; ++c) {
                if (std::abs(rgb[c] - int(colour[size_t(c)])) > 10) {
                    ADD_FAILURE() << what << ": pixel (" << x << ", " << y << ") is " << std::hex << pixel;
                    return;
                }
            }
        }
    }
    EXPECT_GT(opaque, 0) << what;
}

class FrameSizeJobTest : public JobTest {
protected:
    void expectFrame(const std::string& size, const TransformCase& transform,
                     const std::vector<uint8_t>& colour) {
        std::string what = size + ", " + transform.name;
        useNewConnection();
        PropertyDictionary request{{Key::movieData, NSData::dataWithVector(readFile(solidMovie()))},
                                   {Key::token, PropertyValue::number(1)},
                                   {Key::frameSize, size},
                                   {Key::frameCount, PropertyValue::number(1)}};
        if (transform.transforms)
            request.emplace(Key::transforms, *transform.transforms);
        auto replies = run(request);
        ASSERT_EQ(replies.size(), 2u) << what;
        const PropertyValue* frames = PropertyValueForKey(replies[0], Key::frames);
        ASSERT_TRUE(frames && frames->array() && frames->array()->size() == 1) << what;
        const PropertyDictionary* entry = (*frames->array())[0].dictionary();
        ASSERT_TRUE(entry) << what;
        const PropertyValue* png = PropertyValueForKey(*entry, Key::data);
        ASSERT_TRUE(png && png->data()) << what << ": no picture";
        ExpectSolidPng(*png->data(), colour, what);
        EXPECT_EQ(CompletedOf(replies.back()), true) << what;
    }
};

TEST_F(FrameSizeJobTest, EverySmallSizeWithEveryTransformIsWhole) {
    auto colour = solidColour();
    ASSERT_EQ(colour.size(), 3u);
    // Each size meets one transform in turn, so every transform sees sizes of every shape.
    size_t turn = 0;
    for (int width = 1; width <= 17; ++width)
        for (int height = 1; height <= 17; ++height)
            expectFrame("{" + std::to_string(width) + ", " + std::to_string(height) + "}",
                        kTransforms[turn++ % std::size(kTransforms)], colour);
    for (const char* size : {"{1.5, 2.5}", "{2, 5}", "{2, 3}", "{1, 4000}", "{4000, 1}", "{3, 16384}"})
        for (const TransformCase& transform : kTransforms)
            expectFrame(size, transform, colour);
}

} // namespace
