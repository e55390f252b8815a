#pragma once

#include "platform/core/PropertyList.h"

/// What a job needs of the task that runs it: the cancel flag and a way to answer.
class LXVideoFrameJobHost {
public:
    virtual ~LXVideoFrameJobHost() = default;
    virtual bool cancelled() const = 0;
    virtual void setCancelled(bool cancelled) = 0;
    /// Sends the reply {"token": the request's token, key: value} to the connection
    /// accepted last; nothing goes out when the request has no token.
    virtual void reply(const PropertyDictionary& request, const char* key, PropertyValue value) = 0;
};

/// The two jobs of the frame service. They live apart from the task, in a module that
/// lxframed loads with the movie and drawing libraries (FFmpeg, Cairo and the
/// hundred-odd libraries they load) before it confines itself.
struct LXVideoFrameJobs {
    /// One picture per chapter, in the chapter list's order.
    void (*createChapterFramesWithOptions)(LXVideoFrameJobHost& host, const PropertyDictionary& options);
    /// "frameCount" frames, "interval" ticks apart from the start, flipped and rotated
    /// as "transforms" asks.
    void (*createFramesWithOptions)(LXVideoFrameJobHost& host, const PropertyDictionary& options);
};

/// The jobs, for programs that link them in (liblxkit, the tests, the job module).
extern const LXVideoFrameJobs LXVideoFrameBuiltInJobs;

/// The C entry of the job module.
extern "C" const LXVideoFrameJobs* lxkit_video_frame_jobs();
