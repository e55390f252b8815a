#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/core/ErrorOr.h"
#include "platform/ipc/DeliveryThread.h"
#include "platform/ipc/GDBusXPCConnection.h"

class NSXPCListener;

class NSXPCListenerDelegate {
public:
    virtual ~NSXPCListenerDelegate() = default;
    /// Asked on the delivery thread for every new connection; the connection is served
    /// only when this returns true.
    virtual bool shouldAcceptNewConnection(NSXPCListener& listener,
                                           std::shared_ptr<NSXPCConnection> connection) = 0;
};

/// Accepts peer-to-peer D-Bus connections from peers of the same user: either any
/// number of them on a GDBus server address, or the one peer at the other end of an
/// inherited connected socket. Connections are accepted and served on a delivery thread
/// of the listener's own; every accepted connection stays open until its peer goes, and
/// is released as soon as it has gone.
class NSXPCListener {
public:
    /// Listens on a GDBus server address such as "unix:path=/run/user/1000/lxframed".
    /// A socket file the listener makes can be reached by its user only. Its delivery
    /// thread runs the process's default main context, so a process has at most one
    /// listening listener at a time.
    static ErrorOr<std::unique_ptr<NSXPCListener>> listenerWithAddress(const std::string& address);
    /// Serves the connected socket `fd`, which the listener takes over.
    static ErrorOr<std::unique_ptr<NSXPCListener>> listenerWithConnectedSocket(int fd);
    ~NSXPCListener();

    void setDelegate(NSXPCListenerDelegate* delegate) { m_delegate = delegate; }
    /// Starts accepting connections; returns at once. Incoming messages are delivered
    /// on the delivery thread from here on.
    ErrorOr<bool> resume();
    /// The address a client connects to (listening listeners only).
    std::string clientAddress() const;
    /// Called on the delivery thread when the peer of a socket listener has gone, after
    /// which nobody can reach the listener any more.
    void setLastPeerGoneHandler(std::function<void()> handler) { m_lastPeerGone = std::move(handler); }
    /// Called on the delivery thread by `resume()` of a listening listener, once its
    /// socket exists and before any peer can be let in (lxframed confines itself here).
    void setWillAcceptHandler(std::function<void()> handler) { m_willAccept = std::move(handler); }

private:
    explicit NSXPCListener(DeliveryThread::Context context);
    void accept(GObjectRef<GDBusConnection> connection);
    static gboolean handleNewConnection(GDBusServer*, GDBusConnection*, gpointer self);

    std::unique_ptr<DeliveryThread> m_delivery;
    NSXPCListenerDelegate* m_delegate = nullptr;
    std::string m_address;
    int m_socket = -1;
    GObjectRef<GDBusServer> m_server;
    GObjectRef<GDBusAuthObserver> m_observer;
    std::vector<std::shared_ptr<GDBusXPCConnection>> m_connections;
    std::function<void()> m_lastPeerGone;
    std::function<void()> m_willAccept;
};

/// An observer that lets in peers of this process's user only, through the EXTERNAL
/// mechanism (kernel-checked credentials).
GObjectRef<GDBusAuthObserver> CreateSameUserAuthObserver();
