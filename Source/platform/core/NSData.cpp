#include "platform/core/NSData.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// A memfd and its read-only mapping, released together with the last copy of the data.
class SealedMapping {
public:
    SealedMapping(int descriptor, void* address, size_t length)
        : m_descriptor(descriptor), m_address(address), m_length(length) {}
    SealedMapping(const SealedMapping&) = delete;
    SealedMapping& operator=(const SealedMapping&) = delete;
    ~SealedMapping() {
        munmap(m_address, m_length);
        close(m_descriptor);
    }

private:
    int m_descriptor;
    void* m_address;
    size_t m_length;
};

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

Error readError(const std::string& path) {
    return makeError("cannot read " + path + ": " + std::strerror(errno));
}

/// The file's first `length` bytes, copied by the kernel into a new sealed memfd: no
/// buffer of ours is zeroed and faulted in page by page, and the memfd can be handed
/// to another process as it is. Nothing when that cannot be done here.
std::optional<NSData> sealedCopy(int file, size_t length) {
    Descriptor memfd(memfd_create("lxkit-file", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (memfd.get() < 0)
        return std::nullopt;
    off_t offset = 0;
    while (size_t(offset) < length) {
        ssize_t n = sendfile(memfd.get(), file, &offset, length - size_t(offset));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return std::nullopt;
        if (n == 0)
            break; // The file shrank meanwhile: keep what was there.
    }
    if (fcntl(memfd.get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) != 0)
        return std::nullopt;
    auto data = NSData::dataWithSealedMemfd(memfd.release(), size_t(offset));
    if (data.isError())
        return std::nullopt;
    return data.releaseValue();
}

/// Reads what the descriptor gives until its end, for files that are not regular.
ErrorOr<NSData> readToEnd(int file, const std::string& path) {
    std::vector<uint8_t> bytes;
    for (;;) {
        size_t filled = bytes.size();
        bytes.resize(filled + std::max<size_t>(filled, 1 << 16));
        ssize_t n = read(file, bytes.data() + filled, bytes.size() - filled);
        if (n < 0 && errno == EINTR) {
            bytes.resize(filled);
            continue;
        }
        if (n < 0)
            return readError(path);
        bytes.resize(filled + size_t(n));
        if (n == 0)
            return NSData::dataWithVector(std::move(bytes));
    }
}

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
        return makeError(std::string("cannot map the memfd: ") + std::strerror(errno));
    auto mapping = std::make_shared<const SealedMapping>(owned.release(), address, length);
    NSData data = dataWithOwner(mapping, static_cast<const uint8_t*>(address), length);
    data.m_sealedDescriptor = descriptor;
    return data;
}

bool operator==(const NSData& a, const NSData& b) {
    return std::ranges::equal(a.span(), b.span());
}

ErrorOr<NSData> NSData::dataWithCopyOfFile(int descriptor, size_t length) {
    if (auto sealed = sealedCopy(descriptor, length))
        return *sealed;
    std::vector<uint8_t> bytes(length);
    size_t filled = 0;
    while (filled < length) {
        ssize_t n = pread(descriptor, bytes.data() + filled, length - filled, off_t(filled));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return makeError(std::strerror(errno));
        if (n == 0)
            break; // The file shrank meanwhile: keep what was there.
        filled += size_t(n);
    }
    bytes.resize(filled);
    return dataWithVector(std::move(bytes));
}

ErrorOr<NSData> NSData::dataWithContentsOfFile(const std::string& path) {
    Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0)
        return readError(path);
    struct stat status {};
    if (fstat(file.get(), &status) != 0)
        return readError(path);
    if (S_ISDIR(status.st_mode))
        return makeError("cannot read " + path + ": it is a folder");
    if (!S_ISREG(status.st_mode) || status.st_size <= 0)
        return readToEnd(file.get(), path);
    auto data = dataWithCopyOfFile(file.get(), size_t(status.st_size));
    if (data.isError())
        return makeError("cannot read " + path + ": " + data.error().message);
    return data;
}
