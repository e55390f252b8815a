#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <glib.h>

/// D-Bus's own limits on what one message may carry. GDBus does not hold a sender to
/// them, and as a receiver it takes arrays up to twice the array limit and closes the
/// connection on a message over the message limit, so both sides check for themselves.
inline constexpr size_t kDBusMaximumArrayBytes = size_t(64) * 1024 * 1024;
inline constexpr size_t kDBusMaximumMessageBytes = size_t(128) * 1024 * 1024;
/// Room left for the message's header when its body is measured alone.
inline constexpr size_t kDBusHeaderAllowance = 64 * 1024;

/// Why a message with this body breaks D-Bus's limits (an array over 64 MiB, or a body
/// that does not fit in a 128 MiB message), in words for a person; nothing when it
/// keeps them. Sizes are those of the GVariant serialization, which for byte arrays is
/// exactly their length on the wire.
std::optional<std::string> DBusWireLimitBreach(GVariant* body);
