#include "platform/ipc/FileDescriptorData.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

Error systemError(const char* what) {
    return makeError(std::string(what) + ": " + std::strerror(errno));
}

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

    // A memfd sealed against writing and shrinking is mapped as it is: its owner can no
    // longer change it under us. Anything else is copied.
    if (int own = fcntl(fd, F_DUPFD_CLOEXEC, 0); own >= 0) {
        if (auto mapped = NSData::dataWithSealedMemfd(own, length); !mapped.isError())
            return mapped;
    }
    auto copy = NSData::dataWithCopyOfFile(fd, length);
    if (copy.isError())
        return makeError("cannot read the descriptor: " + copy.error().message);
    return copy;
}

ErrorOr<int> CreateSealedMemfd(const NSData& data, const char* name) {
    if (data.sealedDescriptor() >= 0) {
        int fd = fcntl(data.sealedDescriptor(), F_DUPFD_CLOEXEC, 0);
        if (fd < 0)
            return systemError("cannot pass the memfd on");
        return fd;
    }
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
