#pragma once

#include <optional>
#include <string>

#include "platform/media/QTTrack.h"

namespace LXTrack {

/// The English name of the track's language from its classic numeric code ("English"
/// for 0, "Chinese" for 19 and 33, "Ukrainian" for 45); nothing for codes outside the
/// 46 names, and when the track names no language.
std::optional<std::string> language(const QTTrack& track);

} // namespace LXTrack
