#pragma once

#include <memory>
#include <vector>

#include "platform/media/MemoryInput.h"
#include "platform/media/VideoFrameGrabber.h"

/// What a movie opened from bytes keeps of FFmpeg: the demuxer, the facts about each
/// stream that grabbing needs (indexed like the movie's tracks), and the frame grabber,
/// made on the first grab and kept for the next.
struct MovieDecoder {
    struct Stream {
        bool isVideo = false;
        int rotation = 0;     ///< clockwise display rotation, 0, 90, 180 or 270
        int streamIndex = -1; ///< the demuxer's stream that the track's pictures come from
    };

    std::unique_ptr<MemoryInput> input;
    std::vector<Stream> streams;
    /// The stream time, in AV_TIME_BASE units, that movie time 0 stands for.
    int64_t startOffset = 0;
    std::unique_ptr<VideoFrameGrabber> grabber;
};
