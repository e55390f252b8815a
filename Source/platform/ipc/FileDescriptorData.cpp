#include "platform/ipc/FileDescriptorData.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr unsigned kRequiredSeals = F_SEAL_SHRINK | F_SEAL_WRITE;

class Mapping {
public:
    Mapping(void* address, size_t length) : m_address(address), m_length(length) {}
    Mapping(const Mapping&) = delete;
    Mapping& operator=(const Mapping&) = delete;
    ~Mapping() { munmap(m_address, m_length); }

private:
    void* m_address;
    size_t m_length;
};

Error systemError(const char* what) { return makeError(std::string(what) + ": " + std::strerror(errno)); }

} // namespace

ErrorOr<NSData> DataFromFileDescriptor(int fd) {
    struct stat status {};
    if (fstat(fd, &status) != 0)
        return systemError("cannot inspect the descriptor");
    if (!S_ISREG(status.st_mode))
        return makeError("the descriptor is not a regular file or memfd");
    if (status.st_size < 0)
        return makeError("the descriptor has no size");
    auto length = static_cast<size_t>(status.st_size);
    if (length == 0)
        return NSData::dataWithVector({});

    int seals = fcntl(fd, F_GET_SEALS);
    if (seals >= 0 && (static_cast<unsigned>(seals) & kRequiredSeals) == kRequiredSeals) {
        void* address = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, fd, 0);
        if (address == MAP_FAILED)
            return systemError("cannot map the descriptor");
        auto mapping = std::make_shared<const Mapping>(address, length);
        return NSData::dataWithOwner(mapping, static_cast<const uint8_t*>(address), length);
    }

    std::vector<uint8_t> bytes(length);
    size_t filled = 0;
    while (filled < length) {
        ssize_t n = pread(fd, bytes.data() + filled, length - filled, static_cast<off_t>(filled));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return systemError("cannot read the descriptor");
        if (n == 0)
            break; // Truncated meanwhile: keep what was there.
        filled += static_cast<size_t>(n);
    }
    bytes.resize(filled);
    return NSData::dataWithVector(std::move(bytes));
}

ErrorOr<int> CreateSealedMemfd(const NSData& data, const char* name) {
    int fd = memfd_create(name, MFD_CLOEXEC | MFD_ALLOW_SEALING);
    if (fd < 0)
        return systemError("cannot make a memfd");
    size_t written = 0;
    while (written < data.length()) {
        ssize_t n = write(fd, data.bytes() + written, data.length() - written);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            auto error = systemError("cannot fill the memfd");
            close(fd);
            return error;
        }
        written += static_cast<size_t>(n);
    }
    if (fcntl(fd, F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL) != 0) {
        auto error = systemError("cannot seal the memfd");
        close(fd);
        return error;
    }
    return fd;
}
