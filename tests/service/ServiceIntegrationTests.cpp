// The service as a viewer meets it: lxframed started as a process, a real socket, the
// client library on the other end.

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <filesystem>
#include <fstream>
#include <mutex>

#include <gio/gunixconnection.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ServiceTestSupport.h"
#include "client/LXFrameServiceClient.h"
#include "platform/core/GObjectRef.h"
#include "platform/ipc/PropertyListVariant.h"
#include "service/LXVideoFrameProtocols.h"
#include "support/Fixtures.h"

using namespace lxkit::test;
using namespace std::chrono_literals;
namespace Key = LXVideoFrameKey;

namespace {

PropertyDictionary framesRequest(const NSData& movie, PropertyValue token, int32_t count, int32_t interval) {
    return {{Key::movieData, movie},
            {Key::token, std::move(token)},
            {Key::frameSize, "{320, 240}"},
            {Key::frameCount, PropertyValue::number(count)},
            {Key::interval, PropertyValue::number(interval)}};
}

NSData sampleBytes() {
    return NSData::dataWithVector(readFile(sampleMovie()));
}

std::unique_ptr<LXFrameServiceClient> spawn(ServiceReplies& log) {
    auto client = LXFrameServiceClient::spawnService(binary("lxframed").string(), log.handler());
    EXPECT_FALSE(client.isError()) << (client.isError() ? client.error().message : "");
    return client.isError() ? nullptr : client.releaseValue();
}

/// lxframed listening on a socket file in a folder of its own.
class ListeningService {
public:
    ListeningService() {
        m_socketPath = (m_folder / "lxframed.socket").string();
        m_pid = fork();
        if (m_pid == 0) {
            execl(binary("lxframed").c_str(), "lxframed", "--listen", ("unix:path=" + m_socketPath).c_str(),
                  nullptr);
            _exit(127);
        }
        for (int i = 0; i < 500 && access(m_socketPath.c_str(), F_OK) != 0; ++i)
            usleep(10'000);
    }
    ~ListeningService() {
        kill(m_pid, SIGTERM);
        waitpid(m_pid, nullptr, 0);
    }
    std::string address() const { return "unix:path=" + m_socketPath; }
    const std::string& socketPath() const { return m_socketPath; }
    pid_t pid() const { return m_pid; }
    bool running() { return waitpid(m_pid, nullptr, WNOHANG) == 0; }

private:
    TemporaryFolder m_folder;
    std::string m_socketPath;
    pid_t m_pid = -1;
};

std::unique_ptr<LXFrameServiceClient> connect(const ListeningService& service, ServiceReplies& log) {
    auto client = LXFrameServiceClient::connectToAddress(service.address(), log.handler());
    EXPECT_FALSE(client.isError()) << (client.isError() ? client.error().message : "");
    return client.isError() ? nullptr : client.releaseValue();
}

TEST(Service, StreamsOnePngPerReplyThenTheFinalReply) {
    ServiceReplies log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    ASSERT_FALSE(client->processRequest(framesRequest(sampleBytes(), "a", 3, 2000)).isError());
    ASSERT_TRUE(log.waitForFinal("a"));
    auto replies = log.replies();
    ASSERT_EQ(replies.size(), 4u);
    for (size_t i = 0; i < 3; ++i) {
        const PropertyValue* frames = PropertyValueForKey(replies[i], Key::frames);
        ASSERT_TRUE(frames && frames->array() && frames->array()->size() == 1);
        const PropertyValue* png = PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data);
        ASSERT_TRUE(png && png->data());
        EXPECT_EQ(PngDimensions(*png->data()), std::make_pair(320u, 240u));
    }
    EXPECT_EQ(*PropertyValueForKey(replies[3], Key::completed), PropertyValue::boolean(true));
}

TEST(Service, LargeMoviesTravelAsAMemfd) {
    // Well over the inline limit, so the bytes go as a sealed memfd.
    auto movie = makeMovie("large.mov", "-f lavfi -i testsrc2=size=320x240:rate=25:duration=3 "
                                        "-c:v rawvideo -pix_fmt uyvy422");
    auto bytes = NSData::dataWithVector(readFile(movie));
    ASSERT_GT(bytes.length(), 8u * 1024 * 1024);
    ServiceReplies log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    ASSERT_FALSE(client->processRequest(framesRequest(bytes, "big", 2, 1000)).isError());
    ASSERT_TRUE(log.waitForFinal("big"));
    auto replies = log.replies();
    ASSERT_EQ(replies.size(), 3u);
    EXPECT_EQ(*PropertyValueForKey(replies[2], Key::completed), PropertyValue::boolean(true));
    const PropertyValue* frames = PropertyValueForKey(replies[0], Key::frames);
    EXPECT_NE(PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data), nullptr);
}

TEST(Service, ACancelStopsTheJobAndTheNextRequestRunsInFull) {
    ServiceReplies log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    ASSERT_FALSE(client->processRequest(framesRequest(sampleBytes(), "long", 250, 40)).isError());
    ASSERT_TRUE(log.waitForCount(1));
    client->cancelRequest();
    ASSERT_FALSE(client->processRequest(framesRequest(sampleBytes(), "next", 2, 500)).isError());
    ASSERT_TRUE(log.waitForFinal("next"));
    auto cancelled = log.repliesFor("long");
    EXPECT_LT(cancelled.size(), 250u);
    for (auto& reply : cancelled)
        EXPECT_EQ(PropertyValueForKey(reply, Key::completed), nullptr);
    EXPECT_EQ(log.repliesFor("next").size(), 3u);
}

TEST(Service, HostileBytesNeverStopTheService) {
    auto sample = readFile(sampleMovie());
    std::vector<NSData> inputs = {
        NSData::dataWithVector(std::vector<uint8_t>(sample.begin(), sample.begin() + sample.size() / 2)),
        NSData::dataWithVector(std::vector<uint8_t>(sample.begin(), sample.begin() + 64)),
        NSData::dataWithVector(std::vector<uint8_t>(4096, 0xff)),
        NSData::dataWithVector({}),
    };
    // The box sizes of the first atoms made absurd.
    auto corrupt = sample;
    for (size_t at = 0; at + 4 < corrupt.size() && at < 4096; at += 97)
        corrupt[at] ^= 0x5a;
    inputs.push_back(NSData::dataWithVector(corrupt));

    ServiceReplies log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    for (size_t i = 0; i < inputs.size(); ++i) {
        auto token = PropertyValue::number(int32_t(i));
        ASSERT_FALSE(client->processRequest(framesRequest(inputs[i], token, 2, 3000)).isError());
        ASSERT_TRUE(log.waitForFinal(token)) << "input " << i;
    }
    ASSERT_FALSE(client->processRequest(framesRequest(sampleBytes(), "after", 1, 0)).isError());
    ASSERT_TRUE(log.waitForFinal("after"));
    EXPECT_EQ(log.repliesFor("after").size(), 2u);
}

TEST(Service, RepliesGoToTheConnectionAcceptedLast) {
    ListeningService service;
    ServiceReplies firstLog, secondLog;
    auto first = connect(service, firstLog);
    ASSERT_TRUE(first);
    ASSERT_FALSE(first->processRequest(framesRequest(sampleBytes(), "warm-up", 1, 0)).isError());
    ASSERT_TRUE(firstLog.waitForFinal("warm-up"));

    auto second = connect(service, secondLog);
    ASSERT_TRUE(second);
    // The second connection is accepted before the first sends again.
    usleep(200'000);
    ASSERT_FALSE(first->processRequest(framesRequest(sampleBytes(), "moved", 2, 1000)).isError());
    ASSERT_TRUE(secondLog.waitForFinal("moved"));
    EXPECT_EQ(secondLog.repliesFor("moved").size(), 3u);
    EXPECT_TRUE(firstLog.repliesFor("moved").empty());
    EXPECT_TRUE(first->isConnected());
}

TEST(Service, OutlivesAClientThatLeavesMidJob) {
    ListeningService service;
    {
        ServiceReplies log;
        auto leaving = connect(service, log);
        ASSERT_TRUE(leaving);
        ASSERT_FALSE(leaving->processRequest(framesRequest(sampleBytes(), "abandoned", 200, 40)).isError());
        ASSERT_TRUE(log.waitForCount(1));
    }
    ServiceReplies log;
    auto next = connect(service, log);
    ASSERT_TRUE(next);
    next->cancelRequest();
    ASSERT_FALSE(next->processRequest(framesRequest(sampleBytes(), "served", 1, 0)).isError());
    ASSERT_TRUE(log.waitForFinal("served"));
    EXPECT_TRUE(service.running());
}

TEST(Service, ItsSocketAndItsDoorAreForItsUserOnly) {
    ListeningService service;
    struct stat status {};
    ASSERT_EQ(stat(service.socketPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 077, 0u);
    if (getuid() != 0)
        GTEST_SKIP() << "another user's peer can only be played by root";
    // Even with the file opened to everyone, a peer of another user is turned away.
    chmod(service.socketPath().c_str(), 0777);
    pid_t child = fork();
    if (child == 0) {
        if (setgid(65534) != 0 || setuid(65534) != 0)
            _exit(3);
        ServiceReplies log;
        auto client = LXFrameServiceClient::connectToAddress(service.address(), log.handler());
        _exit(client.isError() ? 0 : 1);
    }
    int status2 = 0;
    waitpid(child, &status2, 0);
    ASSERT_TRUE(WIFEXITED(status2));
    EXPECT_EQ(WEXITSTATUS(status2), 0) << "a peer of another user got in";
}

TEST(Service, TheClientHearsWhenTheServiceDies) {
    std::mutex mutex;
    std::condition_variable gone;
    std::string reason;
    ServiceReplies log;
    auto client = LXFrameServiceClient::spawnService(binary("lxframed").string(), log.handler(),
                                                     [&](const std::string& why) {
                                                         std::lock_guard lock(mutex);
                                                         reason = why;
                                                         gone.notify_all();
                                                     });
    ASSERT_FALSE(client.isError());
    kill(client.value()->servicePid(), SIGKILL);
    std::unique_lock lock(mutex);
    ASSERT_TRUE(gone.wait_for(lock, 10s, [&] { return !reason.empty(); }));
    EXPECT_NE(reason.find("signal"), std::string::npos) << reason;
}

TEST(Service, RefusesToStartWithoutAPlaceToServe) {
    EXPECT_EQ(runCommand(binary("lxframed").string() + " 2>/dev/null"), 2);
    EXPECT_EQ(runCommand(binary("lxframed").string() + " --fd 0 </dev/null 2>/dev/null"), 2);
    EXPECT_EQ(runCommand(binary("lxframed").string() + " --fd banana 2>/dev/null"), 2);
    EXPECT_EQ(runCommand(binary("lxframed").string() + " --help >/dev/null"), 0);
}

// What a process holds, read from /proc.
size_t OpenDescriptors(pid_t pid) {
    std::error_code error;
    size_t count = 0;
    for (auto it = std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd", error);
         !error && it != std::filesystem::directory_iterator(); it.increment(error))
        ++count;
    return count;
}

size_t ResidentKiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stoul(line.substr(6));
    }
    return 0;
}

/// A peer that connects to a listening service, authenticates and sends messages by
/// hand, and never reads a byte of what comes back.
class StalledPeer {
public:
    explicit StalledPeer(const std::string& socketPath) {
        int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "%s", socketPath.c_str());
        if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            close(fd);
            return;
        }
        m_socket = GObjectRef<GSocket>::adopt(g_socket_new_from_fd(fd, nullptr));
        m_stream = GObjectRef<GSocketConnection>::adopt(
            g_socket_connection_factory_create_connection(m_socket.get()));
        if (!g_unix_connection_send_credentials(G_UNIX_CONNECTION(m_stream.get()), nullptr, nullptr))
            return;
        std::string uid = std::to_string(getuid()), hex;
        for (char c : uid) {
            char pair[3];
            std::snprintf(pair, sizeof pair, "%02x", c);
            hex += pair;
        }
        if (!sendAll("AUTH EXTERNAL " + hex + "\r\n"))
            return;
        char answer[256] = {};
        gssize n = g_socket_receive(m_socket.get(), answer, sizeof answer - 1, nullptr, nullptr);
        m_ok = n > 2 && std::string(answer, size_t(n)).rfind("OK ", 0) == 0 && sendAll("BEGIN\r\n");
    }
    bool authenticated() const { return m_ok; }

    /// Sends one-way ProcessRequest with `request` inline, whatever its size.
    bool sendRequest(const PropertyDictionary& request) {
        auto message = GObjectRef<GDBusMessage>::adopt(g_dbus_message_new_method_call(
            nullptr, "/io/lxkit/VideoFrameService", "io.lxkit.VideoFrameService1", "ProcessRequest"));
        GVariant* dictionary = VariantFromPropertyDictionary(request, nullptr);
        g_dbus_message_set_body(message.get(), g_variant_new_tuple(&dictionary, 1));
        g_dbus_message_set_flags(message.get(), G_DBUS_MESSAGE_FLAGS_NO_REPLY_EXPECTED);
        g_dbus_message_set_serial(message.get(), ++m_serial);
        gsize size = 0;
        GCharHandle blob(reinterpret_cast<char*>(
            g_dbus_message_to_blob(message.get(), &size, G_DBUS_CAPABILITY_FLAGS_NONE, nullptr)));
        return blob && sendAll(std::string_view(blob.get(), size));
    }

private:
    bool sendAll(std::string_view bytes) {
        GError* error = nullptr;
        gsize sent = 0;
        bool ok = g_output_stream_write_all(g_io_stream_get_output_stream(G_IO_STREAM(m_stream.get())),
                                            bytes.data(), bytes.size(), &sent, nullptr, &error);
        g_clear_error(&error);
        return ok && sent == bytes.size();
    }
    GObjectRef<GSocket> m_socket;
    GObjectRef<GSocketConnection> m_stream;
    uint32_t m_serial = 0;
    bool m_ok = false;
};

TEST(ServiceConnections, EveryClosedConnectionIsReleased) {
    ListeningService service;
    {
        ServiceReplies log;
        auto first = connect(service, log);
        ASSERT_TRUE(first);
        ASSERT_FALSE(first->processRequest(framesRequest(sampleBytes(), "warm-up", 1, 0)).isError());
        ASSERT_TRUE(log.waitForFinal("warm-up"));
    }
    usleep(200'000);
    size_t before = OpenDescriptors(service.pid());
    // More clients than the 1,024 descriptors a service is commonly allowed.
    for (int i = 0; i < 1100; ++i) {
        ServiceReplies log;
        ASSERT_TRUE(connect(service, log)) << "client " << i;
    }
    size_t after = 0;
    for (int i = 0; i < 100; ++i) {
        after = OpenDescriptors(service.pid());
        if (after <= before + 2)
            break;
        usleep(50'000);
    }
    EXPECT_LE(after, before + 2) << "descriptors before: " << before;
    ServiceReplies log;
    auto last = connect(service, log);
    ASSERT_TRUE(last);
    ASSERT_FALSE(last->processRequest(framesRequest(sampleBytes(), "still", 1, 0)).isError());
    EXPECT_TRUE(log.waitForFinal("still"));
}

TEST(ServiceConnections, AClientThatStopsReadingDoesNotHoldANewerOne) {
    ListeningService service;
    StalledPeer stalled(service.socketPath());
    ASSERT_TRUE(stalled.authenticated());
    // Far more PNG replies than the socket's buffers hold: the job soon waits for the
    // stalled peer to read.
    auto request = framesRequest(sampleBytes(), "stalled", 250, 40);
    request[Key::frameSize] = "{640, 480}";
    ASSERT_TRUE(stalled.sendRequest(request));
    usleep(1'500'000);

    ServiceReplies log;
    auto newer = connect(service, log);
    ASSERT_TRUE(newer);
    newer->cancelRequest();
    ASSERT_FALSE(newer->processRequest(framesRequest(sampleBytes(), "newer", 2, 1000)).isError());
    ASSERT_TRUE(log.waitForFinal("newer", 20s)) << "the newer client was not served";
    auto replies = log.repliesFor("newer");
    ASSERT_EQ(replies.size(), 3u);
    EXPECT_EQ(CompletedOf(replies.back()), true);
    // The stalled job was cancelled: no final reply of it reached anyone.
    for (auto& reply : log.repliesFor("stalled"))
        EXPECT_EQ(PropertyValueForKey(reply, Key::completed), nullptr);
}

TEST(ServiceConnections, InlineRequestsLeaveNoMemoryBehind) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "AddressSanitizer's quarantine keeps freed memory resident; the message-ownership tests "
                    "and LeakSanitizer check this instead";
#endif
    ServiceReplies log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    // 2 MiB stays under the memfd threshold, so the bytes travel inside the message.
    auto movie = NSData::dataWithVector(std::vector<uint8_t>(2 * 1024 * 1024, 0x47));
    auto send = [&](int i) {
        auto token = PropertyValue::number(i);
        ASSERT_FALSE(client->processRequest(framesRequest(movie, token, 1, 0)).isError());
        ASSERT_TRUE(log.waitForFinal(token));
    };
    for (int i = 0; i < 3; ++i)
        send(i);
    size_t before = ResidentKiB(client->servicePid());
    for (int i = 3; i < 23; ++i)
        send(i);
    size_t after = ResidentKiB(client->servicePid());
    // Twenty messages of 2 MiB kept would add 40 MiB; allow for the allocator's slack.
    EXPECT_LT(after, before + 12 * 1024) << "RSS before " << before << " KiB, after " << after << " KiB";
}

TEST(ServiceBounds, AnInlineArrayOverTheDBusLimitGetsTheNeutralFinalReply) {
    ListeningService service;
    StalledPeer sender(service.socketPath());
    ASSERT_TRUE(sender.authenticated());
    // The replies go to the connection accepted last: this one.
    ServiceReplies log;
    auto client = connect(service, log);
    ASSERT_TRUE(client);
    ASSERT_FALSE(client->processRequest(framesRequest(sampleBytes(), "accepted", 1, 0)).isError());
    ASSERT_TRUE(log.waitForFinal("accepted"));

    // GDBus itself takes arrays up to 128 MiB; D-Bus allows 64 MiB. Served, a request
    // for no frames would complete with true.
    auto request =
        framesRequest(NSData::dataWithVector(std::vector<uint8_t>(65 * 1024 * 1024, 1)), "over", 0, 0);
    ASSERT_TRUE(sender.sendRequest(request));
    ASSERT_TRUE(log.waitForFinal("over", 20s));
    auto replies = log.repliesFor("over");
    ASSERT_EQ(replies.size(), 1u);
    EXPECT_EQ(CompletedOf(replies[0]), false);
    ASSERT_FALSE(client->processRequest(framesRequest(sampleBytes(), "after", 1, 0)).isError());
    ASSERT_TRUE(log.waitForFinal("after"));
    EXPECT_EQ(CompletedOf(log.repliesFor("after").back()), true);
}

TEST(ServiceBounds, TheClientRefusesWhatDBusCannotCarry) {
    ServiceReplies log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    // Each piece stays inline, and together they make an array over 64 MiB.
    PropertyArray pieces(17, PropertyValue(NSData::dataWithVector(std::vector<uint8_t>(4 * 1024 * 1024, 2))));
    auto request = framesRequest(sampleBytes(), PropertyValue(pieces), 1, 0);
    auto sent = client->processRequest(request);
    ASSERT_TRUE(sent.isError());
    EXPECT_NE(sent.error().message.find("64.0 MiB"), std::string::npos) << sent.error().message;
    // The connection stays usable.
    ASSERT_FALSE(client->processRequest(framesRequest(sampleBytes(), "fine", 1, 0)).isError());
    EXPECT_TRUE(log.waitForFinal("fine"));
}

} // namespace
