#include <cmath>
#include <thread>

#include <gtest/gtest.h>

#include "ServiceTestSupport.h"
#include "service/LXVideoFrameProtocols.h"
#include "service/LXVideoFrameTask.h"
#include "support/Fixtures.h"

using namespace lxkit::test;
namespace Key = LXVideoFrameKey;

namespace {

// Two seconds of 25 fps video, 320 x 240, in MP4 (movie time scale 1000, length 2000).
std::filesystem::path shortMovie() {
    return makeMovie("short.mp4", "-f lavfi -i testsrc2=size=320x240:rate=25:duration=2 "
                                  "-c:v libx264 -preset veryfast -g 10 -pix_fmt yuv420p");
}

NSData bytesOf(const std::filesystem::path& path) { return NSData::dataWithVector(readFile(path)); }

class FrameJobTest : public JobTest {
protected:
    PropertyDictionary intervalRequest(int32_t count, std::optional<int32_t> interval, const char* size = "{320, 240}") {
        PropertyDictionary request{{Key::movieData, bytesOf(shortMovie())},
                                   {Key::token, PropertyValue::number(7)},
                                   {Key::frameCount, PropertyValue::number(count)}};
        if (interval)
            request.emplace(Key::interval, PropertyValue::number(*interval));
        if (size)
            request.emplace(Key::frameSize, size);
        return request;
    }

};

const PropertyDictionary* onlyFrameEntry(const PropertyDictionary& reply) {
    const PropertyValue* frames = PropertyValueForKey(reply, Key::frames);
    if (!frames || !frames->array() || frames->array()->size() != 1)
        return nullptr;
    return (*frames->array())[0].dictionary();
}

std::string timeOf(const PropertyDictionary& entry) {
    const PropertyValue* time = PropertyValueForKey(entry, Key::time);
    return time && time->string() ? *time->string() : "(none)";
}

// Every reply has exactly two keys, one the token; frame replies come first, the final
// reply last. Returns the frame entries (null for an empty "frames" array).
std::vector<const PropertyDictionary*> checkShape(const std::vector<PropertyDictionary>& replies, const PropertyValue& token) {
    std::vector<const PropertyDictionary*> entries;
    for (size_t i = 0; i < replies.size(); ++i) {
        EXPECT_EQ(replies[i].size(), 2u) << "reply " << i;
        const PropertyValue* echoed = PropertyValueForKey(replies[i], Key::token);
        EXPECT_TRUE(echoed && *echoed == token) << "reply " << i;
        bool last = i + 1 == replies.size();
        EXPECT_EQ(PropertyValueForKey(replies[i], Key::completed) != nullptr, last) << "reply " << i;
        if (!last)
            entries.push_back(onlyFrameEntry(replies[i]));
    }
    return entries;
}

struct ShapeCase {
    const char* name;
    std::function<void(PropertyDictionary&)> change;
    size_t frameReplies;
    bool completed;
    size_t framesWithData;
};

TEST_F(FrameJobTest, ReplyShapesFollowCountSizeAndMovie) {
    const ShapeCase cases[] = {
        {"zero frames of a good movie", [](auto& r) { r[Key::frameCount] = PropertyValue::number(0); }, 0, true, 0},
        {"a negative count", [](auto& r) { r[Key::frameCount] = PropertyValue::number(-2); }, 0, false, 0},
        {"zero frames and no movie", [](auto& r) { r.erase(Key::movieData); r[Key::frameCount] = PropertyValue::number(0); }, 0, true, 0},
        {"three frames and no size", [](auto& r) { r.erase(Key::frameSize); }, 0, false, 0},
        {"a size of zero by zero", [](auto& r) { r[Key::frameSize] = "{0, 0}"; }, 0, false, 0},
        {"a size that is a number", [](auto& r) { r[Key::frameSize] = PropertyValue::number(320); }, 0, false, 0},
        {"bytes that are not a movie", [](auto& r) { r[Key::movieData] = NSData::dataWithBytes("not a movie at all", 18); }, 0, false, 0},
        {"movie bytes given as a string", [](auto& r) { r[Key::movieData] = "movie"; }, 0, false, 0},
        {"three good frames", [](auto&) {}, 3, true, 3},
        {"a count given as text", [](auto& r) { r[Key::frameCount] = "3 frames"; }, 3, true, 3},
        {"frames over the pixel cap", [](auto& r) { r[Key::frameSize] = "{100000, 100000}"; }, 3, true, 0},
        {"a NaN-like size", [](auto& r) { r[Key::frameSize] = "{nan, nan}"; }, 0, false, 0},
        {"an infinite size", [](auto& r) { r[Key::frameSize] = "{1e999, 1e999}"; }, 3, true, 0},
        {"a negative size", [](auto& r) { r[Key::frameSize] = "{-320, -240}"; }, 3, true, 0},
        {"all frames required, one missing",
         [](auto& r) { r[Key::interval] = PropertyValue::number(-100); r[Key::requiresAllFrames] = PropertyValue::boolean(true); r[Key::frameCount] = PropertyValue::number(5); },
         1, false, 1},
        {"over the cap with all frames required",
         [](auto& r) { r[Key::frameSize] = "{100000, 100000}"; r[Key::requiresAllFrames] = "YES"; }, 0, false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        useNewConnection();
        auto request = intervalRequest(3, 400);
        c.change(request);
        auto replies = run(request);
        ASSERT_EQ(replies.size(), c.frameReplies + 1);
        auto entries = checkShape(replies, PropertyValue::number(7));
        EXPECT_EQ(CompletedOf(replies.back()), c.completed);
        size_t withData = 0;
        for (auto entry : entries) {
            ASSERT_NE(entry, nullptr);
            EXPECT_NE(PropertyValueForKey(*entry, Key::time), nullptr);
            withData += PropertyValueForKey(*entry, Key::data) != nullptr;
        }
        EXPECT_EQ(withData, c.framesWithData);
    }
}

TEST_F(FrameJobTest, FramesAreTakenIntervalTicksApartFromTheStart) {
    auto replies = run(intervalRequest(4, 300));
    ASSERT_EQ(replies.size(), 5u);
    const char* expected[] = {"0:00:00:00.00/1000", "0:00:00:00.300/1000", "0:00:00:00.600/1000", "0:00:00:00.900/1000"};
    for (size_t i = 0; i < 4; ++i) {
        auto entry = onlyFrameEntry(replies[i]);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(timeOf(*entry), expected[i]);
        const PropertyValue* png = PropertyValueForKey(*entry, Key::data);
        ASSERT_TRUE(png && png->data());
        EXPECT_EQ(PngDimensions(*png->data()), std::make_pair(320u, 240u));
    }
}

TEST_F(FrameJobTest, WithoutAnIntervalEveryFrameIsTakenAtTheStart) {
    auto replies = run(intervalRequest(3, std::nullopt));
    ASSERT_EQ(replies.size(), 4u);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_EQ(timeOf(*onlyFrameEntry(replies[i])), "0:00:00:00.00/1000");
    EXPECT_EQ(*PropertyValueForKey(*onlyFrameEntry(replies[0]), Key::data),
              *PropertyValueForKey(*onlyFrameEntry(replies[2]), Key::data));
}

TEST_F(FrameJobTest, FramesPastTheEndAreRetriedSixTicksBeforeIt) {
    // Length 2000: frames at 0, 1500, 3000 and 4500; the last two are past the end and
    // are taken again at 1994, while the running time goes on unguarded.
    auto replies = run(intervalRequest(4, 1500));
    ASSERT_EQ(replies.size(), 5u);
    const char* expected[] = {"0:00:00:00.00/1000", "0:00:00:01.500/1000", "0:00:00:01.994/1000", "0:00:00:01.994/1000"};
    for (size_t i = 0; i < 4; ++i) {
        auto entry = onlyFrameEntry(replies[i]);
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(timeOf(*entry), expected[i]) << "frame " << i + 1;
        EXPECT_NE(PropertyValueForKey(*entry, Key::data), nullptr) << "frame " << i + 1;
    }
    EXPECT_EQ(CompletedOf(replies.back()), true);
}

TEST_F(FrameJobTest, FramesThatCannotBeMadeStillGetTheirTime) {
    // Negative times show nothing, and the guard keeps the smaller, negative time.
    auto replies = run(intervalRequest(3, -500));
    ASSERT_EQ(replies.size(), 4u);
    EXPECT_NE(PropertyValueForKey(*onlyFrameEntry(replies[0]), Key::data), nullptr);
    EXPECT_EQ(timeOf(*onlyFrameEntry(replies[1])), "-0:00:00:00.500/1000");
    EXPECT_EQ(PropertyValueForKey(*onlyFrameEntry(replies[1]), Key::data), nullptr);
    EXPECT_EQ(timeOf(*onlyFrameEntry(replies[2])), "-0:00:00:01.00/1000");
    EXPECT_EQ(CompletedOf(replies.back()), true);
}

TEST_F(FrameJobTest, TransformsTurnAndMirrorTheFrames) {
    struct Case {
        const char* name;
        std::optional<PropertyDictionary> transforms;
        std::pair<uint32_t, uint32_t> size;
    };
    const Case cases[] = {
        {"none", std::nullopt, {320, 240}},
        {"empty", PropertyDictionary{}, {320, 240}},
        {"rotation 0", PropertyDictionary{{Key::rotation, PropertyValue::number(0)}}, {320, 240}},
        {"rotation 90", PropertyDictionary{{Key::rotation, PropertyValue::number(90)}}, {240, 320}},
        {"rotation -90", PropertyDictionary{{Key::rotation, PropertyValue::number(-90)}}, {240, 320}},
        {"rotation 180", PropertyDictionary{{Key::rotation, PropertyValue::number(180)}}, {320, 240}},
        {"flips", PropertyDictionary{{Key::flipHorizontal, PropertyValue::boolean(true)}, {Key::flipVertical, "Y"}}, {320, 240}},
    };
    std::vector<std::vector<uint8_t>> pixels;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        useNewConnection();
        auto request = intervalRequest(1, 0);
        if (c.transforms)
            request.emplace(Key::transforms, *c.transforms);
        auto replies = run(request);
        ASSERT_EQ(replies.size(), 2u);
        const PropertyValue* png = PropertyValueForKey(*onlyFrameEntry(replies[0]), Key::data);
        ASSERT_TRUE(png && png->data());
        EXPECT_EQ(PngDimensions(*png->data()), c.size);
        pixels.push_back(DecodePngToRgb(*png->data()));
    }
    // No transform, an empty one and a zero rotation leave the picture as it is.
    EXPECT_EQ(pixels[0], pixels[1]);
    EXPECT_EQ(pixels[0], pixels[2]);
    // Both flips together turn the picture half way round, like a rotation by 180.
    EXPECT_GT(psnr(pixels[5], pixels[6]), 40);
    EXPECT_LT(psnr(pixels[0], pixels[5]), 20);
}

TEST_F(FrameJobTest, FramesMatchWhatFfmpegShows) {
    // On a frame's own time both show that frame; between two frames the earlier one
    // still shows, which is the frame ffmpeg starts at when asked for its time.
    struct Case {
        int32_t interval;
        double frameTimes[4];
    };
    const Case cases[] = {{440, {0, 0.44, 0.88, 1.32}}, {430, {0, 0.40, 0.84, 1.28}}};
    auto movie = shortMovie();
    for (const auto& c : cases) {
        useNewConnection();
        auto replies = run(intervalRequest(4, c.interval));
        ASSERT_EQ(replies.size(), 5u);
        for (size_t i = 0; i < 4; ++i) {
            const PropertyValue* png = PropertyValueForKey(*onlyFrameEntry(replies[i]), Key::data);
            ASSERT_TRUE(png && png->data());
            auto ours = DecodePngToRgb(*png->data());
            auto theirs = FfmpegFrameAt(movie.string(), c.frameTimes[i], 320, 240);
            EXPECT_GE(psnr(ours, theirs), 35.0) << "interval " << c.interval << ", frame " << i;
        }
    }
}

TEST_F(FrameJobTest, EveryKindOfTokenComesBackUnchanged) {
    const PropertyValue tokens[] = {
        PropertyValue("request-1"),
        NSNumber::numberWithKind(NSNumber::Kind::UInt16, 65535),
        PropertyValue::real(2.5),
        PropertyValue(PropertyDictionary{{"id", PropertyValue::number(3)}}),
        PropertyValue(PropertyArray{PropertyValue("a"), PropertyValue::boolean(false)}),
        PropertyValue(NSData::dataWithBytes("\x00\x01", 2)),
    };
    for (const auto& token : tokens) {
        useNewConnection();
        auto request = intervalRequest(2, 100);
        request[Key::token] = token;
        auto replies = run(request);
        ASSERT_EQ(replies.size(), 3u);
        checkShape(replies, token);
    }
}

TEST_F(FrameJobTest, RequestsWithoutATokenAreNeverAnswered) {
    auto request = intervalRequest(2, 100);
    request.erase(Key::token);
    task->processRequest(request);
    EXPECT_EQ(queue.pendingCount(), 0u);
    queue.runPending();
    EXPECT_TRUE(connection->replies().empty());
}

TEST_F(FrameJobTest, ACancelStopsTheRunningJobBeforeItsNextFrame) {
    // The cancel arrives from another thread while the first frame's reply goes out.
    connection->onSend = [this](size_t sent) {
        if (sent == 1)
            std::thread([this] { task->cancelRequest(); }).join();
    };
    auto replies = run(intervalRequest(5, 100));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_NE(PropertyValueForKey(replies[0], Key::frames), nullptr);

    // The next request clears the flag and runs in full.
    connection->onSend = nullptr;
    replies = run(intervalRequest(2, 100));
    ASSERT_EQ(replies.size(), 4u);
    EXPECT_EQ(CompletedOf(replies.back()), true);
}

TEST_F(FrameJobTest, ACancelBeforeAJobStartsIsWipedOut) {
    task->processRequest(intervalRequest(2, 100));
    task->cancelRequest();
    queue.runPending();
    auto replies = connection->replies();
    ASSERT_EQ(replies.size(), 3u);
    EXPECT_EQ(CompletedOf(replies.back()), true);
}

TEST_F(FrameJobTest, RequestsRunOneAfterAnotherInArrivalOrder) {
    auto first = intervalRequest(2, 100);
    auto second = intervalRequest(1, 100);
    second[Key::token] = PropertyValue::number(8);
    task->processRequest(first);
    task->processRequest(second);
    queue.runPending();
    auto replies = connection->replies();
    ASSERT_EQ(replies.size(), 5u);
    for (size_t i = 0; i < 5; ++i)
        EXPECT_EQ(*PropertyValueForKey(replies[i], Key::token), PropertyValue::number(i < 3 ? 7 : 8)) << i;
}

TEST_F(FrameJobTest, RepliesFollowTheConnectionAcceptedLast) {
    auto later = std::make_shared<RecordingConnection>();
    std::unique_ptr<NSXPCListener> noListener;
    connection->onSend = [&](size_t sent) {
        if (sent == 1) {
            auto listener = NSXPCListener::listenerWithAddress("unix:tmpdir=/tmp");
            ASSERT_FALSE(listener.isError());
            EXPECT_TRUE(task->shouldAcceptNewConnection(*listener.value(), later));
        }
    };
    run(intervalRequest(3, 100));
    EXPECT_EQ(connection->replies().size(), 1u);
    EXPECT_TRUE(later->resumed());
    EXPECT_EQ(later->exportedInterface().name(), "io.lxkit.VideoFrameService1");
    EXPECT_EQ(later->remoteObjectInterface().name(), "io.lxkit.VideoFrameClient1");
    auto moved = later->replies();
    ASSERT_EQ(moved.size(), 3u);
    EXPECT_EQ(CompletedOf(moved.back()), true);
}

} // namespace
