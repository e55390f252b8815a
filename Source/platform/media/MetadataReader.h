#pragma once

#include <string>
#include <vector>

#include "platform/media/IsoBoxReader.h"
#include "platform/media/QTMetadataItem.h"

struct AVDictionary;

/// The metadata of a QuickTime or ISO base media movie, read from its boxes so that each
/// item keeps its own format and key: user data (the ©-atoms of 'udta'), QuickTime
/// metadata ('meta' with an 'mdta' handler: 'keys' and 'ilst') and iTunes metadata
/// ('meta' with an 'mdir' handler), in that order. Formats without items are left out.
std::vector<QTMetadataList> ReadIsoMetadata(const IsoBox& movieBox);

/// The tags that FFmpeg reads from other containers, under the QuickTime metadata keys
/// they stand for ("title" becomes the display name, "encoder" the software…); tags
/// without such a key are left out.
std::vector<QTMetadataList> MetadataFromTags(const AVDictionary* tags);
