#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

#include <gio/gio.h>

#include "platform/core/ErrorOr.h"
#include "platform/core/GObjectRef.h"
#include "platform/ipc/NSXPCConnection.h"

/// A connection over a peer-to-peer GDBusConnection. Incoming method calls are
/// dispatched in the thread-default main context of the thread that calls `resume`.
class GDBusXPCConnection final : public NSXPCConnection,
                                 public std::enable_shared_from_this<GDBusXPCConnection> {
public:
    static std::shared_ptr<GDBusXPCConnection> create(GObjectRef<GDBusConnection> connection);
    ~GDBusXPCConnection() override;

    void resume() override;
    void sendMessage(std::string_view selector, const PropertyArray& arguments) override;
    /// `sendMessage` that says why a message did not go out: it breaks D-Bus's own size
    /// limits (see DBusWireLimits.h), the connection is closed, or GDBus refused it.
    ErrorOr<bool> trySendMessage(std::string_view selector, const PropertyArray& arguments);
    void interruptSend() override;
    void stopWaitingForPeer() override;
    bool isClosed() const override { return m_closed.load(); }

    /// Called on the delivery thread once the peer has gone.
    void setClosedHandler(std::function<void()> handler) { m_closedHandler = std::move(handler); }
    /// Stops delivery and closes the connection.
    void invalidate();
    GDBusConnection* connection() const { return m_connection.get(); }

private:
    explicit GDBusXPCConnection(GObjectRef<GDBusConnection> connection)
        : m_connection(std::move(connection)) {}
    static void handleMethodCall(GDBusConnection*, const char* sender, const char* path,
                                 const char* interface, const char* member, GVariant* parameters,
                                 GDBusMethodInvocation*, gpointer self);
    static void handleClosed(GDBusConnection*, gboolean remotePeerVanished, GError*, gpointer self);
    void unregister();

    GObjectRef<GDBusConnection> m_connection;
    guint m_registration = 0;
    gulong m_closedSignal = 0;
    std::atomic<bool> m_closed{false};
    std::function<void()> m_closedHandler;
    std::weak_ptr<GDBusXPCConnection>* m_callbackTarget = nullptr;
    struct FlushWait {
        GObjectRef<GDBusConnection> connection;
        std::mutex mutex;
        std::condition_variable wakeup;
        bool done = false;
        bool interrupted = false;
        void finish();
        void interrupt();
    };
    void waitUntilFlushed(uint64_t interruptionsBeforeSend);

    GMainContext* m_deliveryContext = nullptr;
    std::mutex m_sendMutex;
    std::shared_ptr<FlushWait> m_pendingFlush;
    uint64_t m_interruptions = 0;
    bool m_sendsWait = true;
};
