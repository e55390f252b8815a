#include "movie/QTMovie+LXMovie.h"

#include <algorithm>

namespace {

bool IsVisual(const QTTrack& track) {
    // CanSendVideo is asked only when Visual is absent.
    const QTMedia& media = track.media();
    if (media.hasCharacteristic(QTMediaCharacteristicVisual))
        return true;
    return media.hasCharacteristic(QTMediaCharacteristicCanSendVideo);
}

} // namespace

namespace LXMovie {

NSSize size(const QTMovie& movie) {
    NSSize result = NSZeroSize;
    for (const auto& track : movie.tracks()) {
        if (!track->isEnabled() || !IsVisual(*track))
            continue;
        NSRect bounds = track->bounds().value_or(NSZeroRect);
        result.width = std::max(result.width, bounds.size.width);
        result.height = std::max(result.height, bounds.size.height);
    }
    return result;
}

void setSize(QTMovie& movie, NSSize size) {
    for (const auto& track : movie.tracks()) {
        if (IsVisual(*track))
            track->setBounds(NSMakeRect(0, 0, size.width, size.height));
    }
}

void bumpSize(QTMovie& movie) {
    NSSize current = size(movie);
    movie.setCurrentSize(NSMakeSize(current.width - 1.0, current.height - 1.0));
    movie.setCurrentSize(current);
}

} // namespace LXMovie
