#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/core/ErrorOr.h"
#include "platform/core/NSData.h"
#include "platform/core/NSGeometry.h"
#include "platform/core/QTTime.h"
#include "platform/graphics/NSImage.h"
#include "platform/media/QTTrack.h"

/// One entry of a movie's chapter list (`QTMovieChapterStartTime`, `QTMovieChapterName`).
struct QTMovieChapter {
    std::optional<QTTime> startTime;
    std::string name;
};

/// The attributes of a frame grab: the image comes back as an NSImage of `size` points
/// (`QTMovieFrameImageSize`); without a size, at the movie's current size.
struct QTFrameImageAttributes {
    std::optional<NSSize> size;
};

class MovieDecoder;

/// A movie opened from bytes in memory, over FFmpeg.
class QTMovie {
public:
    /// Opens the movie in `data`, which the movie keeps alive. An error says why not.
    static ErrorOr<std::shared_ptr<QTMovie>> movieWithData(const NSData& data);
    ~QTMovie();
    QTMovie(const QTMovie&) = delete;
    QTMovie& operator=(const QTMovie&) = delete;

    /// The movie's time scale: the `mvhd` time scale of QuickTime and ISO-BMFF files,
    /// 600 for other containers.
    int64_t timeScale() const;
    /// The movie's length in its own time scale.
    QTTime duration() const;
    /// Chapters in the container's order, start times in the movie's time scale.
    std::vector<QTMovieChapter> chapters() const;
    /// All tracks in the container's order, enabled or not.
    const std::vector<std::shared_ptr<QTTrack>>& tracks() const;

    /// `QTMovieCurrentSizeAttribute`: the size at which the movie is displayed.
    NSSize currentSize() const;
    void setCurrentSize(NSSize size);

    /// The picture shown at `time`: the last frame of the first enabled video track whose
    /// presentation time is at or before `time`, turned by the track's display matrix,
    /// with its pixel aspect applied, and scaled to exactly the attributes' size. Nothing
    /// at or beyond the end, before the start, or when the size has no pixels or passes
    /// the cap of PixelLimits.h. Grabs in ascending time reuse the decoder's position.
    ErrorOr<std::shared_ptr<NSImage>> frameImageAtTime(QTTime time, const QTFrameImageAttributes& attributes);

private:
    QTMovie();
    std::unique_ptr<MovieDecoder> m_decoder;
    std::vector<std::shared_ptr<QTTrack>> m_tracks;
    NSSize m_currentSize;
};
