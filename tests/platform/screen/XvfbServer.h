#pragma once

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace lxkit::test {

/// A virtual X server of one screen, started on a display number that it picks itself
/// (-displayfd) and stopped with the object. `display()` is empty when it could not
/// start.
class XvfbServer {
public:
    XvfbServer(int width, int height) {
        int pipeEnds[2];
        if (pipe(pipeEnds) != 0)
            return;
        std::string fd = std::to_string(pipeEnds[1]);
        std::string geometry = std::to_string(width) + "x" + std::to_string(height) + "x24";
        // -noreset: by default the server resets when its last client leaves, and a
        // connection made during the reset fails.
        const char* arguments[] = {"Xvfb",           "-displayfd", fd.c_str(), "-screen",  "0",
                                   geometry.c_str(), "-nolisten",  "tcp",      "-noreset", nullptr};
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addclose(&actions, pipeEnds[0]);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        if (posix_spawnp(&m_pid, "Xvfb", &actions, nullptr, const_cast<char**>(arguments), environ) != 0)
            m_pid = 0;
        posix_spawn_file_actions_destroy(&actions);
        close(pipeEnds[1]);
        // The server writes its display number once it accepts connections; without a
        // server nothing holds the pipe open and the read ends at once.
        std::string number;
        char c;
        while (read(pipeEnds[0], &c, 1) == 1 && c != '\n')
            number += c;
        close(pipeEnds[0]);
        if (!number.empty())
            m_display = ":" + number;
    }

    ~XvfbServer() {
        if (m_pid > 0) {
            kill(m_pid, SIGTERM);
            int status;
            while (waitpid(m_pid, &status, 0) < 0 && errno == EINTR) {
            }
        }
    }

    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    const std::string& display() const { return m_display; }

    /// Whether an Xvfb binary is on the PATH at all.
    static bool available() { return std::system("command -v Xvfb > /dev/null 2>&1") == 0; }

private:
    pid_t m_pid = 0;
    std::string m_display;
};

/// Sets $DISPLAY for the life of the object and puts back what was there.
class ScopedDisplay {
public:
    explicit ScopedDisplay(const std::optional<std::string>& display) {
        if (const char* old = std::getenv("DISPLAY"))
            m_saved = old;
        set(display);
    }
    ~ScopedDisplay() { set(m_saved); }
    ScopedDisplay(const ScopedDisplay&) = delete;
    ScopedDisplay& operator=(const ScopedDisplay&) = delete;

private:
    static void set(const std::optional<std::string>& display) {
        if (display)
            setenv("DISPLAY", display->c_str(), 1);
        else
            unsetenv("DISPLAY");
    }

    std::optional<std::string> m_saved;
};

} // namespace lxkit::test
