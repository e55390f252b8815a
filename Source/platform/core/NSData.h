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
    /// The whole content of a file, read in one go; the error names the file and why.
    static ErrorOr<NSData> dataWithContentsOfFile(const std::string& path);

    const uint8_t* bytes() const { return m_bytes; }
    size_t length() const { return m_length; }
    bool empty() const { return m_length == 0; }
    std::span<const uint8_t> span() const { return {m_bytes, m_length}; }
    std::string_view view() const { return {reinterpret_cast<const char*>(m_bytes), m_length}; }

    friend bool operator==(const NSData& a, const NSData& b);

private:
    std::shared_ptr<const void> m_owner;
    const uint8_t* m_bytes = nullptr;
    size_t m_length = 0;
};
