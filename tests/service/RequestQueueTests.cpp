// What waits behind the running job is bounded: past the bounds a request gets the
// neutral final reply at once instead of holding memory and a descriptor.

#include <condition_variable>
#include <map>
#include <thread>

#include <gtest/gtest.h>
#include <unistd.h>

#include "ServiceTestSupport.h"
#include "service/LXVideoFrameProtocols.h"

using namespace lxkit::test;
namespace Key = LXVideoFrameKey;

namespace {

PropertyDictionary noFramesRequest(int32_t token) {
    return {{Key::token, PropertyValue::number(token)}, {Key::frameCount, PropertyValue::number(0)}};
}

class RequestQueue : public JobTest {
protected:
    /// The final replies sent so far, by token.
    std::map<int32_t, bool> finals() const {
        std::map<int32_t, bool> found;
        for (const auto& reply : connection->replies()) {
            auto completed = CompletedOf(reply);
            if (completed)
                found[*PropertyValueForKey(reply, Key::token)->intValue()] = *completed;
        }
        return found;
    }
};

TEST_F(RequestQueue, ARequestPastTheWaitingLimitIsAnsweredAtOnce) {
    for (int32_t i = 0; i < int32_t(kMaximumWaitingRequests); ++i)
        task->processRequest(noFramesRequest(i));
    EXPECT_TRUE(connection->replies().empty()) << "a request within the bound was answered before it ran";
    EXPECT_EQ(task->waitingRequests(), kMaximumWaitingRequests);

    task->processRequest(noFramesRequest(1000));
    EXPECT_EQ(finals(), (std::map<int32_t, bool>{{1000, false}}));
    EXPECT_EQ(task->waitingRequests(), kMaximumWaitingRequests);

    // Served, a request for no frames completes with true; the queue then has room again.
    queue.runPending();
    auto served = finals();
    EXPECT_EQ(served.size(), kMaximumWaitingRequests + 1);
    for (int32_t i = 0; i < int32_t(kMaximumWaitingRequests); ++i)
        EXPECT_EQ(served[i], true) << i;
    EXPECT_EQ(task->waitingRequests(), 0u);
    task->processRequest(noFramesRequest(2000));
    queue.runPending();
    EXPECT_EQ(finals()[2000], true);
}

TEST_F(RequestQueue, InlineBytesThatWouldPassTheBoundAreRefused) {
    const size_t mebibyte = 1024 * 1024;
    struct Case {
        size_t waiting;
        size_t arriving;
        bool taken;
    };
    const Case cases[] = {
        {0, kMaximumWaitingInlineBytes, true}, {0, kMaximumWaitingInlineBytes + 1, false},
        {100 * mebibyte, 28 * mebibyte, true}, {100 * mebibyte, 29 * mebibyte, false},
        {kMaximumWaitingInlineBytes, 0, true},
    };
    int32_t token = 0;
    for (const auto& c : cases) {
        useNewConnection();
        if (c.waiting)
            task->processRequest(noFramesRequest(++token), c.waiting);
        int32_t arriving = ++token;
        task->processRequest(noFramesRequest(arriving), c.arriving);
        auto before = finals();
        EXPECT_EQ(before.count(arriving) == 0, c.taken) << c.waiting << " + " << c.arriving;
        if (!c.taken) {
            EXPECT_EQ(before[arriving], false);
        }
        queue.runPending();
        EXPECT_EQ(task->waitingRequests(), 0u);
    }
}

TEST_F(RequestQueue, AConnectionThatIsReplacedNoLongerHoldsTheJob) {
    // A connection whose peer never reads: a send blocks until the wait is ended.
    class StalledConnection final : public NSXPCConnection {
    public:
        void resume() override {}
        bool isClosed() const override { return false; }
        void sendMessage(std::string_view, const PropertyArray&) override {
            std::unique_lock lock(m_mutex);
            m_changed.wait(lock, [&] { return !m_waits; });
            ++m_sent;
        }
        void stopWaitingForPeer() override {
            std::lock_guard lock(m_mutex);
            m_waits = false;
            m_changed.notify_all();
        }
        int sent() {
            std::lock_guard lock(m_mutex);
            return m_sent;
        }

    private:
        std::mutex m_mutex;
        std::condition_variable m_changed;
        bool m_waits = true;
        int m_sent = 0;
    };
    auto stalled = std::make_shared<StalledConnection>();
    task->setConnection(stalled);
    task->processRequest(noFramesRequest(1));
    std::thread job([&] { queue.runPending(); });
    usleep(100'000);
    EXPECT_EQ(stalled->sent(), 0);
    // Another connection takes the replies: the stalled one's wait ends, and the job's
    // next reply goes to the new one.
    useNewConnection();
    job.join();
    EXPECT_EQ(stalled->sent(), 1);
    task->processRequest(noFramesRequest(2));
    queue.runPending();
    EXPECT_EQ(finals(), (std::map<int32_t, bool>{{2, true}}));
}

} // namespace
