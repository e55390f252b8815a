// Checks every sws_scale call of the movie path for writes past its destination.
// FFmpeg is not built with AddressSanitizer, so a write it makes past the end of a
// bitmap lands unseen in the allocation's redzone (glibc's allocator notices it later,
// as "free(): invalid next size"). Defined here, in front of libswscale, sws_scale
// scales into a copy of the destination that continues past the caller's allocation
// with a known pattern; any change to that pattern is a write the caller did not allow.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <dlfcn.h>
#include <sanitizer/asan_interface.h>

extern "C" {
#include <libswscale/swscale.h>
}

namespace {

constexpr size_t kLargestBitmap = 160u << 20; // PixelLimits' largest bitmap
constexpr size_t kGuard = 4096;
constexpr uint8_t kPattern = 0xa5;

using ScaleFunction = int (*)(SwsContext*, const uint8_t* const[], const int[], int, int, uint8_t* const[],
                              const int[]);

// The bytes from `start` to the end of its allocation, as AddressSanitizer knows them.
size_t AddressableFrom(const uint8_t* start) {
    auto* poisoned =
        static_cast<const uint8_t*>(__asan_region_is_poisoned(const_cast<uint8_t*>(start), kLargestBitmap));
    return poisoned ? size_t(poisoned - start) : kLargestBitmap;
}

} // namespace

extern "C" int sws_scale(SwsContext* context, const uint8_t* const source[], const int sourceStride[],
                         int sliceY, int sliceHeight, uint8_t* const destination[],
                         const int destinationStride[]) {
    static auto real = reinterpret_cast<ScaleFunction>(dlsym(RTLD_NEXT, "sws_scale"));
    // The movie path scales into one packed plane, rows top down.
    if (!destination[0] || destination[1] || destinationStride[0] <= 0)
        return real(context, source, sourceStride, sliceY, sliceHeight, destination, destinationStride);

    size_t addressable = AddressableFrom(destination[0]);
    std::vector<uint8_t> copy(addressable + kGuard, kPattern);
    std::memcpy(copy.data(), destination[0], addressable);
    uint8_t* planes[4] = {copy.data(), nullptr, nullptr, nullptr};
    int result = real(context, source, sourceStride, sliceY, sliceHeight, planes, destinationStride);
    for (size_t i = 0; i < kGuard; ++i) {
        if (copy[addressable + i] != kPattern) {
            std::fprintf(
                stderr,
                "ScalerGuard: sws_scale wrote byte %zu past the end of its destination (%zu bytes from "
                "the first row, %d bytes a row)\n",
                i + 1, addressable, destinationStride[0]);
            std::abort();
        }
    }
    std::memcpy(destination[0], copy.data(), addressable);
    return result;
}
