#include "platform/files/FSRef.h"

#include <memory>

#include <stdlib.h>
#include <sys/stat.h>

#include "platform/files/NSPathUtilities.h"
#include "platform/files/Volumes.h"

namespace {

struct MallocFree {
    void operator()(char* memory) const { free(memory); }
};

std::optional<std::string> realPath(const std::string& path) {
    std::unique_ptr<char, MallocFree> resolved(realpath(path.c_str(), nullptr));
    if (!resolved)
        return std::nullopt;
    return std::string(resolved.get());
}

} // namespace

bool FSPathMakeRef(const std::string& path, FSRef* ref) {
    if (path.empty() || !ref)
        return false;
    const std::string absolute = NSStandardizedAbsolutePath(path);
    struct stat status {};
    if (lstat(absolute.c_str(), &status) != 0)
        return false;
    if (absolute == "/") {
        ref->path = absolute;
        return true;
    }
    const auto folder = realPath(NSStringByDeletingLastPathComponent(absolute));
    if (!folder)
        return false;
    ref->path = NSStringByAppendingPathComponent(*folder, NSLastPathComponent(absolute));
    return true;
}

std::optional<std::string> FSRefMakePath(const FSRef* ref) {
    if (!ref || ref->path.empty())
        return std::nullopt;
    return ref->path;
}

std::optional<FSResolvedAlias> FSResolveAliasFile(const FSRef& ref) {
    struct stat status {};
    if (lstat(ref.path.c_str(), &status) != 0)
        return std::nullopt;
    if (!S_ISLNK(status.st_mode))
        return FSResolvedAlias{ref, false};
    const auto target = realPath(ref.path);
    if (!target)
        return std::nullopt;
    return FSResolvedAlias{FSRef{*target}, true};
}

std::optional<FSCatalogInfo> FSGetCatalogInfo(const FSRef& ref) {
    struct stat status {};
    if (lstat(ref.path.c_str(), &status) != 0)
        return std::nullopt;
    FSCatalogInfo info;
    info.volume = VolumeNumberForResolvedPath(ref.path);
    info.physicalSize = static_cast<uint64_t>(status.st_blocks) * 512;
    return info;
}
