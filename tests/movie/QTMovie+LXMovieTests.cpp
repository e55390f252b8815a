#include "movie/QTMovie+LXMovie.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/Fixtures.h"

namespace lxkit::test {
namespace {

std::shared_ptr<QTMovie> OpenFixture(const std::string& name, const std::string& arguments) {
    auto movie = QTMovie::movieWithData(NSData::dataWithVector(readFile(makeMovie(name, arguments))));
    if (movie.isError()) {
        ADD_FAILURE() << name << ": " << movie.error().message;
        return nullptr;
    }
    return movie.releaseValue();
}

const std::string kH264 = "-c:v libx264 -preset veryfast -pix_fmt yuv420p ";

std::string TwoPictures(const std::string& first, const std::string& second) {
    return "-f lavfi -i testsrc2=size=" + first + ":rate=25 -f lavfi -i testsrc2=size=" + second +
           ":rate=25 -t 0.5 -map 0 -map 1 " + kH264;
}

std::shared_ptr<QTTrack> Track(std::vector<std::string> characteristics, bool enabled, std::optional<NSRect> bounds) {
    return std::make_shared<QTTrack>(QTMedia(std::move(characteristics)), enabled, bounds);
}

const std::string kVisual(QTMediaCharacteristicVisual);
const std::string kCanSendVideo(QTMediaCharacteristicCanSendVideo);
const std::string kAudio(QTMediaCharacteristicAudio);

TEST(LXMovieSize, IsZeroWithoutEnabledVisualTracks) {
    auto sound = OpenFixture("sound.m4a", "-f lavfi -i sine=frequency=440 -t 0.5 -c:a aac");
    ASSERT_TRUE(sound);
    EXPECT_EQ(LXMovie::size(*sound), NSZeroSize);
    EXPECT_EQ(LXMovie::size(*QTMovie::movieWithTracks({})), NSZeroSize);
    // Negative bounds never lower the size below zero.
    auto negative = QTMovie::movieWithTracks({Track({kVisual}, true, NSMakeRect(0, 0, -20, -10))});
    EXPECT_EQ(LXMovie::size(*negative), NSZeroSize);
}

TEST(LXMovieSize, MaximisesWidthAndHeightSeparately) {
    auto movie = OpenFixture("lx-640x360-320x480.mp4",
                             TwoPictures("640x360", "320x480") + "-disposition:v:0 default -disposition:v:1 default");
    ASSERT_TRUE(movie);
    ASSERT_EQ(movie->tracks().size(), 2u);
    ASSERT_TRUE(movie->tracks()[1]->isEnabled());
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(640, 480));
}

TEST(LXMovieSize, IgnoresDisabledTracksButSetSizeDoesNot) {
    // The mov muxer enables only the first picture track unless told otherwise.
    auto movie = OpenFixture("lx-640x480-1920x1080.mp4", TwoPictures("640x480", "1920x1080"));
    ASSERT_TRUE(movie);
    ASSERT_EQ(movie->tracks().size(), 2u);
    ASSERT_FALSE(movie->tracks()[1]->isEnabled());
    EXPECT_EQ(movie->tracks()[1]->bounds(), NSMakeRect(0, 0, 1920, 1080));
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(640, 480));

    LXMovie::setSize(*movie, NSMakeSize(800, 600));
    EXPECT_EQ(movie->tracks()[0]->bounds(), NSMakeRect(0, 0, 800, 600));
    EXPECT_EQ(movie->tracks()[1]->bounds(), NSMakeRect(0, 0, 800, 600));
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(800, 600));
}

TEST(LXMovieSize, FollowsBoundsAndSkipsSound) {
    auto movie = OpenFixture("lx-video-sound.mp4", "-f lavfi -i testsrc2=size=320x240:rate=25 -f lavfi -i "
                                                   "sine=frequency=440 -t 0.5 " +
                                                       kH264 + "-c:a aac");
    ASSERT_TRUE(movie);
    ASSERT_EQ(movie->tracks().size(), 2u);
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(320, 240));
    // The origin of the bounds plays no part.
    movie->tracks()[0]->setBounds(NSMakeRect(50, 70, 200, 100));
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(200, 100));

    LXMovie::setSize(*movie, NSMakeSize(64, 48));
    EXPECT_EQ(movie->tracks()[0]->bounds(), NSMakeRect(0, 0, 64, 48));
    EXPECT_FALSE(movie->tracks()[1]->bounds());
}

TEST(LXMovieSize, CountsTracksThatOnlyCanSendVideo) {
    auto movie = QTMovie::movieWithTracks({
        Track({kCanSendVideo}, true, NSMakeRect(0, 0, 300, 100)),
        Track({kVisual}, true, std::nullopt), // no bounds: a zero rectangle
        Track({kCanSendVideo}, false, NSMakeRect(0, 0, 900, 900)),
        Track({kAudio}, true, NSMakeRect(0, 0, 1000, 1000)),
    });
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(300, 100));

    LXMovie::setSize(*movie, NSMakeSize(10, 20));
    const auto& tracks = movie->tracks();
    EXPECT_EQ(tracks[0]->bounds(), NSMakeRect(0, 0, 10, 20));
    EXPECT_EQ(tracks[1]->bounds(), NSMakeRect(0, 0, 10, 20));
    EXPECT_EQ(tracks[2]->bounds(), NSMakeRect(0, 0, 10, 20));
    EXPECT_EQ(tracks[3]->bounds(), NSMakeRect(0, 0, 1000, 1000));

    std::vector<NSSize> seen;
    movie->setCurrentSizeObserver([&](NSSize size) { seen.push_back(size); });
    LXMovie::bumpSize(*movie);
    EXPECT_EQ(seen, (std::vector<NSSize>{NSMakeSize(9, 19), NSMakeSize(10, 20)}));
}

TEST(LXMovieBumpSize, ShrinksByOneAndRestores) {
    struct Case {
        std::shared_ptr<QTMovie> movie;
        std::vector<NSSize> expected;
    };
    auto picture = OpenFixture("lx-640x480.mp4", "-f lavfi -i testsrc2=size=640x480:rate=25 -t 0.5 " + kH264);
    auto sound = OpenFixture("sound.m4a", "-f lavfi -i sine=frequency=440 -t 0.5 -c:a aac");
    ASSERT_TRUE(picture && sound);
    // The current size starts elsewhere, to show that bumpSize sets it from the tracks.
    picture->setCurrentSize(NSMakeSize(100, 100));
    const Case cases[] = {
        {picture, {NSMakeSize(639, 479), NSMakeSize(640, 480)}},
        {sound, {NSMakeSize(-1, -1), NSMakeSize(0, 0)}},
    };
    for (const auto& c : cases) {
        std::vector<NSSize> seen;
        c.movie->setCurrentSizeObserver([&](NSSize size) { seen.push_back(size); });
        LXMovie::bumpSize(*c.movie);
        EXPECT_EQ(seen, c.expected);
        EXPECT_EQ(c.movie->currentSize(), c.expected.back());
    }
}

} // namespace
} // namespace lxkit::test
