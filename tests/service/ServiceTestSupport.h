#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include "platform/core/PropertyList.h"
#include "platform/ipc/NSXPCConnection.h"

namespace lxkit::test {

/// A connection that keeps every reply sent through it; `onSend` runs after each one,
/// so a test can act in the middle of a job (cancel, connect another client).
class RecordingConnection final : public NSXPCConnection {
public:
    void resume() override { m_resumed = true; }
    void sendMessage(std::string_view selector, const PropertyArray& arguments) override {
        {
            std::lock_guard lock(m_mutex);
            if (selector == "processReply" && !arguments.empty() && arguments[0].dictionary())
                m_replies.push_back(*arguments[0].dictionary());
        }
        if (onSend)
            onSend(m_replies.size());
    }
    bool isClosed() const override { return false; }

    std::vector<PropertyDictionary> replies() const {
        std::lock_guard lock(m_mutex);
        return m_replies;
    }
    bool resumed() const { return m_resumed; }
    std::function<void(size_t repliesSoFar)> onSend;

private:
    mutable std::mutex m_mutex;
    std::vector<PropertyDictionary> m_replies;
    bool m_resumed = false;
};

/// The width and height in a PNG's header, or (0, 0) when the bytes are not a PNG.
std::pair<uint32_t, uint32_t> PngDimensions(const NSData& png);

/// Decodes a PNG with the ffmpeg command line into RGB24 rows.
std::vector<uint8_t> DecodePngToRgb(const NSData& png);

/// A frame of `movie` at `seconds` as ffmpeg itself gives it, scaled to w x h, as RGB24.
std::vector<uint8_t> FfmpegFrameAt(const std::string& movie, double seconds, int width, int height);

} // namespace lxkit::test
