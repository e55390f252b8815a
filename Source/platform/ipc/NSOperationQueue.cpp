#include "platform/ipc/NSOperationQueue.h"

NSOperationQueue& NSOperationQueue::mainQueue() {
    static NSOperationQueue queue;
    return queue;
}

void NSOperationQueue::addOperationWithBlock(std::function<void()> block) {
    {
        std::lock_guard lock(m_mutex);
        m_work.push_back(std::move(block));
    }
    m_posted.notify_one();
}

void NSOperationQueue::run() {
    for (;;) {
        std::function<void()> block;
        {
            std::unique_lock lock(m_mutex);
            m_posted.wait(lock, [this] { return m_stopping || !m_work.empty(); });
            if (m_stopping) {
                m_stopping = false;
                return;
            }
            block = std::move(m_work.front());
            m_work.pop_front();
        }
        block();
    }
}

void NSOperationQueue::stop() {
    {
        std::lock_guard lock(m_mutex);
        m_stopping = true;
    }
    m_posted.notify_all();
}

void NSOperationQueue::runPending() {
    std::deque<std::function<void()>> work;
    {
        std::lock_guard lock(m_mutex);
        work.swap(m_work);
    }
    for (auto& block : work)
        block();
}

size_t NSOperationQueue::pendingCount() const {
    std::lock_guard lock(m_mutex);
    return m_work.size();
}
