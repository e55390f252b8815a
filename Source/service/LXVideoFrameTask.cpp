#include "service/LXVideoFrameTask.h"

#include <algorithm>
#include <limits>

#include "imaging/NSImage+LXImageEncoding.h"
#include "movie/QTMovie+LXMovie.h"
#include "platform/core/QTTime.h"
#include "platform/media/QTMovie.h"
#include "service/LXVideoFrameProtocols.h"
#include "service/LXVideoFrameTransform.h"

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

} // namespace

const std::shared_ptr<LXVideoFrameTask>& LXVideoFrameTask::sharedInstance() {
    static const auto task = std::make_shared<LXVideoFrameTask>();
    return task;
}

bool LXVideoFrameTask::shouldAcceptNewConnection(NSXPCListener&, std::shared_ptr<NSXPCConnection> connection) {
    connection->setRemoteObjectInterface(LXVideoFrameClientInterface());
    connection->setExportedInterface(LXVideoFrameServiceInterface());
    connection->setExportedObject(shared_from_this());
    connection->resume();
    // The connection before stays open and untouched; only replies move to the new one.
    setConnection(std::move(connection));
    return true;
}

std::shared_ptr<NSXPCConnection> LXVideoFrameTask::connection() const {
    std::lock_guard lock(m_connectionMutex);
    return m_connection;
}

void LXVideoFrameTask::setConnection(std::shared_ptr<NSXPCConnection> connection) {
    std::lock_guard lock(m_connectionMutex);
    m_connection = std::move(connection);
}

void LXVideoFrameTask::receiveMessage(std::string_view selector, const PropertyArray& arguments) {
    if (selector == "cancelRequest") {
        cancelRequest();
        return;
    }
    if (selector == "processRequest" && !arguments.empty() && arguments[0].dictionary())
        processRequest(*arguments[0].dictionary());
}

void LXVideoFrameTask::cancelRequest() {
    setCancelled(true);
    // A job may be waiting for a client that stopped reading; let it see the flag.
    if (auto current = connection())
        current->interruptSend();
}

void LXVideoFrameTask::processRequest(PropertyDictionary request) {
    if (!PropertyValueForKey(request, LXVideoFrameKey::token))
        return;
    m_queue.addOperationWithBlock([self = shared_from_this(), request = std::move(request)] {
        // Only the key's presence selects the chapter job; its value is never read.
        if (PropertyValueForKey(request, LXVideoFrameKey::wantsChapterFrames))
            self->createChapterFramesWithOptions(request);
        else
            self->createFramesWithOptions(request);
    });
}

void LXVideoFrameTask::sendReply(const PropertyDictionary& options, const char* key, PropertyValue value) {
    const PropertyValue* token = PropertyValueForKey(options, LXVideoFrameKey::token);
    if (!token)
        return; // No reply ever goes out without the request's token.
    auto current = connection();
    if (!current)
        return;
    PropertyDictionary reply{{LXVideoFrameKey::token, *token}, {key, std::move(value)}};
    current->sendMessage("processReply", {PropertyValue(std::move(reply))});
}

void LXVideoFrameTask::createFramesWithOptions(const PropertyDictionary& options) {
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

    setCancelled(false);
    int32_t framesAnswered = 0;
    auto sendFinalReply = [&] {
        sendReply(options, LXVideoFrameKey::completed, PropertyValue::boolean(framesAnswered == frameCount));
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
        if (cancelled())
            return;
        QTTime time{timeValue, duration.timeScale, duration.flags};
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
        sendReply(options, LXVideoFrameKey::frames, frameEntries(std::move(entry)));
        ++framesAnswered;
        timeValue += interval;
    }
    sendFinalReply();
}

void LXVideoFrameTask::createChapterFramesWithOptions(const PropertyDictionary& options) {
    const NSData* movieData = dataForKey(options, LXVideoFrameKey::movieData);
    setCancelled(false);
    auto movie = openMovie(movieData);
    std::vector<QTMovieChapter> chapters;
    QTFrameImageAttributes attributes;
    if (movie) {
        chapters = movie->chapters();
        attributes.size = LXMovie::size(*movie);
    }

    int32_t chaptersVisited = 0;
    for (size_t index = 0; index < chapters.size(); ++index) {
        if (cancelled())
            return;
        QTTime start = chapters[index].startTime.value_or(QTZeroTime);
        auto image = grabFrame(*movie, start, attributes);
        std::optional<NSData> png = image ? LXImage::PNGRepresentation(*image) : std::nullopt;
        image.reset();
        if (png) {
            PropertyDictionary entry{{LXVideoFrameKey::data, std::move(*png)},
                                     {LXVideoFrameKey::chapterIndex, PropertyValue::number(static_cast<int32_t>(index))}};
            sendReply(options, LXVideoFrameKey::frames, frameEntries(std::move(entry)));
        } else {
            // The chapter that failed is not named: the client sees only an empty reply.
            sendReply(options, LXVideoFrameKey::frames, PropertyArray{});
        }
        ++chaptersVisited;
    }
    sendReply(options, LXVideoFrameKey::completed,
              PropertyValue::boolean(chapters.size() == static_cast<size_t>(chaptersVisited)));
}
