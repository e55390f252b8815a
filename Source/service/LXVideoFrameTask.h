#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>

#include "platform/core/PropertyList.h"
#include "platform/ipc/NSOperationQueue.h"
#include "platform/ipc/NSXPCConnection.h"
#include "platform/ipc/NSXPCListener.h"
#include "service/LXVideoFrameJobs.h"

/// How much may wait behind the running job. A request past either bound is not queued:
/// it gets the neutral final reply ("completed" false) at once. A movie that travels as
/// a descriptor costs a descriptor while it waits, not its bytes; one sent inline keeps
/// its whole message in memory.
inline constexpr size_t kMaximumWaitingRequests = 32;
/// As much as one D-Bus message can carry, so that any request is taken while nothing
/// waits.
inline constexpr size_t kMaximumWaitingInlineBytes = size_t(128) * 1024 * 1024;

/// The service's one object: it accepts the client's connections, takes requests on the
/// delivery thread and runs each as a job on the main queue, one at a time in arrival
/// order, answering through the connection accepted last.
class LXVideoFrameTask final : public NSXPCListenerDelegate,
                               public NSXPCExportedObject,
                               public LXVideoFrameJobHost,
                               public std::enable_shared_from_this<LXVideoFrameTask> {
public:
    /// The process's task, made on first use (from the process entry, before any
    /// connection can arrive).
    static const std::shared_ptr<LXVideoFrameTask>& sharedInstance();

    /// A task whose jobs run on `queue` (tests use their own task and queue).
    explicit LXVideoFrameTask(NSOperationQueue& queue = NSOperationQueue::mainQueue()) : m_queue(queue) {}
    LXVideoFrameTask(NSOperationQueue& queue, const LXVideoFrameJobs& jobs) : m_queue(queue), m_jobs(&jobs) {}

    /// Where the jobs come from: asked once, by the first job, which waits for the
    /// answer. Until a provider is set and answers, requests are taken but not served.
    void setJobsProvider(std::function<const LXVideoFrameJobs*()> provider);

    /// Sets the protocols, exports the task, resumes the connection and makes it the
    /// one every later reply goes to. Every connection is accepted.
    bool shouldAcceptNewConnection(NSXPCListener& listener,
                                   std::shared_ptr<NSXPCConnection> connection) override;

    /// Stops the running job before its next frame. Acts at once, on the calling
    /// (delivery) thread: posted to the main queue it would wait behind that very job.
    void cancelRequest();
    /// Posts the request to the main queue and returns. A request without "token" can
    /// never be answered and is dropped. `inlineBytes` is what the request keeps in
    /// memory while it waits (see the bounds above).
    void processRequest(PropertyDictionary request, size_t inlineBytes = 0);

    /// One picture per chapter, in the chapter list's order.
    void createChapterFramesWithOptions(const PropertyDictionary& options);
    /// "frameCount" frames, "interval" ticks apart from the start, flipped and rotated
    /// as "transforms" asks.
    void createFramesWithOptions(const PropertyDictionary& options);

    bool cancelled() const override { return m_cancelled.load(std::memory_order_relaxed); }
    void setCancelled(bool cancelled) override { m_cancelled.store(cancelled, std::memory_order_relaxed); }
    void reply(const PropertyDictionary& request, const char* key, PropertyValue value) override;
    std::shared_ptr<NSXPCConnection> connection() const;
    void setConnection(std::shared_ptr<NSXPCConnection> connection);

    void receiveMessage(std::string_view selector, const PropertyArray& arguments,
                        const NSXPCMessageFacts& facts) override;

    /// Requests posted and not yet started.
    size_t waitingRequests() const;

private:
    const LXVideoFrameJobs* jobs() const;
    /// The neutral final reply, sent at once, for a request that will not be served.
    void refuseRequest(const PropertyDictionary& request);

    NSOperationQueue& m_queue;
    mutable std::mutex m_jobsMutex;
    mutable const LXVideoFrameJobs* m_jobs = nullptr;
    std::function<const LXVideoFrameJobs*()> m_jobsProvider;
    std::atomic<bool> m_cancelled{false};
    mutable std::mutex m_connectionMutex;
    std::shared_ptr<NSXPCConnection> m_connection;
    mutable std::mutex m_waitingMutex;
    size_t m_waitingRequests = 0;
    size_t m_waitingInlineBytes = 0;
};
