#pragma once

#include <functional>
#include <thread>

#include "platform/core/GLibHandles.h"

/// A thread that runs a GMainContext of its own: the delivery queue on which
/// connections are accepted and their incoming messages are handled, one at a time.
class DeliveryThread {
public:
    DeliveryThread();
    ~DeliveryThread();
    DeliveryThread(const DeliveryThread&) = delete;
    DeliveryThread& operator=(const DeliveryThread&) = delete;

    GMainContext* context() const { return m_context.get(); }
    /// Runs `work` on the thread, with its context as the thread-default one, and waits
    /// for it to finish.
    void runAndWait(std::function<void()> work);
    bool isCurrent() const { return std::this_thread::get_id() == m_thread.get_id(); }

private:
    GMainContextHandle m_context;
    GMainLoopHandle m_loop;
    std::thread m_thread;
};
