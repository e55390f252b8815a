#include "ServiceTestSupport.h"

#include <cstdio>
#include <cstring>

#include "support/Fixtures.h"

namespace lxkit::test {

std::optional<bool> CompletedOf(const PropertyDictionary& reply) {
    const PropertyValue* completed = PropertyValueForKey(reply, "completed");
    return completed ? completed->boolValue() : std::nullopt;
}

std::pair<uint32_t, uint32_t> PngDimensions(const NSData& png) {
    static const uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    if (png.length() < 24 || std::memcmp(png.bytes(), signature, 8) != 0)
        return {0, 0};
    auto read32 = [&](size_t at) {
        const uint8_t* p = png.bytes() + at;
        return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
    };
    return {read32(16), read32(20)};
}

std::vector<uint8_t> DecodePngToRgb(const NSData& png) {
    TemporaryFolder folder;
    auto path = folder / "frame.png";
    writeFile(path, std::vector<uint8_t>(png.bytes(), png.bytes() + png.length()));
    auto raw = commandOutput("ffmpeg -nostdin -loglevel error -i '" + path.string() +
                             "' -f rawvideo -pix_fmt rgb24 -");
    return std::vector<uint8_t>(raw.begin(), raw.end());
}

std::vector<uint8_t> FfmpegFrameAt(const std::string& movie, double seconds, int width, int height) {
    char command[1024];
    std::snprintf(command, sizeof command,
                  "ffmpeg -nostdin -loglevel error -ss %.6f -i '%s' -frames:v 1 -s %dx%d -f rawvideo -pix_fmt rgb24 -",
                  seconds, movie.c_str(), width, height);
    auto raw = commandOutput(command);
    return std::vector<uint8_t>(raw.begin(), raw.end());
}

} // namespace lxkit::test
