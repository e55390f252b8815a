#pragma once

#include <optional>

#include <sys/resource.h>

#include "platform/core/ErrorOr.h"

/// The limits a confined frame service runs under. Each is set as both the soft and
/// the hard limit, so the process cannot raise it again.
struct ResourceLimits {
    /// Descriptors: the standard streams, the D-Bus sockets, GLib's wake-ups and the
    /// movie descriptors handed over with queued requests, with room to spare.
    rlim_t openFiles = 256;
    /// Address space in bytes; none under AddressSanitizer, whose shadow memory alone
    /// reserves terabytes of address space.
    std::optional<rlim_t> addressSpace;
    /// No core files (they would hold the movie) and no file can be grown.
    rlim_t coreSize = 0;
    rlim_t fileSize = 0;
};

/// The limits lxframed serves under: `openFiles` 256 and an address space of half the
/// machine's physical memory, but at least 2 GiB (a decoder's threads and their stacks,
/// malloc's per-thread arenas and the mapped libraries take several hundred MiB of
/// address space before any picture is decoded).
ResourceLimits DefaultResourceLimits();

/// Sets every limit, also changing the working folder to "/" so no folder stays open
/// through it.
ErrorOr<bool> ApplyResourceLimits(const ResourceLimits& limits);
