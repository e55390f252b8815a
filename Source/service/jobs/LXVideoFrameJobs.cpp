#include "service/LXVideoFrameJobs.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <new>

#include "imaging/NSImage+LXImageEncoding.h"
#include "movie/QTMovie+LXMovie.h"
#include "platform/core/QTTime.h"
#include "platform/media/QTMovie.h"
#include "service/LXVideoFrameProtocols.h"
#include "service/jobs/LXVideoFrameBudget.h"
#include "service/jobs/LXVideoFrameTransform.h"

namespace {

const NSData* dataForKey(const PropertyDictionary& options, const char* key) {
    const PropertyValue* value = PropertyValueForKey(options, key);
    return value ? value->data() : nullptr;
}

using Clock = std::chrono::steady_clock;

/// The end of the budget of a frame that starts now.
Clock::time_point frameDeadline() {
    return Clock::now() + LXVideoFrameBudget();
}

std::shared_ptr<QTMovie> openMovie(const NSData* bytes, Clock::time_point deadline) {
    if (!bytes)
        return nullptr;
    auto movie = QTMovie::movieWithData(*bytes, deadline);
    return movie.isError() ? nullptr : movie.releaseValue();
}

std::shared_ptr<NSImage> grabFrame(QTMovie& movie, QTTime time, const QTFrameImageAttributes& attributes) {
    if (attributes.deadline && Clock::now() >= *attributes.deadline)
        return nullptr;
    auto image = movie.frameImageAtTime(time, attributes);
    return image.isError() ? nullptr : image.releaseValue();
}

/// The frame's PNG bytes: the image drawn through the transform, if any, and encoded.
/// Nothing when any step fails, also when memory runs out on the way (the process runs
/// under a memory limit, so an allocation may be refused).
std::optional<NSData> framePNG(std::shared_ptr<NSImage> image, const NSAffineTransform* transform) {
    if (!image)
        return std::nullopt;
    try {
        if (transform)
            image = LXImage::imageByApplyingAffineTransform(*image, transform);
        return image ? LXImage::PNGRepresentation(*image) : std::nullopt;
    } catch (const std::bad_alloc&) {
        return std::nullopt;
    }
}

PropertyValue frameEntries(PropertyDictionary entry) {
    return PropertyArray{PropertyValue(std::move(entry))};
}

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

    // Opening counts toward the first frame's budget.
    auto deadline = frameDeadline();
    auto movie = openMovie(movieData, deadline);
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
    int64_t guardedEnd = duration.timeValue < std::numeric_limits<int64_t>::min() + 6
                             ? duration.timeValue
                             : duration.timeValue - 6;

    int64_t timeValue = 0;
    for (int32_t frameNumber = 1; frameNumber <= frameCount; ++frameNumber) {
        if (host.cancelled())
            return;
        if (frameNumber > 1)
            deadline = frameDeadline();
        attributes.deadline = deadline;
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
        std::optional<NSData> png = framePNG(std::move(image), transform.get());
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
    auto deadline = frameDeadline();
    auto movie = openMovie(movieData, deadline);
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
        if (index > 0)
            deadline = frameDeadline();
        attributes.deadline = deadline;
        QTTime start = chapters[index].startTime.value_or(QTZeroTime);
        attributes.upcomingTimes.clear();
        if (index + 1 < chapters.size())
            attributes.upcomingTimes.push_back(chapters[index + 1].startTime.value_or(QTZeroTime));
        std::optional<NSData> png = framePNG(grabFrame(*movie, start, attributes), nullptr);
        if (png) {
            PropertyDictionary entry{
                {LXVideoFrameKey::data, std::move(*png)},
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
