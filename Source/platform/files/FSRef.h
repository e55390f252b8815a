#pragma once

#include <cstdint>
#include <optional>
#include <string>

/// A reference to an existing file-system item: its absolute path with every folder
/// resolved. The last component is kept as it is, so a reference to a symbolic link
/// names the link, not what it points to.
struct FSRef {
    std::string path;
};

/// Fills `ref` for the item at a path (relative paths count from the working folder);
/// false when there is no such item.
bool FSPathMakeRef(const std::string& path, FSRef* ref);

/// The slash-separated path of a reference; nothing for a null reference.
std::optional<std::string> FSRefMakePath(const FSRef* ref);

struct FSResolvedAlias {
    FSRef target;
    bool wasAliased = false;
};

/// Follows a chain of symbolic links to the item at its end. An item that is no link
/// comes back as it is with `wasAliased` false; a link into nowhere, or a loop, gives
/// nothing.
std::optional<FSResolvedAlias> FSResolveAliasFile(const FSRef& ref);

struct FSCatalogInfo {
    int16_t volume = 0;
    /// Space allocated on disk for the item itself (links are not followed).
    uint64_t physicalSize = 0;
};

/// Catalogue information of the item itself; nothing when it has gone.
std::optional<FSCatalogInfo> FSGetCatalogInfo(const FSRef& ref);
