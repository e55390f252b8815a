#include "ReachGuard.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <fcntl.h>

namespace {

std::atomic<int> guards{0};

void refuse(const char* call, const char* what) {
    if (guards.load() == 0)
        return;
    std::fprintf(stderr, "ReachGuard: the movie path called %s(%s)\n", call, what ? what : "");
    std::abort();
}

template <typename Function> Function next(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

mode_t modeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) || (flags & O_TMPFILE) == O_TMPFILE ? mode_t(va_arg(arguments, int)) : 0;
}

} // namespace

ReachGuard::ReachGuard() {
    ++guards;
}
ReachGuard::~ReachGuard() {
    --guards;
}

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    refuse("open", path);
    static auto real = next<int (*)(const char*, int, ...)>("open");
    return real(path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    refuse("open64", path);
    static auto real = next<int (*)(const char*, int, ...)>("open64");
    return real(path, flags, mode);
}

int openat(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    refuse("openat", path);
    static auto real = next<int (*)(int, const char*, int, ...)>("openat");
    return real(folder, path, flags, mode);
}

int openat64(int folder, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    refuse("openat64", path);
    static auto real = next<int (*)(int, const char*, int, ...)>("openat64");
    return real(folder, path, flags, mode);
}

int socket(int domain, int type, int protocol) {
    char what[64];
    std::snprintf(what, sizeof what, "domain %d, type %d", domain, type);
    refuse("socket", what);
    static auto real = next<int (*)(int, int, int)>("socket");
    return real(domain, type, protocol);
}

} // extern "C"
