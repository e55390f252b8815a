#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>

#include "platform/media/VideoFrameGrabber.h"

/// Answers a caller's grabs in the order it makes them, with two frame grabbers over
/// demuxers of their own. While one decodes the frame asked for, the other starts on an
/// upcoming frame that needs a seek anyway, so two groups of pictures decode at once
/// (frame threads alone leave much of a second core idle waiting on references).
/// Upcoming times are hints: a grab that was not foreseen is answered all the same.
class LookaheadFrameGrabber {
public:
    using Time = VideoFrameGrabber::Time;

    static ErrorOr<std::unique_ptr<LookaheadFrameGrabber>> create(MemoryInput& input, int streamIndex,
                                                                  int64_t startOffset, int rotation);
    /// Stops work in the background and waits for it.
    ~LookaheadFrameGrabber();
    LookaheadFrameGrabber(const LookaheadFrameGrabber&) = delete;
    LookaheadFrameGrabber& operator=(const LookaheadFrameGrabber&) = delete;

    int streamIndex() const { return m_streamIndex; }

    /// The frame shown at `time`, as `VideoFrameGrabber::frameAtTime` gives it.
    /// `upcoming` holds the times the caller will ask for next, in order.
    ErrorOr<NSBitmapImageRep> frameAtTime(Time time, PixelSize size, std::span<const Time> upcoming);

private:
    struct Worker {
        /// Null for the first worker, which reads through the movie's own demuxer.
        std::unique_ptr<MemoryInput> ownInput;
        std::unique_ptr<VideoFrameGrabber> grabber;
        /// The time a background grab is preparing, from its start until it is taken.
        std::optional<Time> preparing;
        std::optional<Error> preparationError;
        /// The last time answered, while the grabber still stands there.
        std::optional<Time> answered;
        bool unusable = false;
        std::thread thread;
        /// Guards `grabber` and `stopRequested` while a background grab may be making the
        /// grabber; everything else belongs to the caller's thread, or to the background
        /// grab from its start until it is joined.
        std::mutex mutex;
        bool stopRequested = false;
    };

    LookaheadFrameGrabber(MemoryInput& input, int streamIndex, int64_t startOffset, int rotation);
    Worker* workerFor(Time time, std::span<const Time> upcoming);
    void startPreparing(Worker& worker, Time time);
    void prepareInBackground(Worker& worker, Time time);
    static void wait(Worker& worker);
    static void stop(Worker& worker);
    static bool isWanted(Time time, std::span<const Time> upcoming);

    MemoryInput& m_input;
    int m_streamIndex;
    int64_t m_startOffset;
    int m_rotation;
    Worker m_workers[2];
};
