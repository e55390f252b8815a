// lxframed confines itself before it reads a request: what it may no longer do, what
// the kernel shows of it, and that it still makes the same frames, also when it starts
// under another sandbox's seccomp filter.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstddef>
#include <fstream>
#include <map>
#include <mutex>
#include <sstream>

#include <gtest/gtest.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ServiceTestSupport.h"
#include "client/LXFrameServiceClient.h"
#include "service/LXVideoFrameProtocols.h"
#include "support/Fixtures.h"

using namespace lxkit::test;
using namespace std::chrono_literals;
namespace Key = LXVideoFrameKey;

namespace {

// What --check-confinement tries, each of which must be refused.
const char* const kForbiddenAttempts[] = {"open /etc/passwd", "exec /bin/true", "create a socket",
                                          "write a file"};

#if defined(__x86_64__)
constexpr uint32_t kNativeAuditArch = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr uint32_t kNativeAuditArch = AUDIT_ARCH_AARCH64;
#endif

/// The filter a sandbox around lxframed might install: every call goes through, but
/// with `hideLandlock` Landlock looks absent, as on a kernel built without it.
void installOuterFilter(bool hideLandlock = false) {
    sock_filter allowAll[] = {BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    sock_filter noLandlock[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kNativeAuditArch, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_landlock_create_ruleset, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    sock_fprog program =
        hideLandlock ? sock_fprog{std::size(noLandlock), noLandlock} : sock_fprog{1, allowAll};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        _exit(126);
}

struct ProgramRun {
    std::string output;
    int exitStatus = -1;
};

enum class OuterFilter { None, AllowAll, HidingLandlock };

/// Runs lxframed with `arguments` in a child, with `environment` added, optionally under
/// a seccomp filter of the child's own, and gives what it wrote to stdout and stderr.
ProgramRun runService(std::vector<std::string> arguments, std::map<std::string, std::string> environment = {},
                      OuterFilter outerFilter = OuterFilter::None) {
    int pipeEnds[2];
    if (pipe(pipeEnds) != 0)
        return {};
    std::string program = binary("lxframed").string();
    pid_t child = fork();
    if (child == 0) {
        dup2(pipeEnds[1], STDOUT_FILENO);
        dup2(pipeEnds[1], STDERR_FILENO);
        close(pipeEnds[0]);
        close(pipeEnds[1]);
        unsetenv("LXFRAMED_UNCONFINED");
        for (const auto& [name, value] : environment)
            setenv(name.c_str(), value.c_str(), 1);
        if (outerFilter != OuterFilter::None)
            installOuterFilter(outerFilter == OuterFilter::HidingLandlock);
        std::vector<char*> argv{program.data()};
        for (auto& argument : arguments)
            argv.push_back(argument.data());
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    close(pipeEnds[1]);
    ProgramRun run;
    char buffer[4096];
    for (ssize_t got; (got = read(pipeEnds[0], buffer, sizeof buffer)) > 0;)
        run.output.append(buffer, static_cast<size_t>(got));
    close(pipeEnds[0]);
    int status = 0;
    waitpid(child, &status, 0);
    run.exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
}

/// The verdict ("refused" or "allowed") printed for each attempt.
std::map<std::string, std::string> verdicts(const std::string& output) {
    std::map<std::string, std::string> found;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        auto colon = line.find(": ");
        if (colon == std::string::npos)
            continue;
        auto what = line.substr(0, colon);
        auto verdict = line.substr(colon + 2);
        if (std::find(std::begin(kForbiddenAttempts), std::end(kForbiddenAttempts), what) !=
            std::end(kForbiddenAttempts))
            found[what] = verdict.substr(0, verdict.find(' '));
    }
    return found;
}

/// The "Name:\tvalue" fields of /proc/PID/status, or the rows of /proc/PID/limits.
std::map<std::string, std::string> procFields(pid_t pid, const char* file) {
    std::map<std::string, std::string> fields;
    std::ifstream in("/proc/" + std::to_string(pid) + "/" + file);
    for (std::string line; std::getline(in, line);) {
        if (std::string_view(file) == "status") {
            auto colon = line.find(':');
            auto value = line.find_first_not_of(" \t", colon + 1);
            if (colon != std::string::npos && value != std::string::npos)
                fields[line.substr(0, colon)] = line.substr(value);
        } else if (line.size() > 26) {
            // /proc/PID/limits: the name takes 26 columns, then soft and hard limit.
            std::istringstream values(line.substr(26));
            std::string soft, hard;
            values >> soft >> hard;
            auto name = line.substr(0, line.find_last_not_of(' ', 25) + 1);
            fields[name] = soft + " " + hard;
        }
    }
    return fields;
}

std::filesystem::path confinedMovie() {
    return makeMovie("confined.mp4", "-f lavfi -i testsrc2=size=320x240:rate=25:duration=2 "
                                     "-c:v libx264 -preset veryfast -g 10 -pix_fmt yuv420p");
}

/// Asks for four frames 0.44 s apart and checks each against ffmpeg's frame at that time.
void expectFramesMatchFfmpeg(LXFrameServiceClient& client, ServiceReplies& collector) {
    const double times[] = {0, 0.44, 0.88, 1.32};
    auto movie = confinedMovie();
    ASSERT_FALSE(client
                     .processRequest({{Key::movieData, NSData::dataWithVector(readFile(movie))},
                                      {Key::token, "confined"},
                                      {Key::frameSize, "{320, 240}"},
                                      {Key::frameCount, PropertyValue::number(4)},
                                      {Key::interval, PropertyValue::number(440)}})
                     .isError());
    auto replies = collector.waitForFinal("confined");
    ASSERT_TRUE(replies) << "no final reply";
    ASSERT_EQ(replies->size(), 5u);
    EXPECT_EQ(*PropertyValueForKey(replies->back(), Key::completed), PropertyValue::boolean(true));
    for (size_t i = 0; i < 4; ++i) {
        const PropertyValue* frames = PropertyValueForKey((*replies)[i], Key::frames);
        ASSERT_TRUE(frames && frames->array() && frames->array()->size() == 1);
        const PropertyValue* png = PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data);
        ASSERT_TRUE(png && png->data()) << "frame " << i << " has no picture";
        EXPECT_GE(psnr(DecodePngToRgb(*png->data()), FfmpegFrameAt(movie.string(), times[i], 320, 240)), 35.0)
            << "frame " << i;
    }
}

TEST(Confinement, CheckRefusesEveryAttemptAndSeesThemAllowedWhenSwitchedOff) {
    struct Case {
        const char* name;
        std::map<std::string, std::string> environment;
        OuterFilter outerFilter;
        const char* expected;
        int exitStatus;
        const char* saysOnStderr;
    };
    const Case cases[] = {
        {"confined", {}, OuterFilter::None, "refused", 0, ""},
        {"confined under another sandbox's filter", {}, OuterFilter::AllowAll, "refused", 0, ""},
        // Without Landlock the system call filter alone still refuses everything, and
        // the debug log says Landlock was missing.
        {"on a kernel without Landlock",
         {{"LXKIT_DEBUG", "1"}},
         OuterFilter::HidingLandlock,
         "refused",
         0,
         "the kernel has no Landlock"},
        // The same attempts without confinement show that each one can succeed, so a
        // "refused" above comes from confinement and not from the attempt itself.
        {"LXFRAMED_UNCONFINED=1", {{"LXFRAMED_UNCONFINED", "1"}}, OuterFilter::None, "allowed", 1, ""},
    };
    for (const auto& c : cases) {
        auto run = runService({"--check-confinement"}, c.environment, c.outerFilter);
        EXPECT_NE(run.output.find(c.saysOnStderr), std::string::npos) << c.name << ":\n" << run.output;
        auto found = verdicts(run.output);
        EXPECT_EQ(found.size(), std::size(kForbiddenAttempts)) << c.name << ":\n" << run.output;
        for (const char* attempt : kForbiddenAttempts)
            EXPECT_EQ(found[attempt], c.expected) << c.name << ": " << attempt << "\n" << run.output;
        EXPECT_EQ(run.exitStatus, c.exitStatus) << c.name;
    }
}

TEST(Confinement, AServiceStartedByTheClientIsConfinedAndMakesTheSameFrames) {
    ServiceReplies collector;
    auto client = LXFrameServiceClient::spawnService(binary("lxframed").string(), collector.handler());
    ASSERT_FALSE(client.isError()) << client.error().message;
    pid_t pid = client.value()->servicePid();

    // Confinement comes before the connection is served, so it is in place by now.
    auto status = procFields(pid, "status");
    EXPECT_EQ(status["Seccomp"], "2");
    EXPECT_EQ(status["NoNewPrivs"], "1");
    auto limits = procFields(pid, "limits");
    EXPECT_EQ(limits["Max open files"], "256 256");
    EXPECT_EQ(limits["Max core file size"], "0 0");
    EXPECT_EQ(limits["Max file size"], "0 0");
    std::error_code error;
    EXPECT_EQ(std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/cwd", error), "/");

    expectFramesMatchFfmpeg(*client.value(), collector);
}

TEST(Confinement, AListeningServiceUnderAnotherSandboxsFilterServesConfined) {
    TemporaryFolder folder;
    std::string socketPath = (folder / "lxframed.socket").string();
    std::string program = binary("lxframed").string();
    pid_t child = fork();
    if (child == 0) {
        installOuterFilter();
        execl(program.c_str(), "lxframed", "--listen", ("unix:path=" + socketPath).c_str(), nullptr);
        _exit(127);
    }
    for (int i = 0; i < 500 && access(socketPath.c_str(), F_OK) != 0; ++i)
        usleep(10'000);
    ServiceReplies collector;
    auto client = LXFrameServiceClient::connectToAddress("unix:path=" + socketPath, collector.handler());
    if (!client.isError()) {
        auto status = procFields(child, "status");
        EXPECT_EQ(status["NoNewPrivs"], "1");
        // Its own filter on top of the one it was started under.
        EXPECT_EQ(status["Seccomp_filters"], "2");
        expectFramesMatchFfmpeg(*client.value(), collector);
    }
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
    ASSERT_FALSE(client.isError()) << client.error().message;
}

TEST(Confinement, AReplyTooLargeForInlineDataStillArrivesWhole) {
    // A frame of noise makes a PNG over the 4 MiB at which data goes as a memfd, which a
    // confined service cannot grow (RLIMIT_FSIZE 0): the reply must still carry it.
    auto movie = makeMovie("noise.mkv", "-f lavfi -i nullsrc=size=1600x1600:rate=1:duration=1 "
                                        "-vf 'geq=random(1)*255:random(2)*255:random(3)*255' "
                                        "-c:v ffv1 -pix_fmt yuv444p");
    ServiceReplies collector;
    auto client = LXFrameServiceClient::spawnService(binary("lxframed").string(), collector.handler());
    ASSERT_FALSE(client.isError()) << client.error().message;
    ASSERT_FALSE(client.value()
                     ->processRequest({{Key::movieData, NSData::dataWithVector(readFile(movie))},
                                       {Key::token, "noise"},
                                       {Key::frameSize, "{1600, 1600}"},
                                       {Key::frameCount, PropertyValue::number(1)},
                                       {Key::interval, PropertyValue::number(1)}})
                     .isError());
    auto replies = collector.waitForFinal("noise");
    ASSERT_TRUE(replies) << "no final reply";
    ASSERT_EQ(replies->size(), 2u);
    EXPECT_EQ(*PropertyValueForKey(replies->back(), Key::completed), PropertyValue::boolean(true));
    const PropertyValue* frames = PropertyValueForKey(replies->front(), Key::frames);
    ASSERT_TRUE(frames && frames->array() && frames->array()->size() == 1);
    const PropertyValue* png = PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::data);
    ASSERT_TRUE(png && png->data());
    EXPECT_GT(png->data()->length(), 4u << 20);
    EXPECT_EQ(PngDimensions(*png->data()), std::make_pair(1600u, 1600u));
}

} // namespace
