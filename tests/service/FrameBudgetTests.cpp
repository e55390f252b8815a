// A frame that takes longer than the per-frame budget is answered like a frame that
// cannot be made, and the job goes on (or ends, when every frame is required).

#include <chrono>

#include <gtest/gtest.h>

#include "ServiceTestSupport.h"
#include "service/LXVideoFrameProtocols.h"
#include "service/jobs/LXVideoFrameBudget.h"
#include "support/Fixtures.h"

using namespace lxkit::test;
namespace Key = LXVideoFrameKey;

namespace {

/// 12 s of 1080p in one group of pictures: a frame near the end needs about 300 frames
/// decoded first, far beyond the small budget the tests set.
std::filesystem::path slowMovie() {
    return makeMovie("slow-gop.mp4",
                     "-f lavfi -i testsrc2=size=1920x1080:rate=25:duration=12 "
                     "-c:v libx264 -preset ultrafast -g 1000 -keyint_min 1000 -sc_threshold 0 "
                     "-pix_fmt yuv420p");
}

class FrameBudgetTest : public JobTest {
protected:
    void TearDown() override { LXVideoFrameSetBudget(kLXVideoFrameDefaultBudget); }

    /// Frames at 0 s and at 11.5 s of the slow movie (time scale 1000 in MP4).
    PropertyDictionary request(bool requiresAll) {
        return {{Key::movieData, NSData::dataWithVector(readFile(slowMovie()))},
                {Key::token, PropertyValue::number(3)},
                {Key::frameSize, "{192, 108}"},
                {Key::frameCount, PropertyValue::number(2)},
                {Key::interval, PropertyValue::number(11500)},
                {Key::requiresAllFrames, PropertyValue::boolean(requiresAll)}};
    }
};

const PropertyDictionary* entryOf(const PropertyDictionary& reply) {
    const PropertyValue* frames = PropertyValueForKey(reply, Key::frames);
    return frames && frames->array() && frames->array()->size() == 1 ? (*frames->array())[0].dictionary()
                                                                     : nullptr;
}

TEST_F(FrameBudgetTest, AFrameOutOfTimeIsATimeOnlyEntry) {
    struct Case {
        const char* name;
        std::chrono::milliseconds budget;
        bool requiresAll;
        size_t frameReplies;
        bool secondHasData;
        bool completed;
    };
    const Case cases[] = {
        {"the default budget", kLXVideoFrameDefaultBudget, false, 2, true, true},
        {"a small budget", std::chrono::milliseconds(150), false, 2, false, true},
        {"a small budget, every frame required", std::chrono::milliseconds(150), true, 1, false, false},
    };
    slowMovie();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        useNewConnection();
        // The first frame decodes one picture, well within even the small budget.
        LXVideoFrameSetBudget(c.budget);
        auto replies = run(request(c.requiresAll));
        ASSERT_EQ(replies.size(), c.frameReplies + 1);
        const PropertyDictionary* first = entryOf(replies[0]);
        ASSERT_NE(first, nullptr);
        EXPECT_NE(PropertyValueForKey(*first, Key::data), nullptr);
        if (c.frameReplies == 2) {
            const PropertyDictionary* second = entryOf(replies[1]);
            ASSERT_NE(second, nullptr);
            EXPECT_EQ(PropertyValueForKey(*second, Key::data) != nullptr, c.secondHasData);
            const PropertyValue* time = PropertyValueForKey(*second, Key::time);
            ASSERT_TRUE(time && time->string());
            EXPECT_EQ(*time->string(), "0:00:00:11.500/1000");
        }
        EXPECT_EQ(CompletedOf(replies.back()), c.completed);
    }
}

TEST_F(FrameBudgetTest, OpeningCountsTowardTheFirstFrame) {
    // With no time at all, even opening is out of time: the movie counts as one that
    // cannot be opened, so only the final reply comes.
    LXVideoFrameSetBudget(std::chrono::milliseconds(0));
    auto replies = run(request(false));
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_EQ(CompletedOf(replies.back()), false);
}

} // namespace
