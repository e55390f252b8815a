#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/core/ErrorOr.h"

/// Immutable bytes with shared ownership: copies share the buffer, which may be a
/// vector, a read-only mapping of a file or anything else that an owner keeps alive.
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
    /// The first `length` bytes of the regular file `descriptor` (fewer if it is
    /// shorter), copied so that no later change to the file reaches them; where it can,
    /// into a sealed memfd. The descriptor stays the caller's.
    static ErrorOr<NSData> dataWithCopyOfFile(int descriptor, size_t length);
    /// The whole content of a file, read in one go; the error names the file and why.
    /// A regular file is copied by the kernel into a sealed memfd, so its bytes can be
    /// handed to another process without another copy; other files are read to their end.
    static ErrorOr<NSData> dataWithContentsOfFile(const std::string& path);

    const uint8_t* bytes() const { return m_bytes; }
    size_t length() const { return m_length; }
    bool empty() const { return m_length == 0; }
    std::span<const uint8_t> span() const { return {m_bytes, m_length}; }
    std::string_view view() const { return {reinterpret_cast<const char*>(m_bytes), m_length}; }
    /// The sealed memfd that holds exactly these bytes, or -1. It stays the data's: a
    /// user that sends it on duplicates it.
    int sealedDescriptor() const { return m_sealedDescriptor; }

    friend bool operator==(const NSData& a, const NSData& b);

private:
    std::shared_ptr<const void> m_owner;
    const uint8_t* m_bytes = nullptr;
    size_t m_length = 0;
    int m_sealedDescriptor = -1;
};
