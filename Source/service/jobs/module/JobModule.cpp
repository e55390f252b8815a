// The job module that lxframed loads after it has started: everything that needs the
// movie and drawing libraries.

#include "service/LXVideoFrameJobs.h"

extern "C" __attribute__((visibility("default"))) const LXVideoFrameJobs* lxkit_video_frame_jobs() {
    return &LXVideoFrameBuiltInJobs;
}
