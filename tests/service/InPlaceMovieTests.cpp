// A movie handed to the service as its bytes (`ay`), as a sealed memfd or as the file
// itself: the same bytes must give the same replies, and a file read in place that
// changes under a running job must give neutral answers, never a crash.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <regex>
#include <sstream>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "ServiceTestSupport.h"
#include "client/LXFrameServiceClient.h"
#include "platform/ipc/FileDescriptorData.h"
#include "service/LXVideoFrameProtocols.h"
#include "support/Fixtures.h"

namespace lxkit::test {
namespace {

using namespace std::chrono_literals;
namespace Key = LXVideoFrameKey;

PropertyDictionary FramesRequest(const NSData& movie, const std::string& token, int32_t count,
                                 int32_t interval) {
    return {{Key::movieData, movie},
            {Key::token, token},
            {Key::frameSize, "{200, 150}"},
            {Key::frameCount, PropertyValue::number(count)},
            {Key::interval, PropertyValue::number(interval)},
            {Key::transforms, PropertyDictionary{{Key::rotation, PropertyValue::number(90)},
                                                 {Key::flipHorizontal, PropertyValue::boolean(true)}}}};
}

/// The PNG of each frame reply, or an empty data for a time-only entry.
std::vector<NSData> FramePngs(const std::vector<PropertyDictionary>& replies) {
    std::vector<NSData> pngs;
    for (const auto& reply : replies) {
        const PropertyValue* frames = PropertyValueForKey(reply, Key::frames);
        if (!frames)
            continue;
        const PropertyValue* data = nullptr;
        if (frames->array() && !frames->array()->empty() && (*frames->array())[0].dictionary())
            data = PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data);
        pngs.push_back(data && data->data() ? *data->data() : NSData());
    }
    return pngs;
}

/// Standard error of this process goes to a file while the object lives, so that a
/// spawned service's debug log can be read.
/// Standard error, which the spawned service inherits, read through a pipe: a
/// confined service may not write to a regular file (its file-size limit is 0).
class CapturedStandardError {
public:
    CapturedStandardError() {
        std::fflush(stderr);
        m_saved = dup(STDERR_FILENO);
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            return;
        m_readEnd = ends[0];
        fcntl(m_readEnd, F_SETFL, O_NONBLOCK);
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
    }
    ~CapturedStandardError() {
        restore();
        if (m_readEnd >= 0)
            close(m_readEnd);
    }
    /// What was written so far; the writers wrote it before the replies that the
    /// caller has waited for, so it is all in the pipe.
    std::string text() {
        restore();
        std::string all;
        char buffer[4096];
        ssize_t n;
        while (m_readEnd >= 0 && (n = read(m_readEnd, buffer, sizeof buffer)) > 0)
            all.append(buffer, size_t(n));
        return all;
    }

private:
    void restore() {
        if (m_saved < 0)
            return;
        std::fflush(stderr);
        dup2(m_saved, STDERR_FILENO);
        close(m_saved);
        m_saved = -1;
    }
    int m_saved = -1;
    int m_readEnd = -1;
};

/// The service's log once the last job's movie is closed and has said what it read: a
/// job with no movie after it is answered only after that.
std::string LogOnceTheMovieIsClosed(LXFrameServiceClient& client, ServiceReplies& replies,
                                    CapturedStandardError& captured) {
    auto sent = client.processRequest({{Key::token, "after"}, {Key::frameCount, PropertyValue::number(0)}});
    EXPECT_FALSE(sent.isError());
    EXPECT_TRUE(replies.waitForFinal("after"));
    return captured.text();
}

TEST(InPlaceMovie, TheSameBytesGiveTheSamePngsHoweverTheyTravel) {
    auto movie = makeMovie("inplace-gop12.mp4", "-f lavfi -i testsrc2=size=320x240:rate=25 -t 3 -c:v libx264 "
                                                "-preset veryfast -pix_fmt yuv420p -bf 3 -g 12");
    auto bytes = readFile(movie);
    auto inMemory = NSData::dataWithVector(bytes);
    auto memfd = CreateSealedMemfd(inMemory, "movie");
    ASSERT_FALSE(memfd.isError());
    auto sealed = NSData::dataWithSealedMemfd(memfd.value(), bytes.size());
    ASSERT_FALSE(sealed.isError()) << sealed.error().message;
    auto inPlace = NSData::dataWithContentsOfFile(movie.string());
    ASSERT_FALSE(inPlace.isError()) << inPlace.error().message;
    ASSERT_GE(inPlace.value().fileDescriptor(), 0);

    setenv("LXKIT_DEBUG", "media", 1);
    ServiceReplies replies;
    std::string log;
    std::vector<std::vector<NSData>> pngs;
    {
        CapturedStandardError captured;
        auto client = LXFrameServiceClient::spawnService(binary("lxframed").string(), replies.handler());
        unsetenv("LXKIT_DEBUG");
        ASSERT_FALSE(client.isError()) << client.error().message;
        const std::pair<const char*, const NSData*> forms[] = {
            {"ay", &inMemory}, {"memfd", &sealed.value()}, {"file", &inPlace.value()}};
        for (auto [token, data] : forms) {
            ASSERT_FALSE(client.value()->processRequest(FramesRequest(*data, token, 7, 430)).isError());
            auto got = replies.waitForFinal(token);
            ASSERT_TRUE(got) << token;
            ASSERT_EQ(got->size(), 8u) << token;
            EXPECT_EQ(*PropertyValueForKey(got->back(), Key::completed), PropertyValue::boolean(true))
                << token;
            pngs.push_back(FramePngs(*got));
        }
        log = LogOnceTheMovieIsClosed(*client.value(), replies, captured);
    }
    for (size_t frame = 0; frame < pngs[0].size(); ++frame) {
        EXPECT_FALSE(pngs[0][frame].empty()) << "frame " << frame;
        EXPECT_EQ(PngDimensions(pngs[0][frame]), std::make_pair(150u, 200u)) << "frame " << frame;
        EXPECT_TRUE(pngs[1][frame] == pngs[0][frame]) << "memfd, frame " << frame;
        EXPECT_TRUE(pngs[2][frame] == pngs[0][frame]) << "file, frame " << frame;
    }
    // The service read the file where it lies, not a copy of it.
    EXPECT_NE(log.find("from memory"), std::string::npos) << log;
    EXPECT_NE(log.find("from a file in place"), std::string::npos) << log;
}

TEST(InPlaceMovie, ASparseFileOfFourGiBCostsOnlyWhatIsProbed) {
    TemporaryFolder folder;
    auto path = folder / "sparse.mp4";
    { std::ofstream(path.string()); }
    ASSERT_EQ(truncate(path.c_str(), off_t(4) << 30), 0);
    auto inPlace = NSData::dataWithContentsOfFile(path.string());
    ASSERT_FALSE(inPlace.isError()) << inPlace.error().message;
    EXPECT_EQ(inPlace.value().length(), size_t(4) << 30);

    setenv("LXKIT_DEBUG", "media", 1);
    ServiceReplies replies;
    std::string log;
    {
        CapturedStandardError captured;
        auto client = LXFrameServiceClient::spawnService(binary("lxframed").string(), replies.handler());
        unsetenv("LXKIT_DEBUG");
        ASSERT_FALSE(client.isError()) << client.error().message;
        ASSERT_FALSE(
            client.value()->processRequest(FramesRequest(inPlace.value(), "sparse", 2, 1000)).isError());
        auto got = replies.waitForFinal("sparse");
        ASSERT_TRUE(got);
        // Not a movie: the job opens nothing and sends only its final reply.
        ASSERT_EQ(got->size(), 1u);
        EXPECT_EQ(*PropertyValueForKey(got->back(), Key::completed), PropertyValue::boolean(false));
        log = LogOnceTheMovieIsClosed(*client.value(), replies, captured);
    }
    // The service read the probe's worth in place; nothing was copied.
    std::smatch match;
    ASSERT_TRUE(
        std::regex_search(log, match, std::regex("read ([0-9]+) bytes of 4294967296 .*from a file in place")))
        << log;
    EXPECT_LE(std::stoull(match[1].str()), 16u << 20) << match[0];
}

TEST(InPlaceMovie, AFileTruncatedAndRewrittenMidJobGivesNeutralAnswers) {
    TemporaryFolder folder;
    auto source = makeMovie("inplace-long.mp4", "-f lavfi -i testsrc2=size=320x240:rate=25 -t 6 -c:v libx264 "
                                                "-preset veryfast -pix_fmt yuv420p -g 25");
    auto original = readFile(source);
    auto path = folder / "changing.mp4";
    writeFile(path, original);
    auto inPlace = NSData::dataWithContentsOfFile(path.string());
    ASSERT_FALSE(inPlace.isError());

    struct Change {
        const char* name;
        std::function<void()> apply;
    };
    const Change changes[] = {
        {"truncated to nothing", [&] { ASSERT_EQ(truncate(path.c_str(), 0), 0); }},
        {"truncated to half", [&] { ASSERT_EQ(truncate(path.c_str(), off_t(original.size() / 2)), 0); }},
        {"rewritten with other bytes",
         [&] {
             std::vector<uint8_t> noise(original.size());
             for (size_t i = 0; i < noise.size(); ++i)
                 noise[i] = uint8_t(i * 131 + 7);
             writeFile(path, noise);
         }},
    };
    ServiceReplies replies;
    auto client = LXFrameServiceClient::spawnService(binary("lxframed").string(), replies.handler());
    ASSERT_FALSE(client.isError()) << client.error().message;
    for (const auto& change : changes) {
        writeFile(path, original);
        size_t before = replies.count();
        replies.onReply = [&](size_t count) {
            if (count == before + 2)
                change.apply();
        };
        std::string token = change.name;
        ASSERT_FALSE(
            client.value()->processRequest(FramesRequest(inPlace.value(), token, 40, 140)).isError());
        auto got = replies.waitForFinal(token);
        replies.onReply = nullptr;
        ASSERT_TRUE(got) << change.name;
        // Every frame is answered, with a picture or with its time only, then the final reply.
        EXPECT_EQ(got->size(), 41u) << change.name;
        EXPECT_EQ(*PropertyValueForKey(got->back(), Key::completed), PropertyValue::boolean(true))
            << change.name;
        EXPECT_TRUE(client.value()->isConnected()) << change.name;
        // A frame after the change may show a picture decoded before it, or none; a
        // service that mapped the file would have died of SIGBUS here.
        EXPECT_FALSE(FramePngs(*got).front().empty()) << change.name;
    }
    // The service is still whole: the file as it was gives every frame again.
    writeFile(path, original);
    auto again = NSData::dataWithContentsOfFile(path.string());
    ASSERT_FALSE(again.isError());
    ASSERT_FALSE(client.value()->processRequest(FramesRequest(again.value(), "whole", 5, 1000)).isError());
    auto got = replies.waitForFinal("whole");
    ASSERT_TRUE(got);
    auto pngs = FramePngs(*got);
    ASSERT_EQ(pngs.size(), 5u);
    for (const auto& png : pngs)
        EXPECT_FALSE(png.empty());
}

} // namespace
} // namespace lxkit::test
