// Small files that claim enormous pictures ("bombs") must be refused before they cost
// memory: each is opened and grabbed in a child process whose peak memory is measured.

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "BombFixtures.h"
#include "MovieFixtures.h"
#include "platform/media/QTMovie.h"

namespace lxkit::test {
namespace {

/// A generous bound: the largest picture within the cap, decoded, is 320 MB at 16 bits.
constexpr long kPeakBoundMB = 600;

struct ChildOutcome {
    bool exitedNormally = false;
    long peakMB = -1;
    std::string answer;
};

long PeakResidentMB() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmHWM:", 0) == 0)
            return std::stol(line.substr(6)) / 1024;
    }
    return -1;
}

/// Runs `work` in a child process and gives its answer and peak resident memory.
ChildOutcome RunInChild(const std::function<std::string()>& work) {
    int pipe[2];
    if (::pipe(pipe) != 0)
        return {};
    pid_t child = fork();
    if (child == 0) {
        close(pipe[0]);
        std::string answer = work();
        std::string report = std::to_string(PeakResidentMB()) + " " + answer;
        ssize_t written = write(pipe[1], report.data(), report.size());
        _exit(written == ssize_t(report.size()) ? 0 : 1);
    }
    close(pipe[1]);
    std::string report;
    char buffer[256];
    for (ssize_t length; (length = read(pipe[0], buffer, sizeof buffer)) > 0;)
        report.append(buffer, size_t(length));
    close(pipe[0]);
    int status = 0;
    waitpid(child, &status, 0);
    ChildOutcome outcome;
    outcome.exitedNormally = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (auto space = report.find(' '); space != std::string::npos) {
        outcome.peakMB = std::stol(report.substr(0, space));
        outcome.answer = report.substr(space + 1);
    }
    return outcome;
}

/// Opens the bytes and grabs the first frame at 320 x 240: "unopened", "no frame" or
/// "frame WxH".
std::string OpenAndGrab(const std::vector<uint8_t>& bytes) {
    auto movie = QTMovie::movieWithData(NSData::dataWithVector(bytes));
    if (movie.isError())
        return "unopened";
    auto image =
        movie.value()->frameImageAtTime(QTMakeTime(0, movie.value()->timeScale()), {NSMakeSize(320, 240)});
    if (image.isError())
        return "no frame";
    PixelSize size = image.value()->bitmap().pixelSize();
    return "frame " + std::to_string(size.width) + "x" + std::to_string(size.height);
}

struct BombCase {
    const char* name;
    std::function<std::vector<uint8_t>()> bytes;
    /// What a within-cap picture gives; empty for a refusal of any kind.
    std::string answer;
};

/// The picture or stream in a movie container, copied by the command line unchanged.
std::vector<uint8_t> InMovie(const std::string& name, const std::vector<uint8_t>& bytes,
                             const std::string& options, const std::string& extension = "png") {
    TemporaryFolder folder;
    auto source = folder / ("source." + extension);
    writeFile(source, bytes);
    return readFile(makeMovie(name, "-i '" + source.string() + "' -c copy " + options));
}

TEST(DecodeLimits, BombsCostNoMoreThanTheCapAllows) {
    const BombCase cases[] = {
        {"a PNG header claiming 16000 x 16000", [] { return PngBomb(16000, 16000, 8, 2, 4096); }, ""},
        {"a 16-bit PNG header claiming 16000 x 16000", [] { return PngBomb(16000, 16000, 16, 6, 4096); }, ""},
        {"a PNG of 20000 x 2100, over the cap by its pixels", [] { return PngBomb(20000, 2100, 8, 2); }, ""},
        {"an H.264 stream claiming 16000 x 16000, five pictures held",
         [] { return H264Bomb(16000, 16000, 4); }, ""},
        {"the same H.264 stream in MP4",
         [] { return InMovie("bomb-h264.mp4", H264Bomb(16000, 16000, 4), "-f mp4", "h264"); }, ""},
        // Within the cap, but 320 MB at 16 bits a sample: turning it before scaling
        // would double that.
        {"a 16-bit 7680 x 5200 picture turned a quarter",
         [] { return InMovie("bomb16-turned.mov", PngBomb(7680, 5200, 16, 6), "-metadata:s:v:0 rotate=90"); },
         "frame 320x240"},
    };
    for (const BombCase& bomb : cases) {
        SCOPED_TRACE(bomb.name);
        auto bytes = bomb.bytes();
        auto start = std::chrono::steady_clock::now();
        ChildOutcome outcome = RunInChild([&] { return OpenAndGrab(bytes); });
        double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        EXPECT_TRUE(outcome.exitedNormally);
        EXPECT_LT(outcome.peakMB, kPeakBoundMB) << "peak " << outcome.peakMB << " MB";
        if (bomb.answer.empty())
            EXPECT_TRUE(outcome.answer == "unopened" || outcome.answer == "no frame") << outcome.answer;
        else
            EXPECT_EQ(outcome.answer, bomb.answer);
        RecordProperty(bomb.name, std::to_string(outcome.peakMB) + " MB, " + std::to_string(seconds) + " s");
        std::printf("%s: %s, peak %ld MB, %.2f s, %zu bytes\n", bomb.name, outcome.answer.c_str(),
                    outcome.peakMB, seconds, bytes.size());
    }
}

} // namespace
} // namespace lxkit::test
