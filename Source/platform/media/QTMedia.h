#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Media characteristics, by the platform's well-known string values.
inline constexpr std::string_view QTMediaCharacteristicVisual = "com.apple.quicktime.visual";
inline constexpr std::string_view QTMediaCharacteristicAudio = "com.apple.quicktime.audio";
inline constexpr std::string_view QTMediaCharacteristicCanSendVideo = "com.apple.quicktime.can-send-video";
inline constexpr std::string_view QTMediaCharacteristicHasVideoFrameRate = "com.apple.quicktime.has-video-frame-rate";

/// The media of a track: what kind of samples it holds.
class QTMedia {
public:
    QTMedia() = default;
    explicit QTMedia(std::vector<std::string> characteristics) : m_characteristics(std::move(characteristics)) {}

    bool hasCharacteristic(std::string_view characteristic) const;
    const std::vector<std::string>& characteristics() const { return m_characteristics; }

private:
    std::vector<std::string> m_characteristics;
};
