#include "service/LXVideoFrameJobLoader.h"

#include <cstdlib>
#include <filesystem>

#include <dlfcn.h>

LXVideoFrameJobLoader::LXVideoFrameJobLoader(const std::string& modulePath) {
    // Kept loaded for the life of the process, like any linked library.
    void* module = dlopen(modulePath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        const char* why = dlerror();
        m_error = "cannot load the job module: " + std::string(why ? why : modulePath);
        return;
    }
    using Entry = const LXVideoFrameJobs* (*)();
    auto entry = reinterpret_cast<Entry>(dlsym(module, "lxkit_video_frame_jobs"));
    m_jobs = entry ? entry() : nullptr;
    if (!m_jobs)
        m_error = "the job module " + modulePath + " has no jobs";
}

std::string LXVideoFrameJobLoader::defaultModulePath() {
    if (const char* path = std::getenv("LXFRAMED_JOB_MODULE"); path && *path)
        return path;
    std::error_code error;
    auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    auto folder = error ? std::filesystem::path(".") : program.parent_path();
    return (folder.parent_path() / "lib" / "lxkit" / "lxframed-jobs.so").string();
}
