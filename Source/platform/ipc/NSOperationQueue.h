#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

/// A first-in, first-out queue of work that one thread drains, one piece at a time in
/// the order posted. `mainQueue()` is the one the process's main thread drains.
class NSOperationQueue {
public:
    static NSOperationQueue& mainQueue();

    /// Posts work from any thread; returns at once.
    void addOperationWithBlock(std::function<void()> block);

    /// Runs posted work on the calling thread until `stop()`; work still posted then
    /// stays queued.
    void run();
    void stop();
    /// Runs whatever is posted now and returns (for tests).
    void runPending();
    size_t pendingCount() const;

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_posted;
    std::deque<std::function<void()>> m_work;
    bool m_stopping = false;
};
