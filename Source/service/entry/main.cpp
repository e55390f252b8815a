// lxframed: the frame service. A viewer starts it on demand, either on one end of a
// socket pair (--fd) or listening on a D-Bus address (--listen), and then sends it
// movies and frame requests. Before it reads the first request it confines itself (see
// "Confinement" in README.md).

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>

#include <unistd.h>

#include "platform/ipc/NSOperationQueue.h"
#include "platform/ipc/NSXPCListener.h"
#include "platform/sandbox/Confinement.h"
#include "platform/sandbox/ConfinementCheck.h"
#include "service/LXVideoFrameJobLoader.h"
#include "service/LXVideoFrameTask.h"

namespace {

void printUsage(FILE* to) {
    std::fputs(
        "usage: lxframed --fd N | --listen ADDRESS | --check-confinement\n"
        "  --fd N               serve the connected socket N (how the client library starts it)\n"
        "  --listen ADDRESS     accept connections on a GDBus address, e.g. "
        "unix:path=/run/user/1000/lxframed\n"
        "  --check-confinement  confine as when serving, try what confinement forbids, print what happened\n"
        "LXFRAMED_UNCONFINED=1 serves without confinement, for debugging.\n",
        to);
}

struct Arguments {
    enum class Mode { Socket, Listen, CheckConfinement } mode;
    int socket = -1;
    std::string address;
};

ErrorOr<Arguments> parseArguments(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--check-confinement") == 0)
        return Arguments{Arguments::Mode::CheckConfinement, -1, {}};
    if (argc == 3 && std::strcmp(argv[1], "--fd") == 0) {
        char* end = nullptr;
        long fd = std::strtol(argv[2], &end, 10);
        if (*argv[2] == '\0' || *end != '\0' || fd < 0 || fd > 65535)
            return makeError(std::string("not a descriptor number: ") + argv[2]);
        return Arguments{Arguments::Mode::Socket, static_cast<int>(fd), {}};
    }
    if (argc == 3 && std::strcmp(argv[1], "--listen") == 0)
        return Arguments{Arguments::Mode::Listen, -1, argv[2]};
    return makeError("");
}

bool confinementWanted() {
    const char* unconfined = std::getenv("LXFRAMED_UNCONFINED");
    return !unconfined || !*unconfined || std::strcmp(unconfined, "0") == 0;
}

/// Confines the process as it serves; false (having said why) when that failed, and
/// then nothing untrusted may be read.
bool confine() {
    if (!confinementWanted())
        return true;
    auto confined = ConfineProcess();
    if (confined.isError())
        std::fprintf(stderr, "lxframed: cannot confine the service: %s\n", confined.error().message.c_str());
    return !confined.isError();
}

/// Leaves a confined process. Exit handlers are skipped: LeakSanitizer's check at exit
/// needs ptrace and /proc, which confinement took away, and would end the process with
/// its own error instead of `status`.
[[noreturn]] void exitConfined(int status) {
    std::fflush(stdout);
    std::fflush(stderr);
    _exit(status);
}

int checkConfinement() {
    bool allRefused = true;
    for (const auto& attempt : TryForbiddenActions(confine)) {
        std::printf("%s: %s (%s)\n", attempt.what.c_str(), attempt.allowed ? "allowed" : "refused",
                    attempt.detail.c_str());
        allRefused = allRefused && !attempt.allowed;
    }
    return allRefused ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        printUsage(stdout);
        return 0;
    }
    auto arguments = parseArguments(argc, argv);
    if (arguments.isError()) {
        if (!arguments.error().message.empty())
            std::fprintf(stderr, "lxframed: %s\n", arguments.error().message.c_str());
        printUsage(stderr);
        return 2;
    }
    // A client that goes away must not take the service with it.
    std::signal(SIGPIPE, SIG_IGN);

    // Everything the jobs need is loaded now, while files can still be opened, and
    // before any thread but this one exists: Landlock binds the threads started after it.
    static const LXVideoFrameJobLoader loader(LXVideoFrameJobLoader::defaultModulePath());
    if (!loader.jobs()) {
        std::fprintf(stderr, "lxframed: %s\n", loader.error().c_str());
        return 1;
    }
    const auto& task = LXVideoFrameTask::sharedInstance();
    task->setJobsProvider([] { return loader.jobs(); });

    std::unique_ptr<NSXPCListener> listener;
    switch (arguments.value().mode) {
    case Arguments::Mode::CheckConfinement:
        return checkConfinement();
    case Arguments::Mode::Socket: {
        // Confined before the connection exists: its peer's first byte, and every
        // thread that reads one, come after.
        if (!confine())
            exitConfined(1);
        auto made = NSXPCListener::listenerWithConnectedSocket(arguments.value().socket);
        if (made.isError()) {
            std::fprintf(stderr, "lxframed: %s\n", made.error().message.c_str());
            exitConfined(2);
        }
        listener = made.releaseValue();
        // Nobody can reach a service on a socket pair once its one peer has gone.
        listener->setLastPeerGoneHandler([] { _exit(0); });
        break;
    }
    case Arguments::Mode::Listen: {
        auto made = NSXPCListener::listenerWithAddress(arguments.value().address);
        if (made.isError()) {
            std::fprintf(stderr, "lxframed: %s\n", made.error().message.c_str());
            return 2;
        }
        listener = made.releaseValue();
        // The listening socket needs the filesystem, so the listener's thread confines
        // the process once the socket exists and before any peer is let in. This thread,
        // which runs the jobs, gives up its filesystem rights now.
        if (confinementWanted()) {
            auto restricted = RestrictThreadFilesystemAccess();
            if (restricted.isError()) {
                std::fprintf(stderr, "lxframed: cannot confine the service: %s\n",
                             restricted.error().message.c_str());
                exitConfined(1);
            }
            listener->setWillAcceptHandler([] {
                if (!confine())
                    exitConfined(1);
            });
        }
        break;
    }
    }
    listener->setDelegate(task.get());
    auto resumed = listener->resume();
    if (resumed.isError()) {
        std::fprintf(stderr, "lxframed: %s\n", resumed.error().message.c_str());
        exitConfined(1);
    }
    if (std::getenv("LXFRAMED_PRINT_ADDRESS"))
        std::printf("%s\n", listener->clientAddress().c_str()), std::fflush(stdout);
    NSOperationQueue::mainQueue().run();
    exitConfined(0);
}
