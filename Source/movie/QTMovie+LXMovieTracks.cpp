#include <algorithm>
#include <climits>
#include <cmath>

#include "movie/QTMovie+LXMovieTracks.h"

namespace {

std::shared_ptr<QTTrack> FirstTrackOfType(const QTMovie& movie, std::string_view type) {
    auto tracks = movie.tracksOfMediaType(type);
    return tracks.empty() ? nullptr : tracks.front();
}

} // namespace

namespace LXMovie {

std::shared_ptr<QTTrack> mainVideoTrack(const QTMovie& movie) {
    return FirstTrackOfType(movie, QTMediaTypeVideo);
}
std::shared_ptr<QTTrack> mainAudioTrack(const QTMovie& movie) {
    return FirstTrackOfType(movie, QTMediaTypeSound);
}
std::shared_ptr<QTTrack> mainMPEGTrack(const QTMovie& movie) {
    return FirstTrackOfType(movie, QTMediaTypeMPEG);
}

double FPS(const QTMovie& movie) {
    double hundredths = 0.0;
    for (const auto& track : movie.tracksOfMediaType(QTMediaTypeVideo)) {
        const QTMedia& media = track->media();
        if (!media.hasCharacteristic(QTMediaCharacteristicHasVideoFrameRate))
            continue;
        QTTime duration = media.duration().value_or(QTZeroTime);
        int64_t samples = media.sampleCount().value_or(0);
        if (duration.timeValue == 0)
            continue;
        hundredths = double(samples) * double(duration.timeScale) / double(duration.timeValue) * 100.0;
        break;
    }
    // Multiplying by 0.01 keeps the product's last-bit error; callers see it in texts.
    return std::round(hundredths) * 0.01;
}

int32_t frameLength(const QTMovie& movie) {
    double fps = FPS(movie);
    if (fps == 0.0)
        fps = 1.0;
    double length = std::trunc(double(movie.duration().timeScale) / fps);
    if (!(length == length))
        return 0;
    return int32_t(std::clamp(length, double(INT32_MIN), double(INT32_MAX)));
}

QTTime interestingFrameImageTime(const QTMovie& movie) {
    QTTime poster = movie.posterTime().value_or(QTZeroTime);
    if (poster.timeValue != 0)
        return poster;
    int64_t twentySeconds = 20 * poster.timeScale;
    int64_t tenth = movie.duration().timeValue / 10;
    poster.timeValue = std::min(twentySeconds, tenth);
    return poster;
}

std::shared_ptr<NSImage> interestingFrameImage(QTMovie& movie) {
    auto image = movie.frameImageAtTime(interestingFrameImageTime(movie), {});
    if (!image.isError())
        return image.releaseValue();
    auto first = movie.frameImageAtTime(QTZeroTime, {});
    return first.isError() ? nullptr : first.releaseValue();
}

} // namespace LXMovie
