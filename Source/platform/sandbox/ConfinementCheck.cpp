#include "platform/sandbox/ConfinementCheck.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// How a child tells the parent what came of its attempt. An exec that succeeds ends
// with /bin/true's own status, 0.
constexpr int kAllowed = 0;
constexpr int kRefused = 1;
constexpr int kNotConfined = 3;

struct Action {
    std::string what;
    std::function<int()> attempt; // runs in the confined child; returns kAllowed or kRefused
};

ConfinementAttempt runInChild(const Action& action, const std::function<bool()>& confine) {
    ConfinementAttempt result{action.what, false, {}};
    int report[2];
    if (pipe2(report, O_CLOEXEC) != 0) {
        result.allowed = true;
        result.detail = std::string("cannot make a pipe: ") + std::strerror(errno);
        return result;
    }
    pid_t child = fork();
    if (child == 0) {
        close(report[0]);
        if (!confine())
            _exit(kNotConfined);
        errno = 0;
        int status = action.attempt();
        int cause = errno;
        // The parent learns why from the pipe. Nothing to flush or check for leaks here.
        [[maybe_unused]] ssize_t sent = write(report[1], &cause, sizeof cause);
        _exit(status);
    }
    close(report[1]);
    if (child < 0) {
        close(report[0]);
        result.allowed = true;
        result.detail = std::string("cannot start a child: ") + std::strerror(errno);
        return result;
    }
    int cause = 0;
    ssize_t got = read(report[0], &cause, sizeof cause);
    close(report[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFSIGNALED(status)) {
        result.detail = std::string("killed by ") + (strsignal(WTERMSIG(status)) ?: "a signal");
    } else if (WIFEXITED(status) && WEXITSTATUS(status) == kNotConfined) {
        result.allowed = true;
        result.detail = "the child could not confine itself";
    } else if (WIFEXITED(status) && WEXITSTATUS(status) == kRefused) {
        result.detail = got == sizeof cause && cause ? std::strerror(cause) : "refused";
    } else {
        result.allowed = true;
        result.detail = "exit status " + std::to_string(WIFEXITED(status) ? WEXITSTATUS(status) : -1);
    }
    return result;
}

} // namespace

std::vector<ConfinementAttempt> TryForbiddenActions(const std::function<bool()>& confine) {
    std::error_code error;
    auto folder = std::filesystem::temp_directory_path(error);
    std::string scratch = (error ? std::filesystem::path("/tmp") : folder) /
                          ("lxkit-confinement-check-" + std::to_string(getpid()));
    const Action actions[] = {
        {"open /etc/passwd",
         [] {
             int fd = open("/etc/passwd", O_RDONLY | O_CLOEXEC);
             return fd >= 0 ? kAllowed : kRefused;
         }},
        {"exec /bin/true",
         [] {
             char* arguments[] = {const_cast<char*>("/bin/true"), nullptr};
             execv("/bin/true", arguments);
             return kRefused;
         }},
        {"create a socket",
         [] {
             int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
             return fd >= 0 ? kAllowed : kRefused;
         }},
        {"write a file",
         [&scratch] {
             int fd = open(scratch.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
             return fd >= 0 ? kAllowed : kRefused;
         }},
    };
    std::vector<ConfinementAttempt> attempts;
    for (const auto& action : actions)
        attempts.push_back(runInChild(action, confine));
    unlink(scratch.c_str());
    return attempts;
}
