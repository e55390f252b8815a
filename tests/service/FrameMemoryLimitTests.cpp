// lxframed runs under a memory limit (RLIMIT_AS), so any allocation may be refused.
// A refusal anywhere in a frame's making is a frame not produced: the job answers with
// the usual shape and the process lives on.

#include <fstream>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "ServiceTestSupport.h"
#include "service/LXVideoFrameProtocols.h"
#include "support/Fixtures.h"

using namespace lxkit::test;
namespace Key = LXVideoFrameKey;

namespace {

long VirtualSizeMB() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmSize:", 0) == 0)
            return std::stol(line.substr(7)) / 1024;
    }
    return -1;
}

std::filesystem::path movie() {
    return makeMovie("limit.mp4", "-f lavfi -i testsrc2=size=640x480:rate=25:duration=1 "
                                  "-c:v libx264 -preset veryfast -pix_fmt yuv420p");
}

class FrameMemoryLimitTest : public JobTest {
protected:
    /// Runs a two-frame job of `size` in a child whose address space may grow by
    /// `headroomMB`: 0 when the replies had the job's shape, 2 when not, -signal when
    /// the child died.
    int runLimited(long headroomMB, const char* size) {
        auto bytes = NSData::dataWithVector(readFile(movie()));
        pid_t child = fork();
        if (child == 0) {
            rlimit limit{};
            limit.rlim_cur = limit.rlim_max = rlim_t(VirtualSizeMB() + headroomMB) * 1024 * 1024;
            setrlimit(RLIMIT_AS, &limit);
            auto replies = run({{Key::movieData, bytes},
                                {Key::token, PropertyValue::number(5)},
                                {Key::frameSize, size},
                                {Key::frameCount, PropertyValue::number(2)},
                                {Key::interval, PropertyValue::number(400)}});
            // Two frame replies (with or without pictures) and the final one, which
            // counts both as answered.
            bool shaped = replies.size() == 3 && CompletedOf(replies.back()) == true;
            for (size_t i = 0; shaped && i < 2; ++i) {
                const PropertyValue* frames = PropertyValueForKey(replies[i], Key::frames);
                shaped = frames && frames->array() && frames->array()->size() == 1 &&
                         PropertyValueForKey(*(*frames->array())[0].dictionary(), Key::time);
            }
            _exit(shaped ? 0 : 2);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (WIFSIGNALED(status))
            return -WTERMSIG(status);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
};

TEST_F(FrameMemoryLimitTest, ARefusedAllocationIsAFrameNotProduced) {
#if defined(__SANITIZE_ADDRESS__)
    GTEST_SKIP() << "AddressSanitizer reserves more address space than any limit allows";
#else
    movie();
    // From too little for the decoder to enough for the 140 MB bitmap but not for its
    // transform or PNG.
    for (long headroom : {8L, 32L, 64L, 128L, 200L, 300L, 400L}) {
        for (const char* size : {"{7000, 5000}", "{640, 480}"})
            EXPECT_EQ(runLimited(headroom, size), 0) << size << " with " << headroom << " MB of headroom";
    }
#endif
}

} // namespace
