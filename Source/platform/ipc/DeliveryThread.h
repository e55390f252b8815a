#pragma once

#include <functional>
#include <thread>

#include "platform/core/GLibHandles.h"

/// A thread that runs a GMainContext: the delivery queue on which connections are
/// accepted and their incoming messages are handled, one at a time.
class DeliveryThread {
public:
    enum class Context {
        /// A context of the thread's own.
        Own,
        /// The process's global default context. GLib delivers there the signals of
        /// objects made on threads that have no context of their own, such as the
        /// "closed" signal of every connection that a GDBusServer accepts; unless some
        /// thread runs it, a closed connection is never released. Only one thread of a
        /// process can run it at a time.
        ProcessDefault,
    };
    explicit DeliveryThread(Context context = Context::Own);
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
