// The forms of NSData (bytes in memory, a sealed memfd, a file read in place, a stream
// read whole) must give the same bytes through every accessor, and a file read in
// place must stay harmless when it changes under the reader.

#include <chrono>
#include <functional>
#include <thread>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/core/NSData.h"
#include "support/Fixtures.h"

namespace lxkit::test {
namespace {

using namespace std::chrono_literals;

std::vector<uint8_t> Pattern(size_t length) {
    std::vector<uint8_t> bytes(length);
    uint32_t state = 2463534242u;
    for (auto& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = uint8_t(state);
    }
    return bytes;
}

int SealedMemfdWith(const std::vector<uint8_t>& bytes) {
    int fd = memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING);
    EXPECT_EQ(write(fd, bytes.data(), bytes.size()), ssize_t(bytes.size()));
    EXPECT_EQ(fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE), 0);
    return fd;
}

/// Everything the data gives through readBytes, in uneven pieces that cross the ends.
std::vector<uint8_t> ReadAll(const NSData& data, size_t piece) {
    std::vector<uint8_t> out;
    std::vector<uint8_t> buffer(piece);
    for (size_t offset = 0;;) {
        size_t n = data.readBytes(buffer.data(), buffer.size(), offset);
        if (n == 0)
            break;
        out.insert(out.end(), buffer.begin(), buffer.begin() + ptrdiff_t(n));
        offset += n;
    }
    return out;
}

TEST(NSDataForms, EveryFormGivesTheSameBytes) {
    TemporaryFolder folder;
    auto expected = Pattern(300'001);
    auto path = folder / "bytes.bin";
    writeFile(path, expected);

    struct Form {
        const char* name;
        std::function<ErrorOr<NSData>()> make;
        bool inMemory;
    };
    const Form forms[] = {
        {"vector", [&] { return ErrorOr<NSData>(NSData::dataWithVector(expected)); }, true},
        {"sealed memfd",
         [&] { return NSData::dataWithSealedMemfd(SealedMemfdWith(expected), expected.size()); }, true},
        {"file in place",
         [&] { return NSData::dataWithFileInPlace(open(path.c_str(), O_RDONLY | O_CLOEXEC)); }, false},
        {"file by path", [&] { return NSData::dataWithContentsOfFile(path.string()); }, false},
        {"pipe",
         [&] {
             int ends[2];
             EXPECT_EQ(pipe(ends), 0);
             std::thread writer([&, in = ends[1]] {
                 EXPECT_EQ(write(in, expected.data(), expected.size()), ssize_t(expected.size()));
                 close(in);
             });
             auto data = NSData::dataWithContentsOfStream(ends[0]);
             writer.join();
             close(ends[0]);
             return data;
         },
         true},
        {"socket",
         [&] {
             int ends[2];
             EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
             std::thread writer([&, in = ends[1]] {
                 EXPECT_EQ(send(in, expected.data(), expected.size(), MSG_NOSIGNAL),
                           ssize_t(expected.size()));
                 close(in);
             });
             auto data = NSData::dataWithContentsOfStream(ends[0]);
             writer.join();
             close(ends[0]);
             return data;
         },
         true},
    };
    NSData reference = NSData::dataWithVector(expected);
    for (const auto& form : forms) {
        auto made = form.make();
        ASSERT_FALSE(made.isError()) << form.name << ": " << made.error().message;
        const NSData& data = made.value();
        EXPECT_EQ(data.length(), expected.size()) << form.name;
        EXPECT_EQ(data.isInMemory(), form.inMemory) << form.name;
        EXPECT_EQ(data.isInMemory(), data.bytes() != nullptr) << form.name;
        EXPECT_EQ(data.isInMemory(), data.fileDescriptor() < 0) << form.name;
        for (size_t piece : {1u, 4093u, 65536u, 1u << 20})
            EXPECT_EQ(ReadAll(data, piece), expected) << form.name << " in pieces of " << piece;
        uint8_t tail[8] = {};
        EXPECT_EQ(data.readBytes(tail, sizeof tail, expected.size() - 3), 3u) << form.name;
        EXPECT_EQ(data.readBytes(tail, sizeof tail, expected.size()), 0u) << form.name;
        EXPECT_EQ(data.readBytes(tail, sizeof tail, SIZE_MAX), 0u) << form.name;
        EXPECT_TRUE(data == reference) << form.name;
        EXPECT_TRUE(reference == data) << form.name;
        NSData copy = data;
        EXPECT_EQ(ReadAll(copy, 4096), expected) << form.name << " (copy)";
    }
}

TEST(NSDataForms, AFileReadInPlaceThatShrinksOrChangesReadsShortNeverFaults) {
    TemporaryFolder folder;
    auto path = folder / "movie.bin";
    auto original = Pattern(1 << 20);
    writeFile(path, original);
    auto made = NSData::dataWithContentsOfFile(path.string());
    ASSERT_FALSE(made.isError()) << made.error().message;
    NSData data = made.releaseValue();
    ASSERT_FALSE(data.isInMemory());
    ASSERT_EQ(data.sealedDescriptor(), -1);

    // Truncated: the length stays what it was, the bytes past the new end are gone.
    ASSERT_EQ(truncate(path.c_str(), 1000), 0);
    EXPECT_EQ(data.length(), original.size());
    std::vector<uint8_t> buffer(4096);
    EXPECT_EQ(data.readBytes(buffer.data(), buffer.size(), 0), 1000u);
    EXPECT_EQ(data.readBytes(buffer.data(), buffer.size(), 500'000), 0u);
    EXPECT_EQ(ReadAll(data, 333).size(), 1000u);
    EXPECT_FALSE(data == NSData::dataWithVector(original));

    // Rewritten longer: reads stop at the length fixed when the data was made.
    auto rewritten = Pattern(3 << 20);
    std::reverse(rewritten.begin(), rewritten.end());
    writeFile(path, rewritten);
    EXPECT_EQ(ReadAll(data, 65536),
              std::vector<uint8_t>(rewritten.begin(), rewritten.begin() + ptrdiff_t(original.size())));
}

TEST(NSDataForms, RefusesWhatCannotBeRead) {
    TemporaryFolder folder;
    auto path = folder / "movie.bin";
    writeFile(path, Pattern(100));
    struct Case {
        const char* name;
        std::function<int()> open;
        const char* reason;
    };
    const Case cases[] = {
        {"write-only", [&] { return ::open(path.c_str(), O_WRONLY | O_CLOEXEC); }, "writing only"},
        {"path only", [&] { return ::open(path.c_str(), O_PATH | O_CLOEXEC); }, "path"},
        {"folder", [&] { return ::open(folder.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); },
         "regular"},
        {"device", [&] { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }, "regular"},
        {"closed", [&] { return 1 << 20; }, "descriptor"},
    };
    for (const auto& c : cases) {
        auto data = NSData::dataWithFileInPlace(c.open());
        ASSERT_TRUE(data.isError()) << c.name;
        EXPECT_NE(data.error().message.find(c.reason), std::string::npos)
            << c.name << ": " << data.error().message;
    }
    auto folderByPath = NSData::dataWithContentsOfFile(folder.path().string());
    ASSERT_TRUE(folderByPath.isError());
    EXPECT_NE(folderByPath.error().message.find("it is a folder"), std::string::npos);
}

TEST(NSDataForms, StreamsAreReadWithinTheirCapAndTheirTime) {
    TemporaryFolder folder;
    auto fifo = folder / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    NSDataStreamLimits small{4096, 300ms};

    struct Case {
        const char* name;
        std::function<ErrorOr<NSData>()> read;
        const char* reason;
    };
    int ends[2] = {-1, -1};
    const Case cases[] = {
        {"/dev/zero, endless", [&] { return NSData::dataWithContentsOfFile("/dev/zero", small); }, "4096"},
        {"FIFO without a writer", [&] { return NSData::dataWithContentsOfFile(fifo.string(), small); },
         "within"},
        {"pipe whose writer never writes",
         [&] {
             EXPECT_EQ(pipe(ends), 0);
             auto data = NSData::dataWithContentsOfStream(ends[0], small);
             close(ends[0]);
             close(ends[1]);
             return data;
         },
         "within"},
        {"pipe that gives too much",
         [&] {
             EXPECT_EQ(pipe(ends), 0);
             auto bytes = Pattern(5000);
             EXPECT_EQ(write(ends[1], bytes.data(), bytes.size()), 5000);
             close(ends[1]);
             auto data = NSData::dataWithContentsOfStream(ends[0], small);
             close(ends[0]);
             return data;
         },
         "more than"},
    };
    for (const auto& c : cases) {
        auto start = std::chrono::steady_clock::now();
        auto data = c.read();
        auto took = std::chrono::steady_clock::now() - start;
        ASSERT_TRUE(data.isError()) << c.name << " gave " << data.value().length() << " bytes";
        EXPECT_NE(data.error().message.find(c.reason), std::string::npos)
            << c.name << ": " << data.error().message;
        EXPECT_LT(took, 5s) << c.name;
    }

    // A stream that ends in time and within the cap is read whole into memory (a
    // confined service may not grow a memfd).
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "movie", 5), 5);
    close(ends[1]);
    auto read = NSData::dataWithContentsOfStream(ends[0], small);
    close(ends[0]);
    ASSERT_FALSE(read.isError()) << read.error().message;
    EXPECT_EQ(read.value(), NSData::dataWithBytes("movie", 5));
    EXPECT_TRUE(read.value().isInMemory());
}

} // namespace
} // namespace lxkit::test
