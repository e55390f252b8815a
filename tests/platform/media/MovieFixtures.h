#pragma once

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/media/QTMovie.h"
#include "support/Fixtures.h"

namespace lxkit::test {

inline const std::string kTestSource = "-f lavfi -i testsrc2=size=320x240:rate=25 ";
inline const std::string kH264 = "-c:v libx264 -preset veryfast -pix_fmt yuv420p ";

/// 3 s of 320 x 240 at 25 fps with B-frames; `gop` frames between keyframes.
inline std::filesystem::path BFrameMovie(int gop, const std::string& extension = "mp4") {
    return makeMovie("bframes-g" + std::to_string(gop) + "." + extension,
                     kTestSource + "-t 3 " + kH264 + "-bf 3 -g " + std::to_string(gop) + " -keyint_min " +
                         std::to_string(gop) + " -sc_threshold 0");
}

/// 1 s of two picture tracks, 320 x 240 and 160 x 480; only the first is enabled.
inline std::string TwoPictureTracks() {
    return kTestSource + "-f lavfi -i testsrc2=size=160x480:rate=25 -t 1 -map 0 -map 1 " + kH264;
}

/// A copy of the B-frame movie whose video track carries a rotation of `degrees`.
inline std::filesystem::path RotatedMovie(int degrees) {
    return makeMovie("rotated" + std::to_string(degrees) + ".mp4",
                     "-i '" + BFrameMovie(12).string() +
                         "' -c copy -metadata:s:v:0 rotate=" + std::to_string(degrees));
}

inline std::shared_ptr<QTMovie> OpenMovie(const std::vector<uint8_t>& bytes,
                                          const std::string& name = "movie") {
    auto movie = QTMovie::movieWithData(NSData::dataWithVector(bytes));
    if (movie.isError()) {
        ADD_FAILURE() << name << ": " << movie.error().message;
        return nullptr;
    }
    return movie.releaseValue();
}

inline std::shared_ptr<QTMovie> OpenMovie(const std::filesystem::path& path) {
    return OpenMovie(readFile(path), path.string());
}

/// What ffprobe prints for `entries` (such as "stream=nb_frames"), values only, one a line.
inline std::string Probe(const std::filesystem::path& movie, const std::string& entries,
                         const std::string& stream = "v:0") {
    return commandOutput("ffprobe -v error " + (stream.empty() ? "" : "-select_streams " + stream) +
                         " -show_entries " + entries + " -of default=nw=1:nk=1 '" + movie.string() + "'");
}

/// The frame the ffmpeg command line shows at `seconds`, scaled to the size, as RGB24.
inline std::vector<uint8_t> ReferenceFrame(const std::filesystem::path& movie, const std::string& seconds,
                                           int width, int height, const std::string& options = "") {
    std::string command = "ffmpeg -nostdin -loglevel error -ss " + seconds + " -i '" + movie.string() + "' " +
                          options + " -frames:v 1 -s " + std::to_string(width) + "x" +
                          std::to_string(height) + " -f rawvideo -pix_fmt rgb24 -";
    std::string output = commandOutput(command);
    return std::vector<uint8_t>(output.begin(), output.end());
}

/// The image's pixels as RGB24 (the frames are opaque, so premultiplication is moot).
inline std::vector<uint8_t> ImageRGB(const NSImage& image) {
    const NSBitmapImageRep& bitmap = image.bitmap();
    std::vector<uint8_t> rgb;
    rgb.reserve(size_t(bitmap.pixelsWide()) * size_t(bitmap.pixelsHigh()) * 3);
    for (int y = 0; y < bitmap.pixelsHigh(); ++y) {
        auto row =
            reinterpret_cast<const uint32_t*>(bitmap.bitmapData() + size_t(y) * size_t(bitmap.bytesPerRow()));
        for (int x = 0; x < bitmap.pixelsWide(); ++x) {
            rgb.push_back(uint8_t(row[x] >> 16));
            rgb.push_back(uint8_t(row[x] >> 8));
            rgb.push_back(uint8_t(row[x]));
        }
    }
    return rgb;
}

} // namespace lxkit::test
