#pragma once

#include <functional>
#include <mutex>
#include <vector>

#include <gtest/gtest.h>

#include "platform/core/PropertyList.h"
#include "platform/ipc/NSXPCConnection.h"
#include "service/LXVideoFrameTask.h"

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

/// A task of its own with a queue that the test drains, answering into a recording
/// connection.
class JobTest : public ::testing::Test {
protected:
    void SetUp() override { task->setConnection(connection); }

    /// Posts the request, runs the queue and gives every reply so far.
    std::vector<PropertyDictionary> run(PropertyDictionary request) {
        task->processRequest(std::move(request));
        queue.runPending();
        return connection->replies();
    }
    /// Starts the next case on a fresh connection.
    void useNewConnection() {
        connection = std::make_shared<RecordingConnection>();
        task->setConnection(connection);
    }

    NSOperationQueue queue;
    std::shared_ptr<LXVideoFrameTask> task = std::make_shared<LXVideoFrameTask>(queue, LXVideoFrameBuiltInJobs);
    std::shared_ptr<RecordingConnection> connection = std::make_shared<RecordingConnection>();
};

/// The "completed" of a final reply, read as a boolean.
std::optional<bool> CompletedOf(const PropertyDictionary& reply);

/// The width and height in a PNG's header, or (0, 0) when the bytes are not a PNG.
std::pair<uint32_t, uint32_t> PngDimensions(const NSData& png);

/// Decodes a PNG with the ffmpeg command line into RGB24 rows.
std::vector<uint8_t> DecodePngToRgb(const NSData& png);

/// A frame of `movie` at `seconds` as ffmpeg itself gives it, scaled to w x h, as RGB24.
std::vector<uint8_t> FfmpegFrameAt(const std::string& movie, double seconds, int width, int height);

} // namespace lxkit::test
