#include "service/LXVideoFrameJobs.h"

#include <algorithm>
#include <limits>

#include "imaging/NSImage+LXImageEncoding.h"
#include "movie/QTMovie+LXMovie.h"
#include "platform/core/QTTime.h"
#include "platform/media/QTMovie.h"
#include "service/LXVideoFrameProtocols.h"
#include "service/jobs/LXVideoFrameTransform.h"

namespace {

const NSData* dataForKey(const PropertyDictionary& options, const char* key) {
    const PropertyValue* value = PropertyValueForKey(options, key);
    return value ? value->data() : nullptr;
}

std::shared_ptr<QTMovie> openMovie(const NSData* bytes) {
    if (!bytes)
        return nullptr;
    auto movie = QTMovie::movieWithData(*bytes);
    return movie.isError() ? nullptr : movie.releaseValue();
}

std::shared_ptr<NSImage> grabFrame(QTMovie& movie, QTTime time, const QTFrameImageAttributes& attributes) {
    auto image = movie.frameImageAtTime(time, attributes);
    return image.isError() ? nullptr : image.releaseValue();
}

PropertyValue frameEntries(PropertyDictionary entry) { return PropertyArray{PropertyValue(std::move(entry))}; }

void createFramesWithOptions(LXVideoFrameJobHost& host, const PropertyDictionary& options) {
    const NSData* movieData = dataForKey(options, LXVideoFrameKey::movieData);
    const PropertyValue* sizeValue = PropertyValueForKey(options, LXVideoFrameKey::frameSize);
    NSSize frameSize = sizeValue && sizeValue->string() ? NSSizeFromString(*sizeValue->string()) : NSZeroSize;
    auto readInt = [&](const char* key) {
        const PropertyValue* value = PropertyValueForKey(options, key);
        return value ? value->intValue().value_or(0) : 0;
    };
    int32_t frameCount = readInt(LXVideoFrameKey::frameCount);
    int32_t interval = readInt(LXVideoFrameKey::interval);
    const PropertyValue* transforms = PropertyValueForKey(options, LXVideoFrameKey::transforms);
    const PropertyValue* requiresAllValue = PropertyValueForKey(options, LXVideoFrameKey::requiresAllFrames);
    bool requiresAllFrames = requiresAllValue ? requiresAllValue->boolValue().value_or(false) : false;

    host.setCancelled(false);
    int32_t framesAnswered = 0;
    auto sendFinalReply = [&] {
        host.reply(options, LXVideoFrameKey::completed, PropertyValue::boolean(framesAnswered == frameCount));
    };

    auto movie = openMovie(movieData);
    // The requested size is the only size this job knows: it never falls back to the
    // movie's own, unlike the chapter job.
    if (!movie || NSEqualSizes(frameSize, NSZeroSize)) {
        sendFinalReply();
        return;
    }
    QTFrameImageAttributes attributes{frameSize};
    QTTime duration = movie->duration();
    auto transform = TransformForFrameOptions(transforms, frameSize);
    // The end guard: after a failed grab, one more try no later than 6 ticks before the
    // end, where the last frame still shows.
    int64_t guardedEnd = duration.timeValue < std::numeric_limits<int64_t>::min() + 6 ? duration.timeValue
                                                                                       : duration.timeValue - 6;

    int64_t timeValue = 0;
    for (int32_t frameNumber = 1; frameNumber <= frameCount; ++frameNumber) {
        if (host.cancelled())
            return;
        QTTime time{timeValue, duration.timeScale, duration.flags};
        // Told the next frame's time, the movie stops decoding right after this frame
        // when the next one needs a seek anyway.
        attributes.upcomingTimes.clear();
        if (frameNumber < frameCount)
            attributes.upcomingTimes.push_back({timeValue + interval, duration.timeScale, duration.flags});
        auto image = grabFrame(*movie, time, attributes);
        if (!image) {
            time.timeValue = std::min(timeValue, guardedEnd);
            image = grabFrame(*movie, time, attributes);
        }
        if (image && transform)
            image = LXImage::imageByApplyingAffineTransform(*image, transform.get());
        std::optional<NSData> png = image ? LXImage::PNGRepresentation(*image) : std::nullopt;
        image.reset();
        PropertyDictionary entry{{LXVideoFrameKey::time, QTStringFromTime(time)}};
        if (png) {
            entry.emplace(LXVideoFrameKey::data, std::move(*png));
        } else if (requiresAllFrames) {
            break;
        }
        host.reply(options, LXVideoFrameKey::frames, frameEntries(std::move(entry)));
        ++framesAnswered;
        timeValue += interval;
    }
    sendFinalReply();
}

void createChapterFramesWithOptions(LXVideoFrameJobHost& host, const PropertyDictionary& options) {
    const NSData* movieData = dataForKey(options, LXVideoFrameKey::movieData);
    host.setCancelled(false);
    auto movie = openMovie(movieData);
    std::vector<QTMovieChapter> chapters;
    QTFrameImageAttributes attributes;
    if (movie) {
        chapters = movie->chapters();
        attributes.size = LXMovie::size(*movie);
    }

    int32_t chaptersVisited = 0;
    for (size_t index = 0; index < chapters.size(); ++index) {
        if (host.cancelled())
            return;
        QTTime start = chapters[index].startTime.value_or(QTZeroTime);
        attributes.upcomingTimes.clear();
        if (index + 1 < chapters.size())
            attributes.upcomingTimes.push_back(chapters[index + 1].startTime.value_or(QTZeroTime));
        auto image = grabFrame(*movie, start, attributes);
        std::optional<NSData> png = image ? LXImage::PNGRepresentation(*image) : std::nullopt;
        image.reset();
        if (png) {
            PropertyDictionary entry{{LXVideoFrameKey::data, std::move(*png)},
                                     {LXVideoFrameKey::chapterIndex, PropertyValue::number(static_cast<int32_t>(index))}};
            host.reply(options, LXVideoFrameKey::frames, frameEntries(std::move(entry)));
        } else {
            // The chapter that failed is not named: the client sees only an empty reply.
            host.reply(options, LXVideoFrameKey::frames, PropertyArray{});
        }
        ++chaptersVisited;
    }
    host.reply(options, LXVideoFrameKey::completed,
              PropertyValue::boolean(chapters.size() == static_cast<size_t>(chaptersVisited)));
}

} // namespace

const LXVideoFrameJobs LXVideoFrameBuiltInJobs = {createChapterFramesWithOptions, createFramesWithOptions};
