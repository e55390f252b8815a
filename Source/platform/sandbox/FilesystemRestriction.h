#pragma once

#include <string>

/// What Landlock made of the request to take every filesystem right away.
struct FilesystemRestriction {
    bool restricted = false;
    /// The kernel's Landlock ABI version, 0 when the kernel has none.
    int abiVersion = 0;
    /// Why nothing was restricted, when nothing was.
    std::string reason;
};

/// Takes from the calling thread, and every thread it starts from now on, the right to
/// open, make, change or run anything by path, and (as far as the kernel's Landlock
/// version goes) to bind or connect TCP sockets, to reach abstract Unix sockets and to
/// signal processes outside the process. Landlock binds threads, not processes: threads
/// that exist already keep their rights. Needs no_new_privs set on the calling thread.
/// A kernel without Landlock leaves everything as it was and says so.
FilesystemRestriction RestrictFilesystemAccess();
