#include "platform/media/LookaheadFrameGrabber.h"

#include <system_error>

#include "platform/media/MemoryInput.h"

namespace {

using Time = LookaheadFrameGrabber::Time;

bool SameTime(Time a, Time b) {
    return a.scale > 0 && b.scale > 0 &&
           av_compare_ts(a.value, AVRational{1, a.scale}, b.value, AVRational{1, b.scale}) == 0;
}

} // namespace

LookaheadFrameGrabber::LookaheadFrameGrabber(MemoryInput& input, int streamIndex, int64_t startOffset, int rotation)
    : m_input(input), m_streamIndex(streamIndex), m_startOffset(startOffset), m_rotation(rotation) {}

LookaheadFrameGrabber::~LookaheadFrameGrabber() {
    for (Worker& worker : m_workers)
        stop(worker);
}

ErrorOr<std::unique_ptr<LookaheadFrameGrabber>> LookaheadFrameGrabber::create(MemoryInput& input, int streamIndex,
                                                                              int64_t startOffset, int rotation) {
    auto first = VideoFrameGrabber::create(input, streamIndex, startOffset, rotation);
    if (first.isError())
        return first.error();
    std::unique_ptr<LookaheadFrameGrabber> grabber(new LookaheadFrameGrabber(input, streamIndex, startOffset, rotation));
    grabber->m_workers[0].grabber = first.releaseValue();
    return grabber;
}

bool LookaheadFrameGrabber::isWanted(Time time, std::span<const Time> upcoming) {
    for (Time later : upcoming) {
        if (SameTime(time, later))
            return true;
    }
    return false;
}

void LookaheadFrameGrabber::wait(Worker& worker) {
    if (worker.thread.joinable())
        worker.thread.join();
}

void LookaheadFrameGrabber::stop(Worker& worker) {
    {
        std::lock_guard lock(worker.mutex);
        worker.stopRequested = true;
        if (worker.grabber)
            worker.grabber->requestStop();
    }
    wait(worker);
    std::lock_guard lock(worker.mutex);
    worker.stopRequested = false;
    if (worker.grabber)
        worker.grabber->clearStopRequest();
    worker.preparing.reset();
    worker.preparationError.reset();
    worker.answered.reset();
}

void LookaheadFrameGrabber::startPreparing(Worker& worker, Time time) {
    worker.preparing = time;
    worker.preparationError.reset();
    worker.answered.reset();
    try {
        worker.thread = std::thread([this, &worker, time] { prepareInBackground(worker, time); });
    } catch (const std::system_error&) {
        // Without a thread the grab is simply made when it is asked for.
        worker.preparing.reset();
    }
}

void LookaheadFrameGrabber::prepareInBackground(Worker& worker, Time time) {
    VideoFrameGrabber* grabber = nullptr;
    {
        std::lock_guard lock(worker.mutex);
        grabber = worker.grabber.get();
    }
    if (!grabber) {
        // The second demuxer is opened here, the first time it is needed, so that its
        // cost overlaps the grab running in front.
        auto input = MemoryInput::open(m_input.data());
        ErrorOr<std::unique_ptr<VideoFrameGrabber>> made = makeError("the movie cannot be read twice");
        if (!input.isError())
            made = VideoFrameGrabber::create(*input.value(), m_streamIndex, m_startOffset, m_rotation);
        std::lock_guard lock(worker.mutex);
        if (made.isError()) {
            worker.unusable = true;
            worker.preparationError = made.error();
            return;
        }
        worker.ownInput = input.releaseValue();
        worker.grabber = made.releaseValue();
        grabber = worker.grabber.get();
        if (worker.stopRequested)
            grabber->requestStop();
    }
    auto prepared = grabber->prepare(time);
    if (prepared.isError())
        worker.preparationError = prepared.error();
}

LookaheadFrameGrabber::Worker* LookaheadFrameGrabber::workerFor(Time time, std::span<const Time> upcoming) {
    for (Worker& worker : m_workers) {
        if (worker.preparing && SameTime(*worker.preparing, time)) {
            wait(worker);
            if (!worker.unusable)
                return &worker;
            worker.preparing.reset();
        }
    }
    // Background work for times no longer coming is given up.
    for (Worker& worker : m_workers) {
        if (worker.preparing && !isWanted(*worker.preparing, upcoming))
            stop(worker);
    }
    // An idle worker, first one that decodes on from where it stands.
    Worker* idle = nullptr;
    for (Worker& worker : m_workers) {
        if (worker.preparing || !worker.grabber || worker.unusable)
            continue;
        if (worker.answered && !worker.grabber->seeksBetween(*worker.answered, time))
            return &worker;
        if (!idle)
            idle = &worker;
    }
    if (idle)
        return idle;
    // Both are busy with later frames (or the second cannot be used): the first gives way.
    stop(m_workers[0]);
    return &m_workers[0];
}

ErrorOr<NSBitmapImageRep> LookaheadFrameGrabber::frameAtTime(Time time, PixelSize size,
                                                             std::span<const Time> upcoming) {
    if (upcoming.size() > 2)
        upcoming = upcoming.first(2);
    Worker& current = *workerFor(time, upcoming);
    Worker& other = &current == &m_workers[0] ? m_workers[1] : m_workers[0];
    std::optional<Error> preparationError;
    if (current.preparing) {
        preparationError = std::move(current.preparationError);
        current.preparing.reset();
        current.preparationError.reset();
    }
    current.answered.reset();
    VideoFrameGrabber& grabber = *current.grabber;

    // The frame after this one needs a seek: it starts on the other worker now, and this
    // one stops right after its frame. If it decodes on from this one instead, the
    // other worker can start on the frame after it.
    bool nextSeeks = !upcoming.empty() && grabber.seeksBetween(time, upcoming[0]);
    bool secondSeeks = upcoming.size() > 1 && grabber.seeksBetween(upcoming[0], upcoming[1]);
    if (!other.preparing && !other.unusable) {
        if (nextSeeks)
            startPreparing(other, upcoming[0]);
        else if (secondSeeks)
            startPreparing(other, upcoming[1]);
    }

    auto result = preparationError ? ErrorOr<NSBitmapImageRep>(*preparationError)
                                   : grabber.frameAtTime(time, size,
                                                         nextSeeks ? VideoFrameGrabber::AfterTarget::Drain
                                                                   : VideoFrameGrabber::AfterTarget::Continue);
    if (!result.isError())
        current.answered = time;
    if (nextSeeks && secondSeeks && other.preparing && SameTime(*other.preparing, upcoming[0]))
        startPreparing(current, upcoming[1]);
    return result;
}
