// Churns a listening frame service the way hostile or careless clients would and prints
// what it holds (resident memory, open descriptors) before and after each round:
//
//   service_churn LXFRAMED MOVIE
//
// Rounds: 1,000 jobs cancelled mid-way, 200 clients that vanish mid-job, 1,100 clients
// that connect and close, 20 requests with 2 MiB inline. Run through bench/service-churn.

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <sys/wait.h>
#include <unistd.h>

#include "client/LXFrameServiceClient.h"
#include "service/LXVideoFrameProtocols.h"

namespace Key = LXVideoFrameKey;
using namespace std::chrono_literals;

namespace {

struct Replies {
    std::mutex mutex;
    std::condition_variable changed;
    int frames = 0;
    int finals = 0;

    LXFrameServiceClient::ReplyHandler handler() {
        return [this](const PropertyDictionary& reply) {
            std::lock_guard lock(mutex);
            if (PropertyValueForKey(reply, Key::completed))
                ++finals;
            else
                ++frames;
            changed.notify_all();
        };
    }
    bool waitFor(const std::function<bool()>& done, std::chrono::milliseconds timeout = 30s) {
        std::unique_lock lock(mutex);
        return changed.wait_for(lock, timeout, done);
    }
};

NSData readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return NSData::dataWithVector(std::vector<uint8_t>((std::istreambuf_iterator<char>(in)), {}));
}

size_t openDescriptors(pid_t pid) {
    size_t count = 0;
    for ([[maybe_unused]] auto& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/fd"))
        ++count;
    return count;
}

size_t residentKiB(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0)
            return std::stoul(line.substr(6));
    }
    return 0;
}

PropertyDictionary request(const NSData& movie, int32_t token, int32_t count, int32_t interval) {
    return {{Key::movieData, movie},
            {Key::token, PropertyValue::number(token)},
            {Key::frameSize, "{320, 240}"},
            {Key::frameCount, PropertyValue::number(count)},
            {Key::interval, PropertyValue::number(interval)}};
}

std::unique_ptr<LXFrameServiceClient> connect(const std::string& address, Replies& replies) {
    auto client = LXFrameServiceClient::connectToAddress(address, replies.handler());
    if (client.isError()) {
        std::fprintf(stderr, "service_churn: %s\n", client.error().message.c_str());
        std::exit(1);
    }
    return client.releaseValue();
}

/// Waits until the service has let go of what it can (closed connections, finished jobs).
void settle(pid_t pid) {
    size_t last = openDescriptors(pid);
    for (int i = 0; i < 40; ++i) {
        std::this_thread::sleep_for(100ms);
        size_t now = openDescriptors(pid);
        if (now == last && i >= 5)
            break;
        last = now;
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: service_churn LXFRAMED MOVIE\n");
        return 2;
    }
    std::string folder = std::filesystem::temp_directory_path() / ("lxkit-churn-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    std::string socketPath = folder + "/lxframed.socket";
    std::string address = "unix:path=" + socketPath;
    pid_t service = fork();
    if (service == 0) {
        execl(argv[1], "lxframed", "--listen", address.c_str(), nullptr);
        _exit(127);
    }
    for (int i = 0; i < 500 && access(socketPath.c_str(), F_OK) != 0; ++i)
        std::this_thread::sleep_for(10ms);
    NSData movie = readFile(argv[2]);

    // Warm up: the job module loads on the first job.
    {
        Replies replies;
        auto client = connect(address, replies);
        (void)client->processRequest(request(movie, 0, 1, 0));
        replies.waitFor([&] { return replies.finals == 1; });
    }
    settle(service);

    auto round = [&](const char* name, const std::function<void()>& work) {
        size_t rssBefore = residentKiB(service), fdsBefore = openDescriptors(service);
        auto start = std::chrono::steady_clock::now();
        work();
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        settle(service);
        size_t rssAfter = residentKiB(service), fdsAfter = openDescriptors(service);
        std::printf("%-38s RSS %6zu -> %6zu KiB (%+6ld)  descriptors %4zu -> %4zu  (%.1f s)\n", name,
                    rssBefore, rssAfter, long(rssAfter) - long(rssBefore), fdsBefore, fdsAfter, seconds);
        std::fflush(stdout);
    };

    round("1000 jobs cancelled mid-way", [&] {
        Replies replies;
        auto client = connect(address, replies);
        for (int i = 0; i < 1000; ++i) {
            int framesBefore = replies.frames;
            (void)client->processRequest(request(movie, i, 50, 100));
            replies.waitFor([&] { return replies.frames > framesBefore; });
            client->cancelRequest();
        }
        // The last one stops at its next frame; a final request shows the queue is clear.
        int finalsBefore = replies.finals;
        (void)client->processRequest(request(movie, 5000, 1, 0));
        replies.waitFor([&] { return replies.finals > finalsBefore; });
    });
    round("200 clients vanishing mid-job", [&] {
        for (int i = 0; i < 200; ++i) {
            Replies replies;
            auto client = connect(address, replies);
            (void)client->processRequest(request(movie, i, 50, 100));
            replies.waitFor([&] { return replies.frames > 0; });
            client->cancelRequest();
        }
        Replies replies;
        auto client = connect(address, replies);
        (void)client->processRequest(request(movie, 6000, 1, 0));
        replies.waitFor([&] { return replies.finals > 0; });
    });
    round("1100 clients that connect and close", [&] {
        for (int i = 0; i < 1100; ++i) {
            Replies replies;
            connect(address, replies);
        }
    });
    // Rounds again, to tell the allocator's one-time growth from memory kept per job.
    int repeats = std::getenv("LXKIT_CHURN_REPEAT") ? std::atoi(std::getenv("LXKIT_CHURN_REPEAT")) : 1;
    for (int repeat = 1; repeat < repeats; ++repeat) {
        round("1000 jobs cancelled mid-way (again)", [&] {
            Replies replies;
            auto client = connect(address, replies);
            for (int i = 0; i < 1000; ++i) {
                int framesBefore = replies.frames;
                (void)client->processRequest(request(movie, i, 50, 100));
                replies.waitFor([&] { return replies.frames > framesBefore; });
                client->cancelRequest();
            }
            int finalsBefore = replies.finals;
            (void)client->processRequest(request(movie, 5000, 1, 0));
            replies.waitFor([&] { return replies.finals > finalsBefore; });
        });
    }
    for (int repeat = 0; repeat < repeats; ++repeat)
        round("20 inline 2 MiB requests", [&] {
            Replies replies;
            auto client = connect(address, replies);
            auto inlineMovie = NSData::dataWithVector(std::vector<uint8_t>(2 * 1024 * 1024, 0x47));
            for (int i = 0; i < 20; ++i) {
                (void)client->processRequest(request(inlineMovie, i, 1, 0));
                replies.waitFor([&] { return replies.finals > i; });
            }
        });

    kill(service, SIGTERM);
    waitpid(service, nullptr, 0);
    std::filesystem::remove_all(folder);
    return 0;
}
