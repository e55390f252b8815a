#pragma once

#include "platform/ipc/NSXPCInterface.h"

/// The protocol the service exports: `cancelRequest` and `processRequest:` (one request
/// dictionary), as D-Bus interface io.lxkit.VideoFrameService1 on the object
/// /io/lxkit/VideoFrameService.
const NSXPCInterface& LXVideoFrameServiceInterface();

/// The protocol the client exports: `processReply:` (one reply dictionary), as D-Bus
/// interface io.lxkit.VideoFrameClient1 on the object /io/lxkit/VideoFrameClient.
const NSXPCInterface& LXVideoFrameClientInterface();

/// The keys of requests, replies and frame entries.
namespace LXVideoFrameKey {
inline constexpr const char* movieData = "movieData";
inline constexpr const char* wantsChapterFrames = "wantsChapterFrames";
inline constexpr const char* frameSize = "frameSize";
inline constexpr const char* frameCount = "frameCount";
inline constexpr const char* interval = "interval";
inline constexpr const char* transforms = "transforms";
inline constexpr const char* requiresAllFrames = "requiresAllFrames";
inline constexpr const char* token = "token";
inline constexpr const char* frames = "frames";
inline constexpr const char* completed = "completed";
inline constexpr const char* data = "data";
inline constexpr const char* time = "time";
inline constexpr const char* chapterIndex = "chapterIndex";
inline constexpr const char* flipHorizontal = "flipHorizontal";
inline constexpr const char* flipVertical = "flipVertical";
inline constexpr const char* rotation = "rotation";
} // namespace LXVideoFrameKey
