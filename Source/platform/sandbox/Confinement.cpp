#include "platform/sandbox/Confinement.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <sys/prctl.h>

#include "platform/sandbox/FilesystemRestriction.h"
#include "platform/sandbox/LibraryWarmUp.h"
#include "platform/sandbox/SyscallFilter.h"

// The sanitizers' runtime reads /proc/self/maps and starts its symbolizer when it
// first reports; told beforehand, it does both now, so reports made under confinement
// still name their frames. Present only in sanitizer builds.
extern "C" void __sanitizer_sandbox_on_notify(void* arguments) __attribute__((weak));

namespace {

void debugLog(const std::string& message) {
    if (const char* debug = std::getenv("LXKIT_DEBUG"); debug && *debug)
        std::fprintf(stderr, "lxkit: confinement: %s\n", message.c_str());
}

ErrorOr<bool> setNoNewPrivileges() {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return makeError(std::string("cannot set no_new_privs: ") + std::strerror(errno));
    return true;
}

} // namespace

ErrorOr<bool> RestrictThreadFilesystemAccess() {
    auto privileges = setNoNewPrivileges();
    if (privileges.isError())
        return privileges;
    FilesystemRestriction restriction = RestrictFilesystemAccess();
    if (restriction.restricted)
        debugLog("Landlock ABI " + std::to_string(restriction.abiVersion) + ": no filesystem rights");
    else
        debugLog(restriction.reason + "; the system call filter alone keeps paths out of reach");
    return true;
}

ErrorOr<bool> ConfineProcess(const ResourceLimits& limits) {
    if (__sanitizer_sandbox_on_notify)
        __sanitizer_sandbox_on_notify(nullptr);
    WarmUpLibrariesForConfinement();
    auto limited = ApplyResourceLimits(limits);
    if (limited.isError())
        return limited;
    // Landlock first: the system call filter does not let its calls through.
    auto restricted = RestrictThreadFilesystemAccess();
    if (restricted.isError())
        return restricted;
    return InstallSyscallFilter();
}
