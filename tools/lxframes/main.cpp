// lxframes: still frames of a movie as PNG files, made by the frame service.

#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <deque>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <variant>

#include <unistd.h>

#include "ContactSheet.h"
#include "FrameOptions.h"
#include "client/LXFrameServiceClient.h"
#include "movie/QTMovie+LXMovie.h"
#include "platform/media/QTMovie.h"
#include "service/LXVideoFrameProtocols.h"

namespace {

std::atomic<bool> g_interrupted{false};

struct Disconnected {
    std::string reason;
};
using Event = std::variant<PropertyDictionary, Disconnected>;

/// Replies arrive on the client's thread; the main thread takes them in order.
class EventQueue {
public:
    void push(Event event) {
        {
            std::lock_guard lock(m_mutex);
            m_events.push_back(std::move(event));
        }
        m_ready.notify_one();
    }
    std::optional<Event> pop(std::chrono::milliseconds timeout) {
        std::unique_lock lock(m_mutex);
        if (!m_ready.wait_for(lock, timeout, [this] { return !m_events.empty(); }))
            return std::nullopt;
        Event event = std::move(m_events.front());
        m_events.pop_front();
        return event;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_ready;
    std::deque<Event> m_events;
};

int fail(const std::string& message, int status = 1) {
    std::fprintf(stderr, "lxframes: %s\n", message.c_str());
    return status;
}

std::string defaultServicePath() {
    std::error_code error;
    auto self = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::string("lxframed") : (self.parent_path() / "lxframed").string();
}

int32_t clampToInt32(double value) {
    if (!(value > 0))
        return 0;
    return value >= INT32_MAX ? INT32_MAX : static_cast<int32_t>(std::llround(value));
}

void drawProgress(int done, int total) {
    constexpr int width = 30;
    int filled = total > 0 ? std::min(width, done * width / total) : width;
    std::fprintf(stderr, "\r[%.*s%*s] %d/%d", filled, "##############################", width - filled, "",
                 done, total);
    std::fflush(stderr);
}

bool writeFile(const std::filesystem::path& path, const NSData& data) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(data.bytes()), static_cast<std::streamsize>(data.length()));
    return static_cast<bool>(out);
}

} // namespace

int main(int argc, char** argv) {
    auto parsed = ParseFrameOptions(argc, argv);
    if (parsed.isError())
        return fail(parsed.error().message, 2);
    FrameOptions options = parsed.releaseValue();
    if (options.help) {
        std::fputs(kFrameOptionsUsage, stdout);
        return 0;
    }
    if (options.moviePath.empty()) {
        options.moviePath = LXKIT_SAMPLE_MOVIE;
        std::fprintf(stderr, "lxframes: no movie given, using the sample movie %s\n",
                     options.moviePath.c_str());
    }

    // The service starts first, so that it gets ready while the movie is read and looked at.
    EventQueue events;
    auto onReply = [&events](const PropertyDictionary& reply) { events.push(reply); };
    auto onDisconnect = [&events](const std::string& reason) { events.push(Disconnected{reason}); };
    auto client = options.address.empty()
                      ? LXFrameServiceClient::spawnService(options.servicePath.empty() ? defaultServicePath()
                                                                                       : options.servicePath,
                                                           onReply, onDisconnect)
                      : LXFrameServiceClient::connectToAddress(options.address, onReply, onDisconnect);
    if (client.isError())
        return fail(client.error().message);

    auto bytes = NSData::dataWithContentsOfFile(options.moviePath);
    if (bytes.isError())
        return fail(bytes.error().message);
    auto opened = QTMovie::movieWithData(bytes.value());
    if (opened.isError())
        return fail(options.moviePath + " is not a movie lxkit can open: " + opened.error().message);
    auto movie = opened.releaseValue();
    NSSize displaySize = LXMovie::size(*movie);
    QTTime duration = movie->duration();

    PropertyDictionary request{{LXVideoFrameKey::movieData, bytes.value()},
                               {LXVideoFrameKey::token, std::string("lxframes-") + std::to_string(getpid())}};
    int expectedReplies = 0;
    if (options.chapters) {
        request.emplace(LXVideoFrameKey::wantsChapterFrames, PropertyValue::boolean(true));
        expectedReplies = static_cast<int>(movie->chapters().size());
        if (expectedReplies == 0)
            return fail(options.moviePath + " has no chapters");
    } else {
        if (NSEqualSizes(displaySize, NSZeroSize) && !options.size)
            return fail(options.moviePath + " has no picture to take frames from");
        NSSize frameSize = options.size.value_or(SizeFittingBox(displaySize, {640, 640}));
        int32_t interval;
        if (options.spacingTicks)
            interval = *options.spacingTicks;
        else if (options.spacingSeconds)
            interval = clampToInt32(*options.spacingSeconds * static_cast<double>(duration.timeScale));
        else
            interval = clampToInt32(static_cast<double>(duration.timeValue) / options.count);
        request.emplace(LXVideoFrameKey::frameSize, NSStringFromSize(frameSize));
        request.emplace(LXVideoFrameKey::frameCount, PropertyValue::number(options.count));
        request.emplace(LXVideoFrameKey::interval, PropertyValue::number(interval));
        request.emplace(LXVideoFrameKey::requiresAllFrames, PropertyValue::boolean(options.requireAll));
        if (options.rotation != 0 || options.flipHorizontal || options.flipVertical) {
            request.emplace(
                LXVideoFrameKey::transforms,
                PropertyDictionary{
                    {LXVideoFrameKey::rotation, PropertyValue::number(options.rotation)},
                    {LXVideoFrameKey::flipHorizontal, PropertyValue::boolean(options.flipHorizontal)},
                    {LXVideoFrameKey::flipVertical, PropertyValue::boolean(options.flipVertical)}});
        }
        expectedReplies = options.count;
    }
    movie.reset();

    std::filesystem::path folder = options.outputFolder;
    std::error_code folderError;
    std::filesystem::create_directories(folder, folderError);
    if (folderError)
        return fail("cannot make the folder " + folder.string() + ": " + folderError.message());

    std::signal(SIGINT, [](int) { g_interrupted = true; });
    std::signal(SIGTERM, [](int) { g_interrupted = true; });
    bool showProgress = !options.quiet && isatty(STDERR_FILENO);
    if (auto sent = client.value()->processRequest(request); sent.isError())
        return fail(sent.error().message);

    int replies = 0;
    int written = 0;
    int missing = 0;
    std::optional<bool> completed;
    std::vector<ContactSheetFrame> sheetFrames;
    while (!completed) {
        if (g_interrupted) {
            client.value()->cancelRequest();
            if (showProgress)
                std::fputc('\n', stderr);
            std::fprintf(stderr, "lxframes: cancelled after %d of %d frames; %d written to %s\n", replies,
                         expectedReplies, written, folder.c_str());
            return 130;
        }
        auto event = events.pop(std::chrono::milliseconds(100));
        if (!event)
            continue;
        if (auto gone = std::get_if<Disconnected>(&*event)) {
            if (showProgress)
                std::fputc('\n', stderr);
            return fail(gone->reason + " after " + std::to_string(replies) + " frames");
        }
        const auto& reply = std::get<PropertyDictionary>(*event);
        if (const PropertyValue* done = PropertyValueForKey(reply, LXVideoFrameKey::completed)) {
            completed = done->boolValue().value_or(false);
            break;
        }
        const PropertyValue* frames = PropertyValueForKey(reply, LXVideoFrameKey::frames);
        ++replies;
        const PropertyDictionary* entry = frames && frames->array() && !frames->array()->empty()
                                              ? (*frames->array())[0].dictionary()
                                              : nullptr;
        const PropertyValue* data = entry ? PropertyValueForKey(*entry, LXVideoFrameKey::data) : nullptr;
        if (data && data->data()) {
            char name[64];
            const PropertyValue* chapter = PropertyValueForKey(*entry, LXVideoFrameKey::chapterIndex);
            if (chapter)
                std::snprintf(name, sizeof name, "chapter-%02d.png", chapter->intValue().value_or(0) + 1);
            else
                std::snprintf(name, sizeof name, "frame-%03d.png", replies);
            if (!writeFile(folder / name, *data->data()))
                return fail("cannot write " + (folder / name).string() + ": " + std::strerror(errno));
            ++written;
            if (!options.sheetPath.empty()) {
                const PropertyValue* time = PropertyValueForKey(*entry, LXVideoFrameKey::time);
                sheetFrames.push_back(
                    {*data->data(), time && time->string() ? *time->string() : std::string()});
            }
        } else {
            ++missing;
        }
        if (showProgress)
            drawProgress(replies, expectedReplies);
    }
    if (showProgress)
        std::fputc('\n', stderr);
    std::printf("wrote %d PNG frame%s to %s\n", written, written == 1 ? "" : "s",
                std::filesystem::absolute(folder).c_str());
    if (!options.sheetPath.empty()) {
        std::optional<NSData> sheet = MakeContactSheet(sheetFrames);
        if (!sheet)
            return fail("no frames to lay out on a contact sheet");
        if (!writeFile(options.sheetPath, *sheet))
            return fail("cannot write " + options.sheetPath + ": " + std::strerror(errno));
        std::printf("wrote the contact sheet %s\n", std::filesystem::absolute(options.sheetPath).c_str());
    }
    if (missing > 0)
        std::fprintf(stderr, "lxframes: %d frame%s could not be made\n", missing, missing == 1 ? "" : "s");
    if (!*completed)
        return fail("not every frame could be made (stopped at frame " + std::to_string(replies + 1) + ")");
    return 0;
}
