#pragma once

#include <optional>
#include <string>

/// The identifier of an item's content type as the desktop's type registry names it from
/// the item's name alone (GIO's fast content type): what the file manager shows without
/// reading the file. Folders are public.folder; a name that says nothing gives
/// public.data. Nothing when the item cannot be queried.
std::optional<std::string> LSCopyItemContentType(const std::string& path);

/// What an image reader makes of a file's first bytes (shared-mime-info sniffing).
struct ImageSourceType {
    /// The image type recognised, or nothing when the bytes are no image format.
    std::optional<std::string> type;
};

/// Opens a file for image detection; nothing when it cannot be read.
std::optional<ImageSourceType> CGImageSourceTypeAtPath(const std::string& path);

/// The content type judged from the first bytes alone, as an identifier, or nothing when
/// the file cannot be read.
std::optional<std::string> SniffedContentTypeAtPath(const std::string& path);
