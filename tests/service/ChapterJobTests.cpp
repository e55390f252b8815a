#include <gtest/gtest.h>

#include "ServiceTestSupport.h"
#include "service/LXVideoFrameProtocols.h"
#include "service/LXVideoFrameTask.h"
#include "support/Fixtures.h"

using namespace lxkit::test;
namespace Key = LXVideoFrameKey;

namespace {

class ChapterJobTest : public JobTest {
protected:
    static PropertyDictionary chapterRequest(const std::filesystem::path& movie, PropertyValue wants = PropertyValue::boolean(true)) {
        return {{Key::movieData, NSData::dataWithVector(readFile(movie))},
                {Key::token, "chapters"},
                {Key::wantsChapterFrames, std::move(wants)}};
    }

};

TEST_F(ChapterJobTest, OneFramePerChapterAtTheMoviesDisplaySize) {
    auto replies = run(chapterRequest(sampleMovie()));
    ASSERT_EQ(replies.size(), 4u);
    std::vector<std::vector<uint8_t>> pictures;
    for (int32_t i = 0; i < 3; ++i) {
        const PropertyValue* frames = PropertyValueForKey(replies[size_t(i)], Key::frames);
        ASSERT_TRUE(frames && frames->array() && frames->array()->size() == 1);
        const PropertyDictionary* entry = (*frames->array())[0].dictionary();
        ASSERT_NE(entry, nullptr);
        EXPECT_EQ(entry->size(), 2u);
        EXPECT_EQ(*PropertyValueForKey(*entry, Key::chapterIndex), PropertyValue::number(i));
        const PropertyValue* png = PropertyValueForKey(*entry, Key::data);
        ASSERT_TRUE(png && png->data());
        EXPECT_EQ(PngDimensions(*png->data()), std::make_pair(320u, 240u));
        pictures.push_back(DecodePngToRgb(*png->data()));
    }
    // The chapters start at 0, 3 and 7 seconds.
    const double starts[] = {0, 3, 7};
    for (size_t i = 0; i < 3; ++i)
        EXPECT_GE(psnr(pictures[i], FfmpegFrameAt(sampleMovie().string(), starts[i], 320, 240)), 35.0) << i;
    EXPECT_EQ(CompletedOf(replies.back()), true);
}

TEST_F(ChapterJobTest, ThePresenceOfTheKeyAloneSelectsTheJob) {
    auto request = chapterRequest(sampleMovie(), PropertyValue::boolean(false));
    // Interval keys change nothing for the chapter job.
    request.emplace(Key::frameSize, "{64, 48}");
    request.emplace(Key::frameCount, PropertyValue::number(9));
    request.emplace(Key::transforms, PropertyDictionary{{Key::rotation, PropertyValue::number(90)}});
    auto replies = run(request);
    ASSERT_EQ(replies.size(), 4u);
    const PropertyValue* frames = PropertyValueForKey(replies[0], Key::frames);
    const PropertyValue* png = PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data);
    EXPECT_EQ(PngDimensions(*png->data()), std::make_pair(320u, 240u));
}

TEST_F(ChapterJobTest, CompletesWheneverItWasNotCancelled) {
    auto noChapters = makeMovie("no-chapters.mp4", "-f lavfi -i testsrc2=size=160x120:rate=10:duration=1 "
                                                   "-c:v libx264 -preset veryfast -pix_fmt yuv420p");
    auto soundOnly = makeMovie("sound-chapters.m4a", "-f lavfi -i sine=duration=2 -f ffmetadata -i '" +
                                                         std::string(LXKIT_SOURCE_DIR) +
                                                         "/data/sample-chapters.txt' -map 0 -map_chapters 1 -c:a aac");
    struct Case {
        const char* name;
        PropertyDictionary request;
        size_t replies;
    };
    Case cases[] = {
        {"no movie", {{Key::token, "t"}, {Key::wantsChapterFrames, "x"}}, 1},
        {"not a movie", {{Key::token, "t"}, {Key::wantsChapterFrames, "x"}, {Key::movieData, NSData::dataWithBytes("junk", 4)}}, 1},
        {"no chapters", chapterRequest(noChapters), 1},
        // Chapters without a picture: every reply comes with an empty "frames" array.
        {"sound only", chapterRequest(soundOnly), 4},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.name);
        useNewConnection();
        auto replies = run(c.request);
        ASSERT_EQ(replies.size(), c.replies);
        for (size_t i = 0; i + 1 < replies.size(); ++i) {
            const PropertyValue* frames = PropertyValueForKey(replies[i], Key::frames);
            ASSERT_TRUE(frames && frames->array());
            EXPECT_TRUE(frames->array()->empty());
        }
        EXPECT_EQ(CompletedOf(replies.back()), true);
    }
}

TEST_F(ChapterJobTest, ACancelDuringTheFirstChapterLetsItsReplyThrough) {
    connection->onSend = [this](size_t sent) {
        if (sent == 1)
            task->cancelRequest();
    };
    auto replies = run(chapterRequest(sampleMovie()));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_NE(PropertyValueForKey(replies[0], Key::frames), nullptr);
}

} // namespace
