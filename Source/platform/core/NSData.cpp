#include "platform/core/NSData.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (m_fd >= 0)
            close(m_fd);
    }
    int get() const { return m_fd; }
    int release() { return std::exchange(m_fd, -1); }

private:
    int m_fd;
};

/// Anonymous memory from `mmap`, released with the last copy of the data.
class AnonymousMapping {
public:
    AnonymousMapping(void* address, size_t length) : m_address(address), m_length(length) {}
    AnonymousMapping(const AnonymousMapping&) = delete;
    AnonymousMapping& operator=(const AnonymousMapping&) = delete;
    ~AnonymousMapping() { munmap(m_address, m_length); }
    /// Gives back the pages past the first `used` bytes.
    void shrink(size_t used) {
        size_t page = size_t(sysconf(_SC_PAGESIZE));
        size_t kept = std::max(page, (used + page - 1) / page * page);
        if (kept < m_length && munmap(static_cast<uint8_t*>(m_address) + kept, m_length - kept) == 0)
            m_length = kept;
    }

private:
    void* m_address;
    size_t m_length;
};

/// A memfd and its read-only mapping, released together with the last copy of the data.
class SealedMapping {
public:
    SealedMapping(int descriptor, void* address, size_t length)
        : m_descriptor(descriptor), m_address(address), m_length(length) {}
    SealedMapping(const SealedMapping&) = delete;
    SealedMapping& operator=(const SealedMapping&) = delete;
    ~SealedMapping() { munmap(m_address, m_length); }

private:
    Descriptor m_descriptor;
    void* m_address;
    size_t m_length;
};

std::string systemText() {
    return std::strerror(errno);
}

std::string mebibytes(size_t length) {
    if (length % (size_t(1) << 20) != 0)
        return std::to_string(length) + " bytes";
    return std::to_string(length >> 20) + " MiB";
}

/// Why a descriptor cannot serve as data to read, or nothing when it can.
std::optional<std::string> unreadableReason(int descriptor) {
    int flags = fcntl(descriptor, F_GETFL);
    if (flags < 0)
        return "not an open descriptor: " + systemText();
    if (flags & O_PATH)
        return std::string("the descriptor names a path and cannot be read");
    if ((flags & O_ACCMODE) == O_WRONLY)
        return std::string("the descriptor is open for writing only");
    return std::nullopt;
}

/// How a stream hands over its bytes without blocking: pipes through `splice`, which
/// does not block on the pipe whatever its sender set, sockets through `recv` with
/// MSG_DONTWAIT, everything else through `read` on a description open without blocking.
enum class StreamKind { Pipe, Socket, Other };

} // namespace

NSData NSData::dataWithBytes(const void* bytes, size_t length) {
    auto begin = static_cast<const uint8_t*>(bytes);
    return dataWithVector(std::vector<uint8_t>(begin, begin + length));
}

NSData NSData::dataWithVector(std::vector<uint8_t> bytes) {
    auto owner = std::make_shared<const std::vector<uint8_t>>(std::move(bytes));
    return dataWithOwner(owner, owner->data(), owner->size());
}

NSData NSData::dataWithOwner(std::shared_ptr<const void> owner, const uint8_t* bytes, size_t length) {
    NSData data;
    data.m_owner = std::move(owner);
    data.m_bytes = bytes;
    data.m_length = length;
    return data;
}

ErrorOr<NSData> NSData::dataWithSealedMemfd(int descriptor, size_t length) {
    Descriptor owned(descriptor);
    unsigned required = F_SEAL_SHRINK | F_SEAL_WRITE;
    int seals = fcntl(descriptor, F_GET_SEALS);
    if (seals < 0 || (unsigned(seals) & required) != required)
        return makeError("the descriptor is not a sealed memfd");
    struct stat status {};
    if (fstat(descriptor, &status) != 0 || status.st_size < 0 || size_t(status.st_size) < length)
        return makeError("the memfd is shorter than its data");
    if (length == 0)
        return dataWithVector({});
    void* address = mmap(nullptr, length, PROT_READ, MAP_SHARED, descriptor, 0);
    if (address == MAP_FAILED)
        return makeError("cannot map the memfd: " + systemText());
    auto mapping = std::make_shared<const SealedMapping>(owned.release(), address, length);
    NSData data = dataWithOwner(mapping, static_cast<const uint8_t*>(address), length);
    data.m_sealedDescriptor = descriptor;
    return data;
}

ErrorOr<NSData> NSData::dataWithFileInPlace(int descriptor) {
    auto owned = std::make_shared<Descriptor>(descriptor);
    if (auto reason = unreadableReason(descriptor))
        return makeError(*reason);
    struct stat status {};
    if (fstat(descriptor, &status) != 0)
        return makeError("cannot inspect the file: " + systemText());
    if (!S_ISREG(status.st_mode))
        return makeError("the descriptor is not a regular file");
    if (status.st_size <= 0)
        return dataWithVector({});
    NSData data;
    data.m_owner = std::move(owned);
    data.m_length = size_t(status.st_size);
    data.m_fileDescriptor = descriptor;
    return data;
}

size_t NSData::readBytes(void* into, size_t count, size_t offset) const {
    if (offset >= m_length)
        return 0;
    count = std::min(count, m_length - offset);
    if (m_fileDescriptor < 0) {
        std::memcpy(into, m_bytes + offset, count);
        return count;
    }
    // A short read is the end of the data: the file shrank, or its medium failed.
    size_t filled = 0;
    while (filled < count) {
        ssize_t n = pread(m_fileDescriptor, static_cast<uint8_t*>(into) + filled, count - filled,
                          off_t(offset + filled));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        filled += size_t(n);
    }
    return filled;
}

ErrorOr<NSData> NSData::dataWithContentsOfStream(int descriptor, NSDataStreamLimits limits) {
    if (auto reason = unreadableReason(descriptor))
        return makeError(*reason);
    struct stat status {};
    if (fstat(descriptor, &status) != 0)
        return makeError("cannot inspect the stream: " + systemText());
    if (S_ISDIR(status.st_mode))
        return makeError("it is a folder");
    StreamKind kind = S_ISFIFO(status.st_mode)   ? StreamKind::Pipe
                      : S_ISSOCK(status.st_mode) ? StreamKind::Socket
                                                 : StreamKind::Other;
    if (kind == StreamKind::Other && !S_ISREG(status.st_mode) && !(fcntl(descriptor, F_GETFL) & O_NONBLOCK))
        return makeError("the stream would block: it is not open without blocking");

    // A pipe is drained through a private pipe: `splice` never blocks on the stream,
    // whatever its sender set, and a read from our own pipe never waits.
    int relay[2] = {-1, -1};
    if (kind == StreamKind::Pipe && pipe2(relay, O_CLOEXEC | O_NONBLOCK) != 0)
        return makeError("cannot make a pipe: " + systemText());
    Descriptor relayOut(relay[0]), relayIn(relay[1]);
    // The bytes go to anonymous memory, not a memfd: a confined service may not grow
    // a file (its file-size limit is 0). The whole cap is reserved at once and only the
    // pages written cost memory, so a stream at its cap never holds twice its size, as
    // a growing vector would while it moves.
    size_t reserved = limits.maximumLength + 1;
    void* address =
        mmap(nullptr, reserved, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (address == MAP_FAILED)
        return makeError("cannot reserve memory for the stream: " + systemText());
    auto mapping = std::make_shared<AnonymousMapping>(address, reserved);
    auto* bytes = static_cast<uint8_t*>(address);
    size_t total = 0;
    constexpr size_t kChunk = 64 * 1024;
    auto deadline = std::chrono::steady_clock::now() + limits.timeout;
    auto timedOut = [&] {
        return makeError("it gave no end within " + std::to_string(limits.timeout.count() / 1000) +
                         " s, the limit for a movie read from a stream");
    };
    for (;;) {
        auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0)
            return timedOut();
        pollfd waiting{descriptor, POLLIN, 0};
        int ready = poll(&waiting, 1, int(std::min<int64_t>(left.count(), INT32_MAX)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready < 0)
            return makeError("cannot wait for the stream: " + systemText());
        if (ready == 0)
            return timedOut();
        // One byte past the limit is enough to know the stream is too long.
        size_t wanted = std::min(reserved - total, kChunk);
        ssize_t n = 0;
        switch (kind) {
        case StreamKind::Pipe:
            n = splice(descriptor, nullptr, relayIn.get(), nullptr, wanted, SPLICE_F_NONBLOCK);
            if (n > 0 && read(relayOut.get(), bytes + total, size_t(n)) != n)
                return makeError("cannot read the stream: " + systemText());
            break;
        case StreamKind::Socket:
            n = recv(descriptor, bytes + total, wanted, MSG_DONTWAIT);
            break;
        case StreamKind::Other:
            n = read(descriptor, bytes + total, wanted);
            break;
        }
        if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
            continue;
        if (n < 0)
            return makeError("cannot read the stream: " + systemText());
        if (n == 0)
            break;
        total += size_t(n);
        if (total > limits.maximumLength)
            return makeError("it gives more than " + mebibytes(limits.maximumLength) +
                             ", the limit for a movie read from a stream");
    }
    mapping->shrink(total);
    return dataWithOwner(mapping, bytes, total);
}

ErrorOr<NSData> NSData::dataWithContentsOfFile(const std::string& path, NSDataStreamLimits limits) {
    // Without blocking: a FIFO with no writer opens at once, and the wait for its bytes
    // is bounded below. Regular files ignore the flag.
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file.get() < 0)
        return makeError("cannot read " + path + ": " + systemText());
    struct stat status {};
    if (fstat(file.get(), &status) != 0)
        return makeError("cannot read " + path + ": " + systemText());
    if (S_ISDIR(status.st_mode))
        return makeError("cannot read " + path + ": it is a folder");
    // Regular files that claim no size (those of /proc) are read like streams.
    auto data = S_ISREG(status.st_mode) && status.st_size > 0 ? dataWithFileInPlace(file.release())
                                                              : dataWithContentsOfStream(file.get(), limits);
    if (data.isError())
        return makeError("cannot read " + path + ": " + data.error().message);
    return data;
}

bool operator==(const NSData& a, const NSData& b) {
    if (a.length() != b.length())
        return false;
    if (a.isInMemory() && b.isInMemory())
        return std::ranges::equal(a.span(), b.span());
    std::vector<uint8_t> left(1 << 16);
    std::vector<uint8_t> right(1 << 16);
    for (size_t offset = 0; offset < a.length();) {
        size_t fromA = a.readBytes(left.data(), left.size(), offset);
        size_t fromB = b.readBytes(right.data(), right.size(), offset);
        if (fromA != fromB || !std::equal(left.begin(), left.begin() + ptrdiff_t(fromA), right.begin()))
            return false;
        if (fromA == 0)
            break;
        offset += fromA;
    }
    return true;
}
