// lxframed: the frame service. A viewer starts it on demand, either on one end of a
// socket pair (--fd) or listening on a D-Bus address (--listen), and then sends it
// movies and frame requests.

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <unistd.h>

#include "platform/ipc/NSOperationQueue.h"
#include "platform/ipc/NSXPCListener.h"
#include "service/LXVideoFrameJobLoader.h"
#include "service/LXVideoFrameTask.h"

namespace {

void printUsage(FILE* to) {
    std::fputs("usage: lxframed --fd N | --listen ADDRESS\n"
               "  --fd N            serve the connected socket N (how the client library starts it)\n"
               "  --listen ADDRESS  accept connections on a GDBus address, e.g. unix:path=/run/user/1000/lxframed\n",
               to);
}

ErrorOr<std::unique_ptr<NSXPCListener>> serviceListener(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--fd") == 0) {
        char* end = nullptr;
        long fd = std::strtol(argv[2], &end, 10);
        if (*argv[2] == '\0' || *end != '\0' || fd < 0 || fd > 65535)
            return makeError(std::string("not a descriptor number: ") + argv[2]);
        return NSXPCListener::listenerWithConnectedSocket(static_cast<int>(fd));
    }
    if (argc == 3 && std::strcmp(argv[1], "--listen") == 0)
        return NSXPCListener::listenerWithAddress(argv[2]);
    return makeError("");
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        printUsage(stdout);
        return 0;
    }
    // A client that goes away must not take the service with it.
    std::signal(SIGPIPE, SIG_IGN);

    auto listener = serviceListener(argc, argv);
    if (listener.isError()) {
        if (!listener.error().message.empty())
            std::fprintf(stderr, "lxframed: %s\n", listener.error().message.c_str());
        printUsage(stderr);
        return 2;
    }
    static std::optional<LXVideoFrameJobLoader> loader;
    const auto& task = LXVideoFrameTask::sharedInstance();
    task->setJobsProvider([] {
        if (const LXVideoFrameJobs* jobs = loader->jobs())
            return jobs;
        std::fprintf(stderr, "lxframed: %s\n", loader->error().c_str());
        _exit(1);
    });
    listener.value()->setDelegate(task.get());
    // Nobody can reach a service on a socket pair once its one peer has gone.
    listener.value()->setLastPeerGoneHandler([] { _exit(0); });
    auto resumed = listener.value()->resume();
    if (resumed.isError()) {
        std::fprintf(stderr, "lxframed: %s\n", resumed.error().message.c_str());
        return 1;
    }
    // The jobs' libraries load only now: while dlopen holds the loader's lock no thread
    // can start, and the connection's set-up starts threads. The first job waits.
    loader.emplace(LXVideoFrameJobLoader::defaultModulePath());
    if (std::getenv("LXFRAMED_PRINT_ADDRESS"))
        std::printf("%s\n", listener.value()->clientAddress().c_str()), std::fflush(stdout);
    NSOperationQueue::mainQueue().run();
    return 0;
}
