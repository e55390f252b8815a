#pragma once

#include <optional>
#include <string>

#include "platform/files/FSRef.h"

/// GIO's hidden flag of an item (a name beginning with a point, or one listed in its
/// folder's ".hidden" file); nothing when the item cannot be queried.
std::optional<bool> LSItemIsInvisible(const std::string& path);

/// Whether a target accepts an item dropped on it: an application (a .desktop file)
/// accepts what its declared content types cover, a folder the user may write to accepts
/// any item, anything else nothing.
bool LSCanRefAcceptItem(const FSRef& item, const FSRef& target);
