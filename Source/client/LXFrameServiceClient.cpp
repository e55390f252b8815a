#include "client/LXFrameServiceClient.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>

#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/ipc/DeliveryThread.h"
#include "platform/ipc/GDBusXPCConnection.h"
#include "service/LXVideoFrameProtocols.h"

extern char** environ;

namespace {

/// Hands the client's incoming replies to the client's handler.
class ReplyReceiver final : public NSXPCExportedObject {
public:
    explicit ReplyReceiver(LXFrameServiceClient::ReplyHandler handler) : m_handler(std::move(handler)) {}
    void receiveMessage(std::string_view selector, const PropertyArray& arguments,
                        const NSXPCMessageFacts&) override {
        if (selector == "processReply" && !arguments.empty() && arguments[0].dictionary() && m_handler)
            m_handler(*arguments[0].dictionary());
    }

private:
    LXFrameServiceClient::ReplyHandler m_handler;
};

// The descriptor number the service finds its end of the socket pair at.
constexpr int kServiceSocket = 3;

} // namespace

LXFrameServiceClient::LXFrameServiceClient() : m_delivery(std::make_unique<DeliveryThread>()) {}

LXFrameServiceClient::~LXFrameServiceClient() {
    if (m_connection) {
        m_delivery->runAndWait([this] {
            m_connection->setClosedHandler(nullptr);
            m_connection->invalidate();
        });
    }
    m_delivery.reset();
    m_connection.reset();
    if (m_servicePid > 0) {
        // The service leaves by itself once its peer is gone; wait a little for that,
        // then make sure.
        std::lock_guard lock(m_reapMutex);
        if (!reapService(std::chrono::milliseconds(500))) {
            kill(m_servicePid, SIGKILL);
            waitpid(m_servicePid, &m_exitStatus, 0);
        }
    }
}

ErrorOr<std::unique_ptr<LXFrameServiceClient>>
LXFrameServiceClient::spawnService(const std::string& servicePath, ReplyHandler onReply,
                                   DisconnectHandler onDisconnect) {
    if (access(servicePath.c_str(), X_OK) != 0)
        return makeError("cannot run the frame service " + servicePath + ": " + std::strerror(errno));
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        return makeError(std::string("cannot make a socket pair: ") + std::strerror(errno));

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    // dup2 clears close-on-exec on the copy, so only the service's end crosses over.
    posix_spawn_file_actions_adddup2(&actions, sockets[1], kServiceSocket);
    std::string descriptor = std::to_string(kServiceSocket);
    char* arguments[] = {const_cast<char*>(servicePath.c_str()), const_cast<char*>("--fd"), descriptor.data(),
                         nullptr};
    // A session of its own keeps the terminal's Ctrl-C, meant for the client, from
    // killing the service before the client can cancel; it leaves once the client's
    // end of the socket closes.
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
    pid_t pid = 0;
    int spawned = posix_spawn(&pid, servicePath.c_str(), &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(sockets[1]);
    if (spawned != 0) {
        close(sockets[0]);
        return makeError("cannot start the frame service " + servicePath + ": " + std::strerror(spawned));
    }

    auto client = std::unique_ptr<LXFrameServiceClient>(new LXFrameServiceClient());
    client->m_servicePid = pid;
    client->m_onReply = std::move(onReply);
    client->m_onDisconnect = std::move(onDisconnect);
    return connectStream(std::move(client), sockets[0], {});
}

ErrorOr<std::unique_ptr<LXFrameServiceClient>>
LXFrameServiceClient::connectToAddress(const std::string& address, ReplyHandler onReply,
                                       DisconnectHandler onDisconnect) {
    auto client = std::unique_ptr<LXFrameServiceClient>(new LXFrameServiceClient());
    client->m_onReply = std::move(onReply);
    client->m_onDisconnect = std::move(onDisconnect);
    return connectStream(std::move(client), -1, address);
}

ErrorOr<std::unique_ptr<LXFrameServiceClient>>
LXFrameServiceClient::connectStream(std::unique_ptr<LXFrameServiceClient> client, int socket,
                                    const std::string& address) {
    std::optional<Error> failure;
    auto* self = client.get();
    client->m_delivery->runAndWait([&] {
        GError* rawError = nullptr;
        GObjectRef<GDBusConnection> connection;
        auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_DELAY_MESSAGE_PROCESSING);
        if (socket >= 0) {
            auto gsocket = GObjectRef<GSocket>::adopt(g_socket_new_from_fd(socket, &rawError));
            if (!gsocket) {
                close(socket);
            } else {
                auto stream = GObjectRef<GSocketConnection>::adopt(
                    g_socket_connection_factory_create_connection(gsocket.get()));
                connection = GObjectRef<GDBusConnection>::adopt(g_dbus_connection_new_sync(
                    G_IO_STREAM(stream.get()), nullptr, flags, nullptr, nullptr, &rawError));
            }
        } else {
            connection = GObjectRef<GDBusConnection>::adopt(
                g_dbus_connection_new_for_address_sync(address.c_str(), flags, nullptr, nullptr, &rawError));
        }
        GErrorHandle error(rawError);
        if (!connection) {
            failure = makeError(std::string("cannot connect to the frame service: ") +
                                (error ? error->message : "unknown error") + self->exitReason());
            return;
        }
        self->m_connection = GDBusXPCConnection::create(std::move(connection));
        self->m_connection->setRemoteObjectInterface(LXVideoFrameServiceInterface());
        self->m_connection->setExportedInterface(LXVideoFrameClientInterface());
        self->m_connection->setExportedObject(std::make_shared<ReplyReceiver>(self->m_onReply));
        self->m_connection->setClosedHandler([self] {
            if (self->m_onDisconnect)
                self->m_onDisconnect("the frame service closed the connection" + self->exitReason());
        });
        self->m_connection->resume();
        g_dbus_connection_start_message_processing(self->m_connection->connection());
    });
    if (failure)
        return *failure;
    return client;
}

bool LXFrameServiceClient::reapService(std::chrono::milliseconds patience) {
    auto deadline = std::chrono::steady_clock::now() + patience;
    while (!m_reaped) {
        if (waitpid(m_servicePid, &m_exitStatus, WNOHANG) == m_servicePid)
            m_reaped = true;
        else if (std::chrono::steady_clock::now() >= deadline)
            break;
        else
            usleep(5'000);
    }
    return m_reaped;
}

std::string LXFrameServiceClient::exitReason() {
    if (m_servicePid <= 0)
        return {};
    std::lock_guard lock(m_reapMutex);
    // Give a service that is on its way out a moment to finish.
    if (!reapService(std::chrono::milliseconds(100)))
        return {};
    if (WIFSIGNALED(m_exitStatus))
        return std::string(" (the service was killed by signal ") + strsignal(WTERMSIG(m_exitStatus)) + ")";
    return " (the service exited with status " + std::to_string(WEXITSTATUS(m_exitStatus)) + ")";
}

ErrorOr<bool> LXFrameServiceClient::processRequest(const PropertyDictionary& request) {
    if (!m_connection)
        return makeError("not connected to the frame service");
    auto sent = m_connection->trySendMessage("processRequest", {PropertyValue(request)});
    if (sent.isError())
        return makeError("cannot send the request: " + sent.error().message);
    return true;
}

void LXFrameServiceClient::cancelRequest() {
    if (m_connection)
        m_connection->sendMessage("cancelRequest", {});
}

bool LXFrameServiceClient::isConnected() const {
    return m_connection && !m_connection->isClosed();
}
