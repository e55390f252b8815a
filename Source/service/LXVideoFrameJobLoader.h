#pragma once

#include <string>

#include "service/LXVideoFrameJobs.h"

/// Loads the job module, on the calling thread, when it is made: lxframed loads it
/// before it confines itself, after which no library can be opened.
class LXVideoFrameJobLoader {
public:
    explicit LXVideoFrameJobLoader(const std::string& modulePath);
    /// The module's jobs; null when loading failed, and then `error()` says why.
    const LXVideoFrameJobs* jobs() const { return m_jobs; }
    const std::string& error() const { return m_error; }

    /// Where lxframed looks for its module: $LXFRAMED_JOB_MODULE, else
    /// <program folder>/../lib/lxkit/lxframed-jobs.so.
    static std::string defaultModulePath();

private:
    const LXVideoFrameJobs* m_jobs = nullptr;
    std::string m_error;
};
