#include "platform/sandbox/FilesystemRestriction.h"

#include <cerrno>
#include <cstdint>
#include <cstring>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

// The kernel's Landlock interface (linux/landlock.h), written out here because the
// system's header may predate the rights newer kernels know.
struct LandlockRulesetAttributes {
    uint64_t handledAccessFilesystem;
    uint64_t handledAccessNetwork; // ABI 4 on
    uint64_t scoped;               // ABI 6 on
};
constexpr uint32_t kCreateRulesetVersion = 1u << 0;

// Filesystem rights by the ABI version that introduced them: execute, write, read,
// read a folder, remove a folder or file, make every kind of node (v1); rename or link
// across folders (v2); truncate (v3); ioctl on devices (v5).
constexpr uint64_t kFilesystemRightsV1 = (1ull << 13) - 1;
constexpr uint64_t kReferRight = 1ull << 13;
constexpr uint64_t kTruncateRight = 1ull << 14;
constexpr uint64_t kDeviceIoctlRight = 1ull << 15;
// Bind and connect TCP sockets (v4).
constexpr uint64_t kNetworkRights = (1ull << 0) | (1ull << 1);
// Connect to abstract Unix sockets, signal processes, outside the domain (v6).
constexpr uint64_t kScopes = (1ull << 0) | (1ull << 1);

uint64_t filesystemRights(int abi) {
    uint64_t rights = kFilesystemRightsV1;
    if (abi >= 2)
        rights |= kReferRight;
    if (abi >= 3)
        rights |= kTruncateRight;
    if (abi >= 5)
        rights |= kDeviceIoctlRight;
    return rights;
}

class Descriptor {
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor() {
        if (m_fd >= 0)
            close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

} // namespace

FilesystemRestriction RestrictFilesystemAccess() {
    FilesystemRestriction result;
    long abi = syscall(SYS_landlock_create_ruleset, nullptr, 0, kCreateRulesetVersion);
    if (abi < 1) {
        result.reason = errno == ENOSYS ? "the kernel has no Landlock"
                        : errno == EOPNOTSUPP
                            ? "Landlock is turned off in this kernel"
                            : std::string("Landlock is unavailable: ") + std::strerror(errno);
        return result;
    }
    result.abiVersion = static_cast<int>(abi);
    LandlockRulesetAttributes attributes{filesystemRights(result.abiVersion), 0, 0};
    size_t size = sizeof(attributes.handledAccessFilesystem);
    if (result.abiVersion >= 4) {
        attributes.handledAccessNetwork = kNetworkRights;
        size += sizeof(attributes.handledAccessNetwork);
    }
    if (result.abiVersion >= 6) {
        attributes.scoped = kScopes;
        size += sizeof(attributes.scoped);
    }
    // No rules: nothing handled is granted anywhere.
    Descriptor ruleset(static_cast<int>(syscall(SYS_landlock_create_ruleset, &attributes, size, 0)));
    if (ruleset.get() < 0) {
        result.reason = std::string("cannot make a Landlock ruleset: ") + std::strerror(errno);
        return result;
    }
    if (syscall(SYS_landlock_restrict_self, ruleset.get(), 0) != 0) {
        result.reason = std::string("cannot enter a Landlock domain: ") + std::strerror(errno);
        return result;
    }
    result.restricted = true;
    return result;
}
