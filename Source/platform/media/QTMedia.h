#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/core/QTTime.h"

/// Media characteristics, by the platform's well-known string values.
inline constexpr std::string_view QTMediaCharacteristicVisual = "com.apple.quicktime.visual";
inline constexpr std::string_view QTMediaCharacteristicAudio = "com.apple.quicktime.audio";
inline constexpr std::string_view QTMediaCharacteristicCanSendVideo = "com.apple.quicktime.can-send-video";
inline constexpr std::string_view QTMediaCharacteristicHasVideoFrameRate =
    "com.apple.quicktime.has-video-frame-rate";

/// Media types, as the classic four-character codes that QuickTime's handlers carry.
inline constexpr std::string_view QTMediaTypeVideo = "vide";
inline constexpr std::string_view QTMediaTypeSound = "soun";
inline constexpr std::string_view QTMediaTypeText = "text";
inline constexpr std::string_view QTMediaTypeSubtitle = "sbtl";
inline constexpr std::string_view QTMediaTypeClosedCaption = "clcp";
inline constexpr std::string_view QTMediaTypeTimeCode = "tmcd";
inline constexpr std::string_view QTMediaTypeMPEG = "MPEG";
inline constexpr std::string_view QTMediaTypeMuxed = "muxx";
inline constexpr std::string_view QTMediaTypeMusic = "musi";

/// `QTMediaDurationAttribute` and `QTMediaSampleCountAttribute` together: what a pass
/// over the samples finds when the container keeps no index.
struct QTMediaTiming {
    std::optional<QTTime> duration;
    std::optional<int64_t> sampleCount;
};

/// The media of a track: what kind of samples it holds, and how many over how long.
class QTMedia {
public:
    QTMedia() = default;
    explicit QTMedia(std::vector<std::string> characteristics, std::string mediaType = {})
        : m_characteristics(std::move(characteristics)), m_mediaType(std::move(mediaType)) {}

    bool hasCharacteristic(std::string_view characteristic) const;
    const std::vector<std::string>& characteristics() const { return m_characteristics; }

    /// The four-character media type ("vide", "soun"…); empty when the media has none.
    const std::string& mediaType() const { return m_mediaType; }

    /// `QTMediaDurationAttribute`: the media's length in the track's own time scale.
    std::optional<QTTime> duration() const;
    /// `QTMediaSampleCountAttribute`: how many samples (frames, for video) it holds.
    std::optional<int64_t> sampleCount() const;
    void setDuration(QTTime duration) { m_timing.duration = duration; }
    void setSampleCount(int64_t count) { m_timing.sampleCount = count; }

    /// Where the duration and the sample count come from when they are not set: a pass
    /// over the samples, made on the first question and kept, so that opening a movie
    /// never reads all of it.
    void setTimingSource(std::function<QTMediaTiming()> source);

private:
    const QTMediaTiming& timing() const;

    std::vector<std::string> m_characteristics;
    std::string m_mediaType;
    QTMediaTiming m_timing;
    std::function<QTMediaTiming()> m_timingSource;
    mutable std::shared_ptr<QTMediaTiming> m_counted;
};
