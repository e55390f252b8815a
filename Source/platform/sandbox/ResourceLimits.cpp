#include "platform/sandbox/ResourceLimits.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>

#include <unistd.h>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kAddressSanitizer = true;
#else
constexpr bool kAddressSanitizer = false;
#endif
#else
constexpr bool kAddressSanitizer = false;
#endif

constexpr rlim_t kMinimumAddressSpace = rlim_t(2) << 30;

ErrorOr<bool> setLimit(int resource, rlim_t value, const char* name) {
    rlimit limit{value, value};
    rlimit current{};
    // Never raise a limit that someone above lowered further.
    if (getrlimit(resource, &current) == 0 && current.rlim_max != RLIM_INFINITY && current.rlim_max < value)
        limit = {current.rlim_max, current.rlim_max};
    if (setrlimit(resource, &limit) != 0)
        return makeError(std::string("cannot limit ") + name + ": " + std::strerror(errno));
    return true;
}

} // namespace

ResourceLimits DefaultResourceLimits() {
    ResourceLimits limits;
    if (!kAddressSanitizer) {
        long pages = sysconf(_SC_PHYS_PAGES);
        long pageSize = sysconf(_SC_PAGESIZE);
        rlim_t physical = pages > 0 && pageSize > 0 ? rlim_t(pages) * rlim_t(pageSize) : 0;
        limits.addressSpace = std::max(physical / 2, kMinimumAddressSpace);
    }
    return limits;
}

ErrorOr<bool> ApplyResourceLimits(const ResourceLimits& limits) {
    if (chdir("/") != 0)
        return makeError(std::string("cannot change to the root folder: ") + std::strerror(errno));
    // A write past the file-size limit then fails with EFBIG instead of ending the
    // process.
    std::signal(SIGXFSZ, SIG_IGN);
    struct Entry {
        int resource;
        std::optional<rlim_t> value;
        const char* name;
    };
    const Entry entries[] = {
        {RLIMIT_NOFILE, limits.openFiles, "open descriptors"},
        {RLIMIT_CORE, limits.coreSize, "core files"},
        {RLIMIT_FSIZE, limits.fileSize, "file size"},
        {RLIMIT_AS, limits.addressSpace, "address space"},
    };
    for (const auto& entry : entries) {
        if (!entry.value)
            continue;
        auto set = setLimit(entry.resource, *entry.value, entry.name);
        if (set.isError())
            return set;
    }
    return true;
}
