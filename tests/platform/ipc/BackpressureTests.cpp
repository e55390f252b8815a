// A peer that stops reading must hold up the sender instead of growing its memory, and
// an interruption (a cancel, in the service) must release the sender at once.

#include <atomic>
#include <chrono>
#include <gio/gunixconnection.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/ipc/DeliveryThread.h"
#include "platform/ipc/GDBusXPCConnection.h"
#include "platform/ipc/NSXPCListener.h"

using namespace std::chrono_literals;

namespace {

/// The client half of a D-Bus connection that authenticates by hand and then never
/// reads another byte.
class SilentPeer {
public:
    explicit SilentPeer(int fd) {
        GError* error = nullptr;
        m_socket = GObjectRef<GSocket>::adopt(g_socket_new_from_fd(fd, &error));
        m_connection = GObjectRef<GSocketConnection>::adopt(g_socket_connection_factory_create_connection(m_socket.get()));
        m_ok = g_unix_connection_send_credentials(G_UNIX_CONNECTION(m_connection.get()), nullptr, &error);
        g_clear_error(&error);
        if (!m_ok)
            return;
        char uid[32];
        std::string hex;
        snprintf(uid, sizeof uid, "%u", getuid());
        for (const char* c = uid; *c; ++c) {
            char pair[3];
            snprintf(pair, sizeof pair, "%02x", *c);
            hex += pair;
        }
        // GSocket made the descriptor non-blocking; its own calls wait as needed.
        std::string auth = "AUTH EXTERNAL " + hex + "\r\n";
        m_ok = g_socket_send(m_socket.get(), auth.data(), auth.size(), nullptr, nullptr) == gssize(auth.size());
        char answer[256] = {};
        gssize n = g_socket_receive(m_socket.get(), answer, sizeof answer - 1, nullptr, nullptr);
        m_ok = m_ok && n > 2 && std::string(answer, size_t(n)).rfind("OK ", 0) == 0;
        m_ok = m_ok && g_socket_send(m_socket.get(), "BEGIN\r\n", 7, nullptr, nullptr) == 7;
    }
    bool authenticated() const { return m_ok; }
    void leave() { g_socket_close(m_socket.get(), nullptr); }

private:
    GObjectRef<GSocket> m_socket;
    GObjectRef<GSocketConnection> m_connection;
    bool m_ok = false;
};

TEST(Backpressure, ASenderWaitsForAPeerThatStopsReadingUntilInterrupted) {
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
    std::unique_ptr<SilentPeer> peer;
    std::thread handshake([&] { peer = std::make_unique<SilentPeer>(fds[1]); });

    DeliveryThread delivery;
    std::shared_ptr<GDBusXPCConnection> connection;
    delivery.runAndWait([&] {
        auto socket = GObjectRef<GSocket>::adopt(g_socket_new_from_fd(fds[0], nullptr));
        auto stream = GObjectRef<GSocketConnection>::adopt(g_socket_connection_factory_create_connection(socket.get()));
        auto observer = CreateSameUserAuthObserver();
        GCharHandle guid(g_dbus_generate_guid());
        auto raw = GObjectRef<GDBusConnection>::adopt(g_dbus_connection_new_sync(
            G_IO_STREAM(stream.get()), guid.get(), G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_SERVER, observer.get(),
            nullptr, nullptr));
        ASSERT_TRUE(raw);
        connection = GDBusXPCConnection::create(std::move(raw));
        connection->setRemoteObjectInterface(NSXPCInterface("io.lxkit.Test", "/io/lxkit/Test", {{"take", "Take", 1}}));
        connection->resume();
    });
    handshake.join();
    ASSERT_TRUE(peer && peer->authenticated());
    ASSERT_TRUE(connection);

    std::atomic<int> sent{0};
    std::atomic<bool> stop{false};
    std::thread sender([&] {
        PropertyDictionary message{{"data", NSData::dataWithVector(std::vector<uint8_t>(1 << 20, 0x5a))}};
        while (!stop && sent < 200) {
            connection->sendMessage("take", {PropertyValue(message)});
            ++sent;
        }
    });

    // The socket's buffers take a few messages; then the sender has to wait.
    std::this_thread::sleep_for(1500ms);
    int stalledAt = sent;
    EXPECT_LT(stalledAt, 20) << "the sender ran ahead of a peer that reads nothing";
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(sent.load(), stalledAt);

    // An interruption releases the waiting send, and the next one waits again.
    connection->interruptSend();
    for (int i = 0; i < 100 && sent == stalledAt; ++i)
        std::this_thread::sleep_for(10ms);
    EXPECT_EQ(sent.load(), stalledAt + 1);
    std::this_thread::sleep_for(300ms);
    EXPECT_EQ(sent.load(), stalledAt + 1);

    // The peer leaving releases it for good: sends to a closed connection are dropped.
    stop = true;
    peer->leave();
    sender.join();
    EXPECT_TRUE(connection->isClosed());
    delivery.runAndWait([&] { connection.reset(); });
}

} // namespace
