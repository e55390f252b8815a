#include "service/LXVideoFrameJobLoader.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

LXVideoFrameJobLoader::LXVideoFrameJobLoader(std::string modulePath) {
    m_result = std::async(std::launch::async, [path = std::move(modulePath)] {
                   Result result;
                   // Kept loaded for the life of the process, like any linked library.
                   void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
                   if (!module) {
                       const char* why = dlerror();
                       result.error = "cannot load the job module: " + std::string(why ? why : path);
                       return result;
                   }
                   using Entry = const LXVideoFrameJobs* (*)();
                   auto entry = reinterpret_cast<Entry>(dlsym(module, "lxkit_video_frame_jobs"));
                   result.jobs = entry ? entry() : nullptr;
                   if (!result.jobs)
                       result.error = "the job module " + path + " has no jobs";
                   return result;
               }).share();
}

const LXVideoFrameJobs* LXVideoFrameJobLoader::jobs() { return m_result.get().jobs; }

const std::string& LXVideoFrameJobLoader::error() { return m_result.get().error; }

std::string LXVideoFrameJobLoader::defaultModulePath() {
    if (const char* path = std::getenv("LXFRAMED_JOB_MODULE"); path && *path)
        return path;
    std::error_code error;
    auto program = std::filesystem::read_symlink("/proc/self/exe", error);
    auto folder = error ? std::filesystem::path(".") : program.parent_path();
    return (folder.parent_path() / "lib" / "lxkit" / "lxframed-jobs.so").string();
}
