#pragma once

#include <future>
#include <string>

#include "service/LXVideoFrameJobs.h"

/// Loads the job module on a thread of its own as soon as it is made, so the service
/// can take its client's connection meanwhile.
class LXVideoFrameJobLoader {
public:
    explicit LXVideoFrameJobLoader(std::string modulePath);
    /// The module's jobs, waiting for the load to finish; null when it failed, and then
    /// `error()` says why.
    const LXVideoFrameJobs* jobs();
    const std::string& error();

    /// Where lxframed looks for its module: $LXFRAMED_JOB_MODULE, else
    /// <program folder>/../lib/lxkit/lxframed-jobs.so.
    static std::string defaultModulePath();

private:
    struct Result {
        const LXVideoFrameJobs* jobs = nullptr;
        std::string error;
    };
    std::shared_future<Result> m_result;
};
