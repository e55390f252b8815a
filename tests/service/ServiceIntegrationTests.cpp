// The service as a viewer meets it: lxframed started as a process, a real socket, the
// client library on the other end.

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "ServiceTestSupport.h"
#include "client/LXFrameServiceClient.h"
#include "service/LXVideoFrameProtocols.h"
#include "support/Fixtures.h"

using namespace lxkit::test;
using namespace std::chrono_literals;
namespace Key = LXVideoFrameKey;

namespace {

/// Collects replies as the client's thread hands them over.
class ReplyLog {
public:
    LXFrameServiceClient::ReplyHandler handler() {
        return [this](const PropertyDictionary& reply) {
            std::lock_guard lock(m_mutex);
            m_replies.push_back(reply);
            m_changed.notify_all();
        };
    }
    /// Waits until a final reply with `token` has come, or the time is up.
    bool waitForFinal(const PropertyValue& token, std::chrono::milliseconds timeout = 30s) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return hasFinal(token); });
    }
    bool waitForCount(size_t count, std::chrono::milliseconds timeout = 30s) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_replies.size() >= count; });
    }
    std::vector<PropertyDictionary> replies() {
        std::lock_guard lock(m_mutex);
        return m_replies;
    }
    std::vector<PropertyDictionary> repliesFor(const PropertyValue& token) {
        std::vector<PropertyDictionary> matching;
        for (auto& reply : replies()) {
            if (*PropertyValueForKey(reply, Key::token) == token)
                matching.push_back(reply);
        }
        return matching;
    }

private:
    bool hasFinal(const PropertyValue& token) {
        for (auto& reply : m_replies) {
            if (*PropertyValueForKey(reply, Key::token) == token && PropertyValueForKey(reply, Key::completed))
                return true;
        }
        return false;
    }
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<PropertyDictionary> m_replies;
};

PropertyDictionary framesRequest(const NSData& movie, PropertyValue token, int32_t count, int32_t interval) {
    return {{Key::movieData, movie},
            {Key::token, std::move(token)},
            {Key::frameSize, "{320, 240}"},
            {Key::frameCount, PropertyValue::number(count)},
            {Key::interval, PropertyValue::number(interval)}};
}

NSData sampleBytes() { return NSData::dataWithVector(readFile(sampleMovie())); }

std::unique_ptr<LXFrameServiceClient> spawn(ReplyLog& log) {
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
            execl(binary("lxframed").c_str(), "lxframed", "--listen", ("unix:path=" + m_socketPath).c_str(), nullptr);
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
    bool running() { return waitpid(m_pid, nullptr, WNOHANG) == 0; }

private:
    TemporaryFolder m_folder;
    std::string m_socketPath;
    pid_t m_pid = -1;
};

std::unique_ptr<LXFrameServiceClient> connect(const ListeningService& service, ReplyLog& log) {
    auto client = LXFrameServiceClient::connectToAddress(service.address(), log.handler());
    EXPECT_FALSE(client.isError()) << (client.isError() ? client.error().message : "");
    return client.isError() ? nullptr : client.releaseValue();
}

TEST(Service, StreamsOnePngPerReplyThenTheFinalReply) {
    ReplyLog log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    client->processRequest(framesRequest(sampleBytes(), "a", 3, 2000));
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
    ReplyLog log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    client->processRequest(framesRequest(bytes, "big", 2, 1000));
    ASSERT_TRUE(log.waitForFinal("big"));
    auto replies = log.replies();
    ASSERT_EQ(replies.size(), 3u);
    EXPECT_EQ(*PropertyValueForKey(replies[2], Key::completed), PropertyValue::boolean(true));
    const PropertyValue* frames = PropertyValueForKey(replies[0], Key::frames);
    EXPECT_NE(PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data), nullptr);
}

TEST(Service, ACancelStopsTheJobAndTheNextRequestRunsInFull) {
    ReplyLog log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    client->processRequest(framesRequest(sampleBytes(), "long", 250, 40));
    ASSERT_TRUE(log.waitForCount(1));
    client->cancelRequest();
    client->processRequest(framesRequest(sampleBytes(), "next", 2, 500));
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

    ReplyLog log;
    auto client = spawn(log);
    ASSERT_TRUE(client);
    for (size_t i = 0; i < inputs.size(); ++i) {
        auto token = PropertyValue::number(int32_t(i));
        client->processRequest(framesRequest(inputs[i], token, 2, 3000));
        ASSERT_TRUE(log.waitForFinal(token)) << "input " << i;
    }
    client->processRequest(framesRequest(sampleBytes(), "after", 1, 0));
    ASSERT_TRUE(log.waitForFinal("after"));
    EXPECT_EQ(log.repliesFor("after").size(), 2u);
}

TEST(Service, RepliesGoToTheConnectionAcceptedLast) {
    ListeningService service;
    ReplyLog firstLog, secondLog;
    auto first = connect(service, firstLog);
    ASSERT_TRUE(first);
    first->processRequest(framesRequest(sampleBytes(), "warm-up", 1, 0));
    ASSERT_TRUE(firstLog.waitForFinal("warm-up"));

    auto second = connect(service, secondLog);
    ASSERT_TRUE(second);
    // The second connection is accepted before the first sends again.
    usleep(200'000);
    first->processRequest(framesRequest(sampleBytes(), "moved", 2, 1000));
    ASSERT_TRUE(secondLog.waitForFinal("moved"));
    EXPECT_EQ(secondLog.repliesFor("moved").size(), 3u);
    EXPECT_TRUE(firstLog.repliesFor("moved").empty());
    EXPECT_TRUE(first->isConnected());
}

TEST(Service, OutlivesAClientThatLeavesMidJob) {
    ListeningService service;
    {
        ReplyLog log;
        auto leaving = connect(service, log);
        ASSERT_TRUE(leaving);
        leaving->processRequest(framesRequest(sampleBytes(), "abandoned", 200, 40));
        ASSERT_TRUE(log.waitForCount(1));
    }
    ReplyLog log;
    auto next = connect(service, log);
    ASSERT_TRUE(next);
    next->cancelRequest();
    next->processRequest(framesRequest(sampleBytes(), "served", 1, 0));
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
        ReplyLog log;
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
    ReplyLog log;
    auto client = LXFrameServiceClient::spawnService(binary("lxframed").string(), log.handler(), [&](const std::string& why) {
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

} // namespace
