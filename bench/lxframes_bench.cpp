// Measures the frame service from the client's side: spawn plus connect, the time from
// request to first frame reply, and a whole job with the service's peak memory.
//
//   lxframes_bench LXFRAMED SMALL_MOVIE BIG_MOVIE OUTPUT_FOLDER
//   lxframes_bench --huge LXFRAMED MOVIE INTERVAL_TICKS OUTPUT_FOLDER
//
// The second form hands a huge movie over as its file and takes five frames at
// 640 x 360, watching the whole system's memory: the service's peak resident set and
// how far shared memory (Shmem in /proc/meminfo, where memfds live) grows meanwhile.
//
// Prints one "name value" line per figure, for bench/run to put beside its peers.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "client/LXFrameServiceClient.h"
#include "service/LXVideoFrameProtocols.h"

namespace Key = LXVideoFrameKey;
using Clock = std::chrono::steady_clock;

namespace {

struct Replies {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<std::pair<Clock::time_point, PropertyDictionary>> received;

    LXFrameServiceClient::ReplyHandler handler() {
        return [this](const PropertyDictionary& reply) {
            std::lock_guard lock(mutex);
            received.emplace_back(Clock::now(), reply);
            changed.notify_all();
        };
    }
    void waitForFinal() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] {
            return !received.empty() && PropertyValueForKey(received.back().second, Key::completed);
        });
    }
    void clear() {
        std::lock_guard lock(mutex);
        received.clear();
    }
};

/// The movie as a viewer hands it over: the file itself, read where it lies.
NSData readFile(const std::string& path) {
    auto data = NSData::dataWithContentsOfFile(path);
    if (data.isError()) {
        std::fprintf(stderr, "lxframes_bench: %s\n", data.error().message.c_str());
        std::exit(1);
    }
    return data.releaseValue();
}

long sharedMemoryKilobytes() {
    std::ifstream meminfo("/proc/meminfo");
    std::string line;
    while (std::getline(meminfo, line)) {
        if (line.rfind("Shmem:", 0) == 0)
            return std::stol(line.substr(6));
    }
    return -1;
}

double milliseconds(Clock::duration d) {
    return std::chrono::duration<double, std::milli>(d).count();
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

long peakResidentKilobytes(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stol(line.substr(6));
    }
    return -1;
}

PropertyDictionary request(const NSData& movie, const char* size, int32_t count, int32_t interval) {
    return {{Key::movieData, movie},
            {Key::token, PropertyValue::number(1)},
            {Key::frameSize, size},
            {Key::frameCount, PropertyValue::number(count)},
            {Key::interval, PropertyValue::number(interval)}};
}

int hugeMain(int argc, char** argv) {
    if (argc != 6) {
        std::fprintf(stderr, "usage: lxframes_bench --huge LXFRAMED MOVIE INTERVAL_TICKS OUTPUT_FOLDER\n");
        return 2;
    }
    std::filesystem::path output = argv[5];
    std::filesystem::create_directories(output);
    long sharedBefore = sharedMemoryKilobytes();
    std::atomic<long> sharedPeak = sharedBefore;
    std::atomic<bool> watching = true;
    std::thread watcher([&] {
        while (watching) {
            sharedPeak = std::max(sharedPeak.load(), sharedMemoryKilobytes());
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
    });

    auto start = Clock::now();
    NSData movie = readFile(argv[3]);
    Replies replies;
    auto client = LXFrameServiceClient::spawnService(argv[2], replies.handler());
    if (client.isError()) {
        std::fprintf(stderr, "lxframes_bench: %s\n", client.error().message.c_str());
        return 1;
    }
    if (auto sent =
            client.value()->processRequest(request(movie, "{640, 360}", 5, int32_t(std::stol(argv[4]))));
        sent.isError()) {
        std::fprintf(stderr, "lxframes_bench: %s\n", sent.error().message.c_str());
        return 1;
    }
    replies.waitForFinal();
    double jobTime = milliseconds(Clock::now() - start);
    long servicePeak = peakResidentKilobytes(client.value()->servicePid());
    int withPicture = 0;
    for (auto& [when, reply] : replies.received) {
        const PropertyValue* frames = PropertyValueForKey(reply, Key::frames);
        if (frames && frames->array() && !frames->array()->empty() &&
            PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data)) {
            const PropertyValue* png = PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data);
            char name[32];
            std::snprintf(name, sizeof name, "huge-%02d.png", withPicture++);
            std::ofstream(output / name, std::ios::binary)
                .write(reinterpret_cast<const char*>(png->data()->bytes()),
                       std::streamsize(png->data()->length()));
        }
    }
    // A request without a movie after the job: once it is answered, the job's movie is
    // closed and the service has said what it read (LXKIT_DEBUG=media).
    replies.clear();
    if (client.value()
            ->processRequest(
                {{Key::token, PropertyValue::number(2)}, {Key::frameCount, PropertyValue::number(0)}})
            .isError())
        return 1;
    replies.waitForFinal();
    watching = false;
    watcher.join();

    std::printf("huge_frames_with_picture %d\n", withPicture);
    std::printf("huge_job_ms %.2f\n", jobTime);
    std::printf("huge_service_peak_rss_kb %ld\n", servicePeak);
    std::printf("huge_shmem_growth_kb %ld\n", sharedPeak - sharedBefore);
    std::printf("huge_movie_kb %zu\n", movie.length() / 1024);
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == "--huge")
        return hugeMain(argc, argv);
    if (argc != 5) {
        std::fprintf(stderr, "usage: lxframes_bench LXFRAMED SMALL_MOVIE BIG_MOVIE OUTPUT_FOLDER\n");
        return 2;
    }
    std::string service = argv[1];
    NSData small = readFile(argv[2]);
    NSData big = readFile(argv[3]);
    std::filesystem::path output = argv[4];
    std::filesystem::create_directories(output);

    std::vector<double> spawnTimes;
    for (int i = 0; i < 10; ++i) {
        Replies replies;
        auto start = Clock::now();
        auto client = LXFrameServiceClient::spawnService(service, replies.handler());
        spawnTimes.push_back(milliseconds(Clock::now() - start));
        if (client.isError()) {
            std::fprintf(stderr, "lxframes_bench: %s\n", client.error().message.c_str());
            return 1;
        }
    }
    std::printf("spawn_connect_ms %.2f\n", median(spawnTimes));

    Replies replies;
    auto client = LXFrameServiceClient::spawnService(service, replies.handler());
    if (client.isError())
        return 1;
    std::vector<double> firstFrameTimes;
    for (int i = 0; i < 10; ++i) {
        replies.clear();
        auto start = Clock::now();
        if (client.value()->processRequest(request(small, "{320, 240}", 1, 0)).isError())
            return 1;
        replies.waitForFinal();
        firstFrameTimes.push_back(milliseconds(replies.received.front().first - start));
    }
    std::printf("first_frame_ms %.2f\n", median(firstFrameTimes));

    // Ten frames 11.5 s apart at 1280 x 720; the movie's time scale comes from the
    // caller (bench/run makes an MP4 at the default 1000 ticks a second).
    replies.clear();
    auto start = Clock::now();
    if (client.value()->processRequest(request(big, "{1280, 720}", 10, 11500)).isError())
        return 1;
    replies.waitForFinal();
    double jobTime = milliseconds(Clock::now() - start);
    int written = 0;
    for (auto& [when, reply] : replies.received) {
        const PropertyValue* frames = PropertyValueForKey(reply, Key::frames);
        if (!frames || !frames->array() || frames->array()->empty())
            continue;
        const PropertyValue* data = PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data);
        if (!data || !data->data())
            continue;
        char name[32];
        std::snprintf(name, sizeof name, "ours-%02d.png", written++);
        std::ofstream(output / name, std::ios::binary)
            .write(reinterpret_cast<const char*>(data->data()->bytes()),
                   std::streamsize(data->data()->length()));
    }
    std::printf("job_ms %.2f\n", jobTime);
    std::printf("frames_written %d\n", written);
    std::printf("service_peak_rss_kb %ld\n", peakResidentKilobytes(client.value()->servicePid()));
    std::printf("movie_kb %zu\n", big.length() / 1024);
    return 0;
}
