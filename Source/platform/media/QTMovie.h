#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/core/ErrorOr.h"
#include "platform/core/NSData.h"
#include "platform/core/NSGeometry.h"
#include "platform/core/QTTime.h"
#include "platform/graphics/NSImage.h"
#include "platform/media/QTMetadataItem.h"
#include "platform/media/QTTrack.h"

/// One entry of a movie's chapter list (`QTMovieChapterStartTime`, `QTMovieChapterName`).
struct QTMovieChapter {
    std::optional<QTTime> startTime;
    std::string name;
};

/// The attributes of a frame grab: the image comes back as an NSImage of `size` points
/// (`QTMovieFrameImageSize`); without a size, at the movie's current size.
struct QTFrameImageAttributes {
    QTFrameImageAttributes() = default;
    QTFrameImageAttributes(std::optional<NSSize> size, std::vector<QTTime> upcomingTimes = {})
        : size(size), upcomingTimes(std::move(upcomingTimes)) {}

    std::optional<NSSize> size;
    /// The times the caller will ask for after this one, in order, as far as it knows
    /// them. Only a hint: the decoder stops right after this frame when the next time
    /// lies beyond a keyframe, instead of decoding on towards it.
    std::vector<QTTime> upcomingTimes;
    /// When the grab gives up, decoding or not, and answers "no image"; without one, a
    /// minute after it starts.
    std::optional<std::chrono::steady_clock::time_point> deadline;
};

class MovieDecoder;

/// A movie opened from its bytes, in memory or in a file read in place, over FFmpeg.
class QTMovie {
public:
    /// Opens the movie in `data`, which the movie keeps alive. An error says why not
    /// (empty, unreadable, truncated or damaged bytes).
    static ErrorOr<std::shared_ptr<QTMovie>> movieWithData(const NSData& data);
    /// The same, giving up at `deadline`, with opening and probing unfinished.
    static ErrorOr<std::shared_ptr<QTMovie>> movieWithData(const NSData& data,
                                                           std::chrono::steady_clock::time_point deadline);
    /// A movie assembled in memory from tracks without samples, at time scale 600 and
    /// with the given duration: it answers every question about tracks and sizes, and
    /// has no frames to grab.
    static std::shared_ptr<QTMovie> movieWithTracks(std::vector<std::shared_ptr<QTTrack>> tracks,
                                                    QTTime duration = QTZeroTime);
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
    /// The tracks of one media type (`QTMediaTypeVideo`…), in the movie's order. An
    /// MPEG-1 or MPEG-2 program stream is one muxed track of type `QTMediaTypeMPEG`.
    std::vector<std::shared_ptr<QTTrack>> tracksOfMediaType(std::string_view mediaType) const;

    /// `QTMovieHasDurationAttribute`: whether the movie lasts any time at all.
    bool hasDuration() const;
    /// `QTMoviePosterTimeAttribute`: the poster frame's time from the movie header of
    /// QuickTime and ISO base media files, the start for other containers; nothing when
    /// the header holds none.
    std::optional<QTTime> posterTime() const;
    void setPosterTime(std::optional<QTTime> time);

    /// The metadata formats the movie carries (`QTMetadataFormatQuickTimeUserData`…),
    /// in the order they are listed.
    std::vector<std::string> availableMetadataFormats() const;
    /// The items of one format, in the movie's order; empty for a format it lacks.
    std::vector<QTMetadataItem> metadataForFormat(std::string_view format) const;
    /// Replaces the items of one format (for movies assembled in memory).
    void setMetadataForFormat(std::string format, std::vector<QTMetadataItem> items);

    /// `QTMovieCurrentSizeAttribute`: the size at which the movie is displayed.
    NSSize currentSize() const;
    void setCurrentSize(NSSize size);
    /// Called after every `setCurrentSize`, with the size set (the platform's "size did
    /// change" notification, which views displaying the movie listen to).
    void setCurrentSizeObserver(std::function<void(NSSize)> observer);

    /// The picture shown at `time`: the last frame of the first enabled video track whose
    /// presentation time is at or before `time`, turned by the track's display matrix and
    /// scaled to exactly the attributes' size (which already carries the pixel aspect).
    /// "No image" is always an error, never a null image: for a time before the start
    /// or at or beyond the end, a size without pixels or over the cap of PixelLimits.h, a
    /// movie without an enabled video track, or video that cannot be decoded. Grabs at
    /// ascending times continue decoding where the last one stopped.
    ErrorOr<std::shared_ptr<NSImage>> frameImageAtTime(QTTime time, const QTFrameImageAttributes& attributes);

private:
    QTMovie();
    static ErrorOr<std::shared_ptr<QTMovie>>
    openWithData(const NSData& data, std::optional<std::chrono::steady_clock::time_point> deadline);
    ErrorOr<std::shared_ptr<NSImage>> grabFrameImage(QTTime time, const QTFrameImageAttributes& attributes);
    void adoptTracks(std::vector<std::shared_ptr<QTTrack>> tracks);

    std::unique_ptr<MovieDecoder> m_decoder;
    int64_t m_timeScale = QTDefaultTimeScale;
    QTTime m_duration;
    std::vector<QTMovieChapter> m_chapters;
    std::vector<std::shared_ptr<QTTrack>> m_tracks;
    std::optional<QTTime> m_posterTime;
    std::vector<QTMetadataList> m_metadata;
    NSSize m_currentSize;
    std::function<void(NSSize)> m_currentSizeObserver;
};
