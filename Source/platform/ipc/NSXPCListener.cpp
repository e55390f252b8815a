#include "platform/ipc/NSXPCListener.h"

#include <algorithm>

#include <sys/stat.h>
#include <unistd.h>

#include "platform/ipc/DeliveryThread.h"

GObjectRef<GDBusAuthObserver> CreateSameUserAuthObserver() {
    auto observer = GObjectRef<GDBusAuthObserver>::adopt(g_dbus_auth_observer_new());
    g_signal_connect(observer.get(), "allow-mechanism",
                     G_CALLBACK(+[](GDBusAuthObserver*, const char* mechanism, gpointer) -> gboolean {
                         return g_strcmp0(mechanism, "EXTERNAL") == 0;
                     }),
                     nullptr);
    g_signal_connect(
        observer.get(), "authorize-authenticated-peer",
        G_CALLBACK(+[](GDBusAuthObserver*, GIOStream*, GCredentials* credentials, gpointer) -> gboolean {
            if (!credentials)
                return FALSE;
            GError* error = nullptr;
            uid_t peer = g_credentials_get_unix_user(credentials, &error);
            GErrorHandle held(error);
            return !error && peer == getuid();
        }),
        nullptr);
    return observer;
}

NSXPCListener::NSXPCListener(DeliveryThread::Context context)
    : m_delivery(std::make_unique<DeliveryThread>(context)) {}

NSXPCListener::~NSXPCListener() {
    if (!m_delivery)
        return;
    m_delivery->runAndWait([this] {
        if (m_server)
            g_dbus_server_stop(m_server.get());
        for (auto& connection : m_connections) {
            connection->setClosedHandler(nullptr);
            connection->invalidate();
        }
        m_connections.clear();
        m_server = {};
    });
    m_delivery.reset();
    if (m_socket >= 0)
        close(m_socket);
}

ErrorOr<std::unique_ptr<NSXPCListener>> NSXPCListener::listenerWithAddress(const std::string& address) {
    // GDBusServer makes each connection on a worker thread without a context of its
    // own, so the connection's "closed" signal comes on the process's default context:
    // the delivery thread runs that one, or a closed connection would never be released.
    auto listener =
        std::unique_ptr<NSXPCListener>(new NSXPCListener(DeliveryThread::Context::ProcessDefault));
    listener->m_address = address;
    return listener;
}

ErrorOr<std::unique_ptr<NSXPCListener>> NSXPCListener::listenerWithConnectedSocket(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0 || !S_ISSOCK(status.st_mode))
        return makeError("descriptor " + std::to_string(fd) + " is not a connected socket");
    auto listener = std::unique_ptr<NSXPCListener>(new NSXPCListener(DeliveryThread::Context::Own));
    listener->m_socket = fd;
    return listener;
}

ErrorOr<bool> NSXPCListener::resume() {
    std::optional<Error> failure;
    m_delivery->runAndWait([&] {
        m_observer = CreateSameUserAuthObserver();
        GCharHandle guid(g_dbus_generate_guid());
        GError* rawError = nullptr;
        if (m_socket >= 0) {
            auto socket = GObjectRef<GSocket>::adopt(g_socket_new_from_fd(m_socket, &rawError));
            if (!socket) {
                GErrorHandle error(rawError);
                failure = makeError(std::string("cannot use the socket: ") + error->message);
                return;
            }
            m_socket = -1; // The GSocket owns it now.
            auto stream = GObjectRef<GSocketConnection>::adopt(
                g_socket_connection_factory_create_connection(socket.get()));
            auto connection = GObjectRef<GDBusConnection>::adopt(g_dbus_connection_new_sync(
                G_IO_STREAM(stream.get()), guid.get(),
                static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_SERVER |
                                                  G_DBUS_CONNECTION_FLAGS_DELAY_MESSAGE_PROCESSING),
                m_observer.get(), nullptr, &rawError));
            if (!connection) {
                GErrorHandle error(rawError);
                failure = makeError(std::string("cannot set up the connection: ") + error->message);
                return;
            }
            accept(std::move(connection));
            return;
        }
        // A socket file that the server makes is private to the user from the start.
        mode_t previous = umask(077);
        m_server = GObjectRef<GDBusServer>::adopt(g_dbus_server_new_sync(
            m_address.c_str(), G_DBUS_SERVER_FLAGS_NONE, guid.get(), m_observer.get(), nullptr, &rawError));
        umask(previous);
        if (!m_server) {
            GErrorHandle error(rawError);
            failure = makeError("cannot listen on " + m_address + ": " + error->message);
            return;
        }
        g_signal_connect(m_server.get(), "new-connection", G_CALLBACK(handleNewConnection), this);
        if (m_willAccept)
            m_willAccept();
        g_dbus_server_start(m_server.get());
    });
    if (failure)
        return *failure;
    return true;
}

std::string NSXPCListener::clientAddress() const {
    return m_server ? g_dbus_server_get_client_address(m_server.get()) : std::string();
}

gboolean NSXPCListener::handleNewConnection(GDBusServer*, GDBusConnection* connection, gpointer self) {
    static_cast<NSXPCListener*>(self)->accept(GObjectRef<GDBusConnection>::retain(connection));
    return TRUE;
}

void NSXPCListener::accept(GObjectRef<GDBusConnection> connection) {
    auto wrapped = GDBusXPCConnection::create(std::move(connection));
    bool socketPeer = !m_server;
    std::weak_ptr<GDBusXPCConnection> weak = wrapped;
    wrapped->setClosedHandler([this, weak, socketPeer] {
        auto gone = weak.lock();
        std::erase(m_connections, gone);
        if (socketPeer && m_lastPeerGone)
            m_lastPeerGone();
    });
    if (!m_delegate || !m_delegate->shouldAcceptNewConnection(*this, wrapped)) {
        wrapped->invalidate();
        return;
    }
    // A peer that left before its connection was resumed never gets a "closed" signal
    // here: it came before the connection was watched.
    if (wrapped->isClosed()) {
        wrapped->invalidate();
        if (socketPeer && m_lastPeerGone)
            m_lastPeerGone();
        return;
    }
    m_connections.push_back(wrapped);
    g_dbus_connection_start_message_processing(wrapped->connection());
}
