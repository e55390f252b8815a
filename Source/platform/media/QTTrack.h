#pragma once

#include <cstdint>
#include <optional>

#include "platform/core/NSGeometry.h"
#include "platform/media/QTMedia.h"

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

private:
    QTMedia m_media;
    bool m_enabled;
    std::optional<NSRect> m_bounds;
    int64_t m_trackID;
};
