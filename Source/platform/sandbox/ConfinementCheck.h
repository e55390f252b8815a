#pragma once

#include <functional>
#include <string>
#include <vector>

/// One thing a confined process must not be able to do, and whether it could.
struct ConfinementAttempt {
    std::string what;
    bool allowed = false;
    /// How it was refused or what came of it, e.g. "Operation not permitted".
    std::string detail;
};

/// Tries, in a child process of its own for each, what confinement must refuse: read
/// /etc/passwd, run /bin/true, make a socket, make a file in the temporary folder. Each
/// child first calls `confine` (which returns false when it could not confine), so an
/// exec that succeeds or a call that kills the process is seen from outside.
std::vector<ConfinementAttempt> TryForbiddenActions(const std::function<bool()>& confine);
