#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/core/ErrorOr.h"

/// How much a stream (a pipe, a FIFO, a socket, a device) may hand over when it is
/// read whole, and how long reading it may take in all. Regular files are never read
/// whole: they are read where they lie.
struct NSDataStreamLimits {
    /// 256 MiB: larger movies are handed over as files, which cost nothing to pass.
    static constexpr size_t kDefaultMaximumLength = size_t(256) << 20;
    /// 10 s for the whole stream, including the wait for its first byte.
    static constexpr std::chrono::milliseconds kDefaultTimeout{10'000};

    size_t maximumLength = kDefaultMaximumLength;
    std::chrono::milliseconds timeout = kDefaultTimeout;
};

/// Immutable bytes with shared ownership: copies share the buffer, which may be a
/// vector, a read-only mapping of a sealed memfd or anything else that an owner keeps
/// alive. One form holds no bytes in memory: a regular file read where it lies, whose
/// length is fixed when the data is made. Every form answers `readBytes`; only the
/// in-memory forms answer `bytes`, `span` and `view`.
class NSData {
public:
    NSData() = default;
    static NSData dataWithBytes(const void* bytes, size_t length);
    static NSData dataWithVector(std::vector<uint8_t> bytes);
    /// Bytes that `owner` keeps alive; the owner is released with the last copy.
    static NSData dataWithOwner(std::shared_ptr<const void> owner, const uint8_t* bytes, size_t length);
    /// The first `length` bytes of a memfd sealed against writing and shrinking, mapped
    /// read-only. The data owns `descriptor` from here on, also when this fails.
    static ErrorOr<NSData> dataWithSealedMemfd(int descriptor, size_t length);
    /// The regular file `descriptor`, read in place through `pread` and never mapped:
    /// its length is its size now; a file that shrinks later reads short, as if it
    /// ended there, and one that grows is read to the old length. The data owns
    /// `descriptor` from here on, also when this fails. Descriptors that cannot be
    /// read (opened write-only, or for the path only) are refused.
    static ErrorOr<NSData> dataWithFileInPlace(int descriptor);
    /// Everything a stream gives until its end, in memory, within `limits`:
    /// more bytes than allowed, or an end that does not come in time, is an error that
    /// says so. Pipes and sockets are read without ever blocking, whoever else holds
    /// them; other streams must be open without blocking (`O_NONBLOCK`). The
    /// descriptor stays the caller's.
    static ErrorOr<NSData> dataWithContentsOfStream(int descriptor, NSDataStreamLimits limits = {});
    /// The file at `path` as a movie is handed over: a regular file in place (opened
    /// read-only, nothing copied), a sealed memfd mapped, any other file (a FIFO, a
    /// device, /dev/stdin) opened without blocking and read as a stream within
    /// `limits`. The error names the file and says why.
    static ErrorOr<NSData> dataWithContentsOfFile(const std::string& path, NSDataStreamLimits limits = {});

    /// The bytes, for the in-memory forms; null for a file read in place.
    const uint8_t* bytes() const { return m_bytes; }
    size_t length() const { return m_length; }
    bool empty() const { return m_length == 0; }
    /// Whether `bytes`, `span` and `view` hold the data (always so when it is empty).
    bool isInMemory() const { return m_fileDescriptor < 0; }
    /// The bytes in memory; empty for a file read in place (use `readBytes`).
    std::span<const uint8_t> span() const { return {m_bytes, m_bytes ? m_length : 0}; }
    std::string_view view() const { return {reinterpret_cast<const char*>(m_bytes), m_bytes ? m_length : 0}; }
    /// Copies up to `count` bytes from `offset` into `into`, in every form, and says how
    /// many: fewer at the end of the data, and fewer when a file read in place has
    /// shrunk or cannot be read any more (its data ends there).
    size_t readBytes(void* into, size_t count, size_t offset) const;
    /// The sealed memfd that holds exactly these bytes, or -1. It stays the data's: a
    /// user that sends it on duplicates it.
    int sealedDescriptor() const { return m_sealedDescriptor; }
    /// The regular file read in place, or -1. It stays the data's: a user that sends it
    /// on duplicates it.
    int fileDescriptor() const { return m_fileDescriptor; }

    friend bool operator==(const NSData& a, const NSData& b);

private:
    std::shared_ptr<const void> m_owner;
    const uint8_t* m_bytes = nullptr;
    size_t m_length = 0;
    int m_sealedDescriptor = -1;
    int m_fileDescriptor = -1;
};
