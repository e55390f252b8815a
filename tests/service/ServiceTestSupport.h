#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "client/LXFrameServiceClient.h"
#include "platform/core/PropertyList.h"
#include "platform/ipc/NSXPCConnection.h"
#include "service/LXVideoFrameProtocols.h"
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
    std::shared_ptr<LXVideoFrameTask> task =
        std::make_shared<LXVideoFrameTask>(queue, LXVideoFrameBuiltInJobs);
    std::shared_ptr<RecordingConnection> connection = std::make_shared<RecordingConnection>();
};

/// The replies a client's thread hands over from a real service, kept in order.
class ServiceReplies {
public:
    LXFrameServiceClient::ReplyHandler handler() {
        return [this](const PropertyDictionary& reply) {
            size_t count;
            {
                std::lock_guard lock(m_mutex);
                m_replies.push_back(reply);
                count = m_replies.size();
            }
            if (onReply)
                onReply(count);
            m_changed.notify_all();
        };
    }
    /// Every reply of the request with `token`, once its final reply has come; nothing
    /// when the time is up first.
    std::optional<std::vector<PropertyDictionary>>
    waitForFinal(const PropertyValue& token, std::chrono::milliseconds timeout = std::chrono::seconds(60)) {
        std::unique_lock lock(m_mutex);
        std::vector<PropertyDictionary> found;
        bool done = m_changed.wait_for(lock, timeout, [&] {
            found = matching(token);
            return !found.empty() && PropertyValueForKey(found.back(), LXVideoFrameKey::completed);
        });
        return done ? std::optional(found) : std::nullopt;
    }
    bool waitForCount(size_t count, std::chrono::milliseconds timeout = std::chrono::seconds(30)) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_replies.size() >= count; });
    }
    std::vector<PropertyDictionary> replies() {
        std::lock_guard lock(m_mutex);
        return m_replies;
    }
    std::vector<PropertyDictionary> repliesFor(const PropertyValue& token) {
        std::lock_guard lock(m_mutex);
        return matching(token);
    }
    size_t count() {
        std::lock_guard lock(m_mutex);
        return m_replies.size();
    }
    /// Runs on the client's thread after each reply, with the number so far.
    std::function<void(size_t)> onReply;

private:
    std::vector<PropertyDictionary> matching(const PropertyValue& token) const {
        std::vector<PropertyDictionary> found;
        for (const auto& reply : m_replies) {
            if (const PropertyValue* value = PropertyValueForKey(reply, LXVideoFrameKey::token);
                value && *value == token)
                found.push_back(reply);
        }
        return found;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<PropertyDictionary> m_replies;
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
