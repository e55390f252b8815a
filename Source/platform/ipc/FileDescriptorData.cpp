#include "platform/ipc/FileDescriptorData.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

Error systemError(const char* what) {
    return makeError(std::string(what) + ": " + std::strerror(errno));
}

} // namespace

ErrorOr<NSData> DataFromFileDescriptor(int fd, NSDataStreamLimits limits) {
    struct stat status {};
    if (fstat(fd, &status) != 0)
        return systemError("cannot inspect the descriptor");
    if (S_ISFIFO(status.st_mode) || S_ISSOCK(status.st_mode)) {
        auto streamed = NSData::dataWithContentsOfStream(fd, limits);
        if (streamed.isError())
            return makeError("cannot read the stream: " + streamed.error().message);
        return streamed;
    }
    if (S_ISDIR(status.st_mode))
        return makeError("the descriptor is a folder");
    if (!S_ISREG(status.st_mode))
        return makeError("the descriptor is not a regular file, a memfd, a pipe or a socket");

    int own = fcntl(fd, F_DUPFD_CLOEXEC, 0);
    if (own < 0)
        return systemError("cannot keep the descriptor");
    // A memfd sealed against writing and shrinking is mapped as it is: its owner can no
    // longer change it under us. Any other file is read where it lies.
    int seals = fcntl(own, F_GET_SEALS);
    if (seals >= 0 && (seals & (F_SEAL_SHRINK | F_SEAL_WRITE)) == (F_SEAL_SHRINK | F_SEAL_WRITE) &&
        (fcntl(own, F_GETFL) & O_ACCMODE) != O_WRONLY)
        return NSData::dataWithSealedMemfd(own, size_t(std::max<off_t>(status.st_size, 0)));
    return NSData::dataWithFileInPlace(own);
}

ErrorOr<int> CreateDescriptorToSend(const NSData& data, const char* name) {
    if (data.fileDescriptor() >= 0) {
        int fd = fcntl(data.fileDescriptor(), F_DUPFD_CLOEXEC, 0);
        if (fd < 0)
            return systemError("cannot pass the file on");
        return fd;
    }
    return CreateSealedMemfd(data, name);
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
    std::vector<uint8_t> chunk(data.isInMemory() ? 0 : size_t(1) << 20);
    size_t written = 0;
    while (written < data.length()) {
        const uint8_t* from = nullptr;
        size_t count = data.length() - written;
        if (data.isInMemory()) {
            from = data.bytes() + written;
        } else {
            count = data.readBytes(chunk.data(), chunk.size(), written);
            from = chunk.data();
            if (count == 0)
                break; // The file shrank: its data ends here.
        }
        ssize_t n = write(fd, from, count);
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
