#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/core/NSGeometry.h"
#include "platform/media/QTMedia.h"

/// The classic numeric language code for "no language given" (`langUnspecified`).
inline constexpr int64_t QTLanguageUnspecified = 32767;

/// One track of a movie, in the container's order.
class QTTrack {
public:
    QTTrack(QTMedia media, bool enabled, std::optional<NSRect> bounds, int64_t trackID = 0)
        : m_media(std::move(media)), m_enabled(enabled), m_bounds(bounds), m_trackID(trackID) {}

    const QTMedia& media() const { return m_media; }
    bool isEnabled() const { return m_enabled; }
    void setEnabled(bool enabled) { m_enabled = enabled; }

    /// `QTTrackBoundsAttribute`: (0, 0, display width, display height) for a visual
    /// track as it is stored, nothing for a track without a picture.
    std::optional<NSRect> bounds() const { return m_bounds; }
    void setBounds(NSRect bounds) { m_bounds = bounds; }

    /// The container's identifier of the track (the 'tkhd' track ID of QuickTime and
    /// ISO base media files); 0 when the container has none.
    int64_t trackID() const { return m_trackID; }

    /// `QTTrackMediaTypeAttribute`: the media's four-character type, nothing without one.
    std::optional<std::string> mediaType() const {
        return m_media.mediaType().empty() ? std::nullopt : std::optional(m_media.mediaType());
    }
    /// `QTTrackFormatSummaryAttribute`: "H.264, 1280 × 720"; "AAC, Stereo (L R), 44.100 kHz".
    const std::optional<std::string>& formatSummary() const { return m_formatSummary; }
    void setFormatSummary(std::optional<std::string> summary) { m_formatSummary = std::move(summary); }
    /// `QTTrackDisplayNameAttribute`: the container's name of the track, else a generic
    /// one by media type ("Video Track").
    const std::optional<std::string>& displayName() const { return m_displayName; }
    void setDisplayName(std::optional<std::string> name) { m_displayName = std::move(name); }
    /// "QTTrackLanguageAttribute": the classic numeric language code (0 English, 1
    /// French…, `QTLanguageUnspecified` for "und"); nothing when the container names no
    /// language or one without a classic code.
    std::optional<int64_t> languageCode() const { return m_languageCode; }
    void setLanguageCode(std::optional<int64_t> code) { m_languageCode = code; }

private:
    QTMedia m_media;
    bool m_enabled;
    std::optional<NSRect> m_bounds;
    int64_t m_trackID;
    std::optional<std::string> m_formatSummary;
    std::optional<std::string> m_displayName;
    std::optional<int64_t> m_languageCode;
};
