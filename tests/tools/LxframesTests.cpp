#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/Fixtures.h"

namespace {

using namespace lxkit::test;

std::string lxframes() { return binary("lxframes").string(); }

// The PNG's width and height from its header, as "WxH".
std::string pngSize(const std::filesystem::path& png) {
    auto bytes = readFile(png);
    if (bytes.size() < 24)
        return "none";
    auto read32 = [&](size_t at) { return bytes[at] << 24 | bytes[at + 1] << 16 | bytes[at + 2] << 8 | bytes[at + 3]; };
    return std::to_string(read32(16)) + "x" + std::to_string(read32(20));
}

TEST(Lxframes, WritesTheFramesAskedFor) {
    struct Case {
        const char* options;
        std::vector<std::pair<const char*, const char*>> files; // name, size
    };
    const Case cases[] = {
        // Spread over the movie at its display size (it already fits 640 x 640).
        {"-q", {{"frame-001.png", "320x240"}, {"frame-010.png", "320x240"}}},
        {"-q -n 2 -s 4.5 -S 160x120 -r 90", {{"frame-001.png", "120x160"}, {"frame-002.png", "120x160"}}},
        {"-q -c", {{"chapter-01.png", "320x240"}, {"chapter-03.png", "320x240"}}},
    };
    for (const auto& c : cases) {
        TemporaryFolder folder;
        std::string command = lxframes() + " '" + sampleMovie().string() + "' " + c.options + " -o '" +
                              folder.path().string() + "' >/dev/null 2>&1";
        ASSERT_EQ(runCommand(command), 0) << command;
        for (const auto& [name, size] : c.files)
            EXPECT_EQ(pngSize(folder / name), size) << c.options << " " << name;
    }
}

TEST(Lxframes, SaysWhatIsWrongInOneLineAndFails) {
    TemporaryFolder folder;
    writeFile(folder / "notes.mp4", {'h', 'e', 'l', 'l', 'o'});
    struct Case {
        std::string arguments;
        int status;
        const char* says;
    };
    const Case cases[] = {
        {"/no/such/movie.mp4", 1, "cannot read /no/such/movie.mp4"},
        {"'" + (folder / "notes.mp4").string() + "'", 1, "is not a movie"},
        {"'" + sampleMovie().string() + "' -n 0", 2, "--count needs"},
        {"'" + sampleMovie().string() + "' -S 0x10", 2, "--size needs"},
        {"'" + sampleMovie().string() + "' --bogus", 2, "unknown option --bogus"},
        {"'" + sampleMovie().string() + "' -s 1 -t 5", 2, "cannot be used together"},
    };
    for (const auto& c : cases) {
        std::string command = lxframes() + " " + c.arguments + " -o '" + folder.path().string() + "' 2>&1";
        std::string output = commandOutput(command + "; echo \"status=$?\"");
        EXPECT_NE(output.find(c.says), std::string::npos) << output;
        EXPECT_NE(output.find("status=" + std::to_string(c.status)), std::string::npos) << output;
        EXPECT_EQ(std::count(output.begin(), output.end(), '\n'), 2) << output;
    }
}

TEST(Lxframes, CtrlCOnTheTerminalCancelsTheJobCleanly) {
    // Ctrl-C reaches the whole foreground process group; the service must not die of
    // it before lxframes cancels. Large frames keep the job going long enough.
    TemporaryFolder folder;
    std::string errors = (folder / "errors.txt").string();
    std::string tool = lxframes(), movie = sampleMovie().string(), output = folder.path().string();
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        setpgid(0, 0);
        int errorFile = open(errors.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        dup2(errorFile, STDERR_FILENO);
        execl(tool.c_str(), tool.c_str(), movie.c_str(), "-n", "40", "-S", "4000x3000", "-q", "-o",
              output.c_str(), static_cast<char*>(nullptr));
        _exit(127);
    }
    setpgid(child, child);
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!std::filesystem::exists(folder / "frame-001.png") && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    kill(-child, SIGINT);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    auto said = readFile(errors);
    std::string text(said.begin(), said.end());
    ASSERT_TRUE(WIFEXITED(status)) << text;
    EXPECT_EQ(WEXITSTATUS(status), 130) << text;
    EXPECT_NE(text.find("lxframes: cancelled after "), std::string::npos) << text;
    EXPECT_FALSE(std::filesystem::exists(folder / "frame-040.png"));
}

} // namespace
