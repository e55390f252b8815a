#include <vector>

#include <gtest/gtest.h>

#include "movie/QTMovie+LXMovie.h"
#include "platform/media/MovieFixtures.h"

namespace lxkit::test {
namespace {

std::string TwoPictures(const std::string& first, const std::string& second) {
    return "-f lavfi -i testsrc2=size=" + first + ":rate=25 -f lavfi -i testsrc2=size=" + second +
           ":rate=25 -t 0.5 -map 0 -map 1 " + kH264;
}

std::shared_ptr<QTTrack> Track(std::vector<std::string> characteristics, bool enabled,
                               std::optional<NSRect> bounds) {
    return std::make_shared<QTTrack>(QTMedia(std::move(characteristics)), enabled, bounds);
}

const std::string kVisual(QTMediaCharacteristicVisual);
const std::string kCanSendVideo(QTMediaCharacteristicCanSendVideo);
const std::string kSoundArguments = "-f lavfi -i sine=frequency=440 -t 0.5 -c:a aac";

std::vector<NSSize> SizesSetByBump(QTMovie& movie) {
    std::vector<NSSize> seen;
    movie.setCurrentSizeObserver([&](NSSize size) { seen.push_back(size); });
    LXMovie::bumpSize(movie);
    return seen;
}

TEST(LXMovieSize, IsZeroWithoutEnabledVisualTracks) {
    EXPECT_EQ(LXMovie::size(*QTMovie::movieWithTracks({})), NSZeroSize);
    // Negative bounds never lower the size below zero.
    auto negative = QTMovie::movieWithTracks({Track({kVisual}, true, NSMakeRect(0, 0, -20, -10))});
    EXPECT_EQ(LXMovie::size(*negative), NSZeroSize);
    // A sound-only movie still bumps its current size, through (-1, -1).
    auto sound = OpenMovie(makeMovie("sound.m4a", kSoundArguments));
    ASSERT_TRUE(sound);
    EXPECT_EQ(LXMovie::size(*sound), NSZeroSize);
    EXPECT_EQ(SizesSetByBump(*sound), (std::vector<NSSize>{NSMakeSize(-1, -1), NSMakeSize(0, 0)}));
    EXPECT_EQ(sound->currentSize(), NSZeroSize);
}

TEST(LXMovieSize, MaximisesWidthAndHeightSeparately) {
    auto movie = QTMovie::movieWithTracks({Track({kVisual}, true, NSMakeRect(0, 0, 640, 360)),
                                           Track({kVisual}, true, NSMakeRect(0, 0, 320, 480))});
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(640, 480));
}

TEST(LXMovieSize, IgnoresDisabledTracksButSetSizeDoesNot) {
    // The mov muxer enables only the first picture track unless told otherwise.
    auto movie = OpenMovie(makeMovie("lx-640x480-1920x1080.mp4", TwoPictures("640x480", "1920x1080")));
    ASSERT_TRUE(movie);
    ASSERT_EQ(movie->tracks().size(), 2u);
    ASSERT_FALSE(movie->tracks()[1]->isEnabled());
    EXPECT_EQ(movie->tracks()[1]->bounds(), NSMakeRect(0, 0, 1920, 1080));
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(640, 480));
    // The current size starts elsewhere, to show that bumpSize sets it from the tracks.
    movie->setCurrentSize(NSMakeSize(100, 100));
    EXPECT_EQ(SizesSetByBump(*movie), (std::vector<NSSize>{NSMakeSize(639, 479), NSMakeSize(640, 480)}));
    EXPECT_EQ(movie->currentSize(), NSMakeSize(640, 480));

    LXMovie::setSize(*movie, NSMakeSize(800, 600));
    EXPECT_EQ(movie->tracks()[0]->bounds(), NSMakeRect(0, 0, 800, 600));
    EXPECT_EQ(movie->tracks()[1]->bounds(), NSMakeRect(0, 0, 800, 600));
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(800, 600));
}

TEST(LXMovieSize, CountsTracksThatOnlyCanSendVideo) {
    auto movie = QTMovie::movieWithTracks({
        Track({kCanSendVideo}, true, NSMakeRect(50, 70, 300, 100)), // the origin plays no part
        Track({kVisual}, true, std::nullopt),                       // no bounds: a zero rectangle
        Track({kCanSendVideo}, false, NSMakeRect(0, 0, 900, 900)),
        Track({std::string(QTMediaCharacteristicAudio)}, true, NSMakeRect(0, 0, 1000, 1000)),
    });
    EXPECT_EQ(LXMovie::size(*movie), NSMakeSize(300, 100));

    LXMovie::setSize(*movie, NSMakeSize(10, 20));
    const auto& tracks = movie->tracks();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(tracks[i]->bounds(), NSMakeRect(0, 0, 10, 20)) << i;
    EXPECT_EQ(tracks[3]->bounds(), NSMakeRect(0, 0, 1000, 1000));
    EXPECT_EQ(SizesSetByBump(*movie), (std::vector<NSSize>{NSMakeSize(9, 19), NSMakeSize(10, 20)}));
}

} // namespace
} // namespace lxkit::test
