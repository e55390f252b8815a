#include "platform/ipc/DeliveryThread.h"

#include <future>

DeliveryThread::DeliveryThread(Context context)
    : m_context(context == Context::Own ? g_main_context_new()
                                        : g_main_context_ref(g_main_context_default())),
      m_loop(g_main_loop_new(m_context.get(), FALSE)) {
    std::promise<void> running;
    auto started = running.get_future();
    m_thread = std::thread([this, &running] {
        g_main_context_push_thread_default(m_context.get());
        g_main_context_invoke(
            m_context.get(),
            [](gpointer promise) -> gboolean {
                static_cast<std::promise<void>*>(promise)->set_value();
                return G_SOURCE_REMOVE;
            },
            &running);
        g_main_loop_run(m_loop.get());
        // Let sources that were pending when the loop stopped finish their clean-up.
        while (g_main_context_iteration(m_context.get(), FALSE)) {
        }
        g_main_context_pop_thread_default(m_context.get());
    });
    started.wait();
}

DeliveryThread::~DeliveryThread() {
    g_main_loop_quit(m_loop.get());
    if (m_thread.joinable())
        m_thread.join();
}

void DeliveryThread::runAndWait(std::function<void()> work) {
    if (isCurrent()) {
        work();
        return;
    }
    struct Call {
        std::function<void()> work;
        std::promise<void> done;
    } call{std::move(work), {}};
    auto finished = call.done.get_future();
    g_main_context_invoke(
        m_context.get(),
        [](gpointer data) -> gboolean {
            auto call = static_cast<Call*>(data);
            call->work();
            call->done.set_value();
            return G_SOURCE_REMOVE;
        },
        &call);
    finished.wait();
}
