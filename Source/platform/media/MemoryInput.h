#pragma once

#include <chrono>
#include <memory>
#include <optional>

#include "platform/core/ErrorOr.h"
#include "platform/core/NSData.h"
#include "platform/media/FFmpegHandles.h"

/// A demuxer reading a movie's bytes straight from memory through a custom I/O
/// context; it keeps the bytes alive for as long as it exists.
class MemoryInput {
public:
    /// Opening and probing give up at `deadline` (by default 10 s from now).
    static ErrorOr<std::unique_ptr<MemoryInput>>
    open(const NSData& data, std::optional<std::chrono::steady_clock::time_point> deadline = std::nullopt);
    ~MemoryInput();
    MemoryInput(const MemoryInput&) = delete;
    MemoryInput& operator=(const MemoryInput&) = delete;

    AVFormatContext* format() const { return m_format.get(); }
    const NSData& data() const { return m_data; }
    /// Whether the container is QuickTime or ISO base media (mov, mp4, m4v, 3gp…).
    bool isIsoMedia() const;

    /// Work on hostile bytes is cut short: FFmpeg's blocking calls give up once the
    /// deadline has passed. Each operation sets a fresh deadline before it starts.
    void setDeadline(std::chrono::steady_clock::duration fromNow);

private:
    explicit MemoryInput(NSData data) : m_data(std::move(data)) {}
    static int read(void* opaque, uint8_t* buffer, int size);
    static int64_t seek(void* opaque, int64_t offset, int whence);
    static int interrupt(void* opaque);

    NSData m_data;
    size_t m_position = 0;
    std::chrono::steady_clock::time_point m_deadline;
    IOContextHandle m_io;
    FormatContextHandle m_format;
};
