#include "service/LXVideoFrameTask.h"

#include <utility>

#include <malloc.h>

#include "service/LXVideoFrameProtocols.h"

namespace {

/// Hands a connection's messages to the task without owning it: the task holds its
/// current connection, so a connection holding the task in turn would keep both alive
/// for good.
class TaskMessageReceiver final : public NSXPCExportedObject {
public:
    explicit TaskMessageReceiver(std::weak_ptr<LXVideoFrameTask> task) : m_task(std::move(task)) {}
    void receiveMessage(std::string_view selector, const PropertyArray& arguments,
                        const NSXPCMessageFacts& facts) override {
        if (auto task = m_task.lock())
            task->receiveMessage(selector, arguments, facts);
    }

private:
    std::weak_ptr<LXVideoFrameTask> m_task;
};

} // namespace

const std::shared_ptr<LXVideoFrameTask>& LXVideoFrameTask::sharedInstance() {
    static const auto task = std::make_shared<LXVideoFrameTask>();
    return task;
}

const LXVideoFrameJobs* LXVideoFrameTask::jobs() const {
    std::lock_guard lock(m_jobsMutex);
    if (!m_jobs && m_jobsProvider)
        m_jobs = m_jobsProvider();
    return m_jobs;
}

void LXVideoFrameTask::setJobsProvider(std::function<const LXVideoFrameJobs*()> provider) {
    std::lock_guard lock(m_jobsMutex);
    m_jobsProvider = std::move(provider);
    m_jobs = nullptr;
}

void LXVideoFrameTask::createChapterFramesWithOptions(const PropertyDictionary& options) {
    if (auto available = jobs())
        available->createChapterFramesWithOptions(*this, options);
}

void LXVideoFrameTask::createFramesWithOptions(const PropertyDictionary& options) {
    if (auto available = jobs())
        available->createFramesWithOptions(*this, options);
}

bool LXVideoFrameTask::shouldAcceptNewConnection(NSXPCListener&,
                                                 std::shared_ptr<NSXPCConnection> connection) {
    connection->setRemoteObjectInterface(LXVideoFrameClientInterface());
    connection->setExportedInterface(LXVideoFrameServiceInterface());
    connection->setExportedObject(std::make_shared<TaskMessageReceiver>(weak_from_this()));
    connection->resume();
    // The connection before stays open; only replies move to the new one.
    setConnection(std::move(connection));
    return true;
}

std::shared_ptr<NSXPCConnection> LXVideoFrameTask::connection() const {
    std::lock_guard lock(m_connectionMutex);
    return m_connection;
}

void LXVideoFrameTask::setConnection(std::shared_ptr<NSXPCConnection> connection) {
    std::shared_ptr<NSXPCConnection> previous;
    {
        std::lock_guard lock(m_connectionMutex);
        previous = std::exchange(m_connection, std::move(connection));
    }
    // The job may be waiting for the old peer to read; it no longer answers there, so
    // the wait ends and its further replies go to the new connection. Otherwise a peer
    // that stopped reading would hold every later client's cancel and request.
    if (previous && previous != this->connection())
        previous->stopWaitingForPeer();
}

void LXVideoFrameTask::receiveMessage(std::string_view selector, const PropertyArray& arguments,
                                      const NSXPCMessageFacts& facts) {
    if (selector == "cancelRequest") {
        cancelRequest();
        return;
    }
    if (selector != "processRequest" || arguments.empty() || !arguments[0].dictionary())
        return;
    if (facts.breaksWireLimits) {
        refuseRequest(*arguments[0].dictionary());
        return;
    }
    processRequest(*arguments[0].dictionary(), facts.inlineBytes);
}

void LXVideoFrameTask::cancelRequest() {
    setCancelled(true);
    // A job may be waiting for a client that stopped reading; let it see the flag.
    if (auto current = connection())
        current->interruptSend();
}

void LXVideoFrameTask::processRequest(PropertyDictionary request, size_t inlineBytes) {
    if (!PropertyValueForKey(request, LXVideoFrameKey::token))
        return;
    bool admitted = false;
    {
        std::lock_guard lock(m_waitingMutex);
        admitted = m_waitingRequests < kMaximumWaitingRequests &&
                   inlineBytes <= kMaximumWaitingInlineBytes - m_waitingInlineBytes;
        if (admitted) {
            ++m_waitingRequests;
            m_waitingInlineBytes += inlineBytes;
        }
    }
    if (!admitted) {
        refuseRequest(request);
        return;
    }
    m_queue.addOperationWithBlock([self = shared_from_this(), request = std::move(request), inlineBytes] {
        {
            std::lock_guard lock(self->m_waitingMutex);
            --self->m_waitingRequests;
            self->m_waitingInlineBytes -= inlineBytes;
        }
        // Only the key's presence selects the chapter job; its value is never read.
        if (PropertyValueForKey(request, LXVideoFrameKey::wantsChapterFrames))
            self->createChapterFramesWithOptions(request);
        else
            self->createFramesWithOptions(request);
        // A job's memory is allocated on several threads (GDBus's reader, the delivery
        // thread, the decoder's threads), and glibc keeps what they free in per-thread
        // arenas; handing it back after each job keeps an idle service small.
        malloc_trim(0);
    });
}

size_t LXVideoFrameTask::waitingRequests() const {
    std::lock_guard lock(m_waitingMutex);
    return m_waitingRequests;
}

void LXVideoFrameTask::refuseRequest(const PropertyDictionary& request) {
    reply(request, LXVideoFrameKey::completed, PropertyValue::boolean(false));
}

void LXVideoFrameTask::reply(const PropertyDictionary& options, const char* key, PropertyValue value) {
    const PropertyValue* token = PropertyValueForKey(options, LXVideoFrameKey::token);
    if (!token)
        return; // No reply ever goes out without the request's token.
    auto current = connection();
    if (!current)
        return;
    PropertyDictionary reply{{LXVideoFrameKey::token, *token}, {key, std::move(value)}};
    current->sendMessage("processReply", {PropertyValue(std::move(reply))});
}
