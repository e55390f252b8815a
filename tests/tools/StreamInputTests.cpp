// The tools open a regular movie where it lies and read anything else (a pipe, a FIFO,
// a device) as a stream, within a cap and a timeout, failing in one clear line.

#include <chrono>
#include <regex>

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "support/Fixtures.h"

extern char** environ;

namespace lxkit::test {
namespace {

using namespace std::chrono_literals;

struct Run {
    int status = -1;
    std::string output;
    std::chrono::steady_clock::duration took{};
    long peakKilobytes = 0; ///< the largest resident set of the command's process
};

/// Runs a shell command whose last step `exec`s the program measured; its output and
/// standard error go to one file. Nothing may take longer than a minute.
Run RunMeasured(const std::string& command, const TemporaryFolder& folder) {
    auto outputPath = folder / "output.txt";
    std::string line = "exec timeout 60 sh -c \"" + command + "\" > '" + outputPath.string() + "' 2>&1";
    const char* arguments[] = {"/bin/sh", "-c", line.c_str(), nullptr};
    Run run;
    auto start = std::chrono::steady_clock::now();
    pid_t pid = 0;
    if (posix_spawn(&pid, "/bin/sh", nullptr, nullptr, const_cast<char**>(arguments), environ) != 0)
        return run;
    int status = 0;
    rusage usage{};
    wait4(pid, &status, 0, &usage);
    run.took = std::chrono::steady_clock::now() - start;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.peakKilobytes = usage.ru_maxrss;
    auto bytes = readFile(outputPath);
    run.output.assign(bytes.begin(), bytes.end());
    return run;
}

std::string Quoted(const std::filesystem::path& path) {
    return "'" + path.string() + "'";
}

TEST(StreamInput, EndlessOrSilentStreamsFailClearlyWithinTheCapAndTheTimeout) {
    TemporaryFolder folder;
    auto fifo = folder / "silent.fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    auto output = folder / "frames";
    struct Case {
        std::string command;
        const char* says;
        std::chrono::seconds atLeast;
    };
    const Case cases[] = {
        {Quoted(binary("lxinfo")) + " /dev/zero",
         "gives more than 256 MiB, the limit for a movie read from a stream", 0s},
        {Quoted(binary("lxinfo")) + " " + Quoted(fifo), "gave no end within 10 s", 9s},
        {Quoted(binary("lxframes")) + " /dev/zero -o " + Quoted(output), "gives more than 256 MiB", 0s},
        {Quoted(binary("lxframes")) + " " + Quoted(fifo) + " -o " + Quoted(output), "gave no end within 10 s",
         9s},
    };
    for (const auto& c : cases) {
        auto run = RunMeasured(c.command, folder);
        EXPECT_EQ(run.status, 1) << c.command << "\n" << run.output;
        EXPECT_NE(run.output.find(c.says), std::string::npos) << c.command << "\n" << run.output;
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << c.command << "\n"
                                                                             << run.output;
        EXPECT_GE(run.took, c.atLeast) << c.command;
        EXPECT_LT(run.took, 30s) << c.command;
        // What a stream gives goes into a memfd, never onto the heap: the process stays
        // small whatever the stream holds.
        EXPECT_LT(run.peakKilobytes, 300 * 1024) << c.command;
    }
}

TEST(StreamInput, APipedMovieGivesWhatTheFileGives) {
    TemporaryFolder folder;
    auto movie = sampleMovie();
    auto fromFile = RunMeasured(Quoted(binary("lxinfo")) + " --json " + Quoted(movie), folder);
    auto fromPipe =
        RunMeasured("cat " + Quoted(movie) + " | " + Quoted(binary("lxinfo")) + " --json /dev/stdin", folder);
    ASSERT_EQ(fromFile.status, 0) << fromFile.output;
    ASSERT_EQ(fromPipe.status, 0) << fromPipe.output;
    // Only the file's name differs.
    auto withoutName = [](std::string text) {
        return std::regex_replace(text, std::regex("\"(file|path|name)\": \"[^\"]*(sample.mp4|stdin)\""), "");
    };
    EXPECT_EQ(withoutName(fromPipe.output), withoutName(fromFile.output));

    std::string frames = " -n 3 -S 160x120 -q -o ";
    auto fileRun = RunMeasured(
        Quoted(binary("lxframes")) + " " + Quoted(movie) + frames + Quoted(folder / "file"), folder);
    auto pipeRun = RunMeasured("cat " + Quoted(movie) + " | " + Quoted(binary("lxframes")) + " /dev/stdin" +
                                   frames + Quoted(folder / "pipe"),
                               folder);
    ASSERT_EQ(fileRun.status, 0) << fileRun.output;
    ASSERT_EQ(pipeRun.status, 0) << pipeRun.output;
    for (const char* name : {"frame-001.png", "frame-002.png", "frame-003.png"}) {
        auto fromFilePng = readFile(folder / "file" / name);
        EXPECT_GT(fromFilePng.size(), 100u) << name;
        EXPECT_EQ(readFile(folder / "pipe" / name), fromFilePng) << name;
    }
}

TEST(StreamInput, LxinfoReadsTheIndexNotTheWholeMovie) {
    // Noise coded losslessly: a large media box, with the index after it or before it.
    const std::string noisy = "-f lavfi -i testsrc2=size=640x480:rate=25 -t 4 -vf noise=alls=40:allf=t "
                              "-c:v libx264 -preset ultrafast -qp 0 -pix_fmt yuv420p ";
    const std::pair<const char*, std::filesystem::path> movies[] = {
        {"index at the end", makeMovie("noisy-moov-last.mp4", noisy)},
        {"index at the start", makeMovie("noisy-moov-first.mp4", noisy + "-movflags +faststart")},
    };
    TemporaryFolder folder;
    for (const auto& [name, movie] : movies) {
        auto size = std::filesystem::file_size(movie);
        ASSERT_GT(size, 20u << 20) << name;
        auto run = RunMeasured("LXKIT_DEBUG=media " + Quoted(binary("lxinfo")) + " " + Quoted(movie), folder);
        ASSERT_EQ(run.status, 0) << name << "\n" << run.output;
        std::smatch match;
        std::regex line("lxkit media: read ([0-9]+) bytes of ([0-9]+) .*from a file in place");
        std::string rest = run.output;
        int lines = 0;
        while (std::regex_search(rest, match, line)) {
            ++lines;
            EXPECT_EQ(std::stoull(match[2].str()), size) << name;
            EXPECT_LT(std::stoull(match[1].str()), size / 20) << name << "\n" << match[0];
            rest = match.suffix();
        }
        EXPECT_GE(lines, 1) << name << "\n" << run.output;
    }
}

} // namespace
} // namespace lxkit::test
