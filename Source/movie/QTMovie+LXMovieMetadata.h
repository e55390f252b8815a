#pragma once

#include <optional>

#include "platform/core/PropertyList.h"
#include "platform/media/QTMovie.h"

namespace LXMovie {

/// The movie's descriptive facts in one dictionary: each item of every metadata format
/// whose key is a known one (album, artist, author, copyright, creation date,
/// description, name, location, make, model, software, or one of their aliases), folded
/// under its canonical key; "Tracks" with `AVTracks`; the localised "FPS" with the rate
/// when known; the localised "Length" with the abbreviated duration when the movie has
/// one. Nothing when the dictionary would be empty.
std::optional<PropertyDictionary> metadata(const QTMovie& movie);

/// The canonical keys (QuickTime metadata keys) and their aliases, in folding order.
const PropertyDictionary& MetadataAliasTable();

} // namespace LXMovie

/// Folds the aliases into the canonical key: the canonical key's own value wins, else
/// the first alias (in list order) that has one; every alias entry is removed either
/// way. Does nothing without a dictionary, without a key (a string) or without aliases.
void NormalizeMetadata(PropertyDictionary* dictionary, const PropertyValue& key,
                       const PropertyArray& aliases);
