// The movie path the service takes on every request, on hostile bytes: open, tracks,
// chapters, metadata and the information-panel summaries, then frames at a few times and
// small sizes, straight and through the rotate-and-flip transform, each encoded as PNG.
// Sizes stay small and times few so that one input costs milliseconds.
#include <cstddef>
#include <cstdint>

extern "C" {
#include <libavutil/log.h>
}

#include "FuzzCheck.h"
#include "ReachGuard.h"
#include "imaging/NSImage+LXImageEncoding.h"
#include "imaging/Scaling.h"
#include "movie/NSString+LXStringMovieTime.h"
#include "movie/QTMovie+LXMovie.h"
#include "movie/QTMovie+LXMovieMetadata.h"
#include "movie/QTMovie+LXMovieSummaries.h"
#include "movie/QTMovie+LXMovieTracks.h"
#include "movie/QTTrack+LXTrack.h"
#include "platform/graphics/PngReader.h"
#include "platform/media/QTMovie.h"
#include "service/LXVideoFrameProtocols.h"
#include "service/jobs/LXVideoFrameTransform.h"

namespace {

constexpr NSSize kTinySizes[] = {{7, 31}, {1, 1},  {2, 5},  {2, 3}, {1.5, 2.5},
                                 {3, 2},  {1, 17}, {16, 1}, {5, 2}, {4, 4}};

void inspect(QTMovie& movie) {
    (void)movie.timeScale();
    (void)movie.hasDuration();
    (void)movie.posterTime();
    for (const auto& chapter : movie.chapters())
        (void)chapter.startTime;
    for (const auto& track : movie.tracks()) {
        (void)track->mediaType();
        (void)track->bounds();
        (void)LXTrack::language(*track);
    }
    for (const auto& format : movie.availableMetadataFormats())
        for (const auto& item : movie.metadataForFormat(format))
            (void)item.stringValue();
    (void)LXMovie::metadata(movie);
    (void)LXMovie::AVTracks(movie);
    (void)LXMovie::mainVideoTrackSummary(movie);
    (void)LXMovie::mainAudioTrackSummary(movie);
    (void)LXString::stringWithAbbreviatedMovieTime(movie.duration(), LXMovie::frameLength(movie));
}

// A frame that comes back is exactly the size asked for, and its PNG decodes (with the
// reader the rest of lxkit uses) to that size again.
void encode(const NSImage& image, PixelSize expected) {
    auto png = LXImage::PNGRepresentation(image);
    FUZZ_CHECK(png.has_value());
    CairoSurface decoded = DecodePng(*png);
    FUZZ_CHECK(decoded);
    FUZZ_CHECK(cairo_image_surface_get_width(decoded.get()) == expected.width);
    FUZZ_CHECK(cairo_image_surface_get_height(decoded.get()) == expected.height);
}

void grab(QTMovie& movie, QTTime time, NSSize size, const NSAffineTransform* transform) {
    auto image = movie.frameImageAtTime(time, QTFrameImageAttributes{size});
    if (image.isError())
        return;
    auto pixels = PixelSizeForPointSize(size);
    FUZZ_CHECK(pixels.has_value());
    FUZZ_CHECK(image.value()->bitmap().pixelSize() == *pixels);
    if (!transform) {
        encode(*image.value(), *pixels);
        return;
    }
    auto turned = LXImage::imageByApplyingAffineTransform(*image.value(), transform);
    FUZZ_CHECK(turned != nullptr);
    // A quarter turn swaps the sides.
    encode(*turned, {pixels->height, pixels->width});
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    av_log_set_level(AV_LOG_QUIET);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    // Only the given bytes may be read: no file, no host (a manifest, playlist, concat
    // script or session description must not open what it names).
    ReachGuard guard;
    auto opened = QTMovie::movieWithData(NSData::dataWithBytes(data, size));
    if (opened.isError())
        return 0;
    QTMovie& movie = *opened.value();
    inspect(movie);

    // The display size fitted into 48 x 48, as a viewer's thumbnails are; an odd size
    // turned a quarter; and a tiny or fractional size of the kind clients may ask for,
    // chosen by the input's last byte.
    NSSize display = LXMovie::size(movie);
    NSSize fitted = display.width >= 1 && display.height >= 1 ? ScaleSize(display, NSMakeSize(48, 48))
                                                              : NSMakeSize(32, 24);
    QTTime duration = movie.duration();
    QTTime middle{duration.timeValue / 2, duration.timeScale, duration.flags};
    QTTime interesting = LXMovie::interestingFrameImageTime(movie);
    PropertyValue quarterTurn(
        PropertyDictionary{{LXVideoFrameKey::rotation, PropertyValue::number(90)},
                           {LXVideoFrameKey::flipHorizontal, PropertyValue::boolean(true)}});
    NSSize odd = NSMakeSize(17, 9);
    auto transform = TransformForFrameOptions(&quarterTurn, odd);

    grab(movie, QTTime{0, duration.timeScale, duration.flags}, fitted, nullptr);
    grab(movie, middle, odd, transform.get());
    grab(movie, interesting, kTinySizes[data[size - 1] % std::size(kTinySizes)], nullptr);
    return 0;
}
