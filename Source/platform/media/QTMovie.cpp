#include "platform/media/QTMovie.h"

#include <climits>
#include <cmath>

extern "C" {
#include <libavutil/display.h>
}

#include "platform/graphics/PixelLimits.h"
#include "platform/media/IsoBoxReader.h"
#include "platform/media/MovieDecoder.h"

namespace {

using Int128 = __int128;

int64_t Saturate(Int128 value) {
    if (value > INT64_MAX)
        return INT64_MAX;
    if (value < INT64_MIN)
        return INT64_MIN;
    return int64_t(value);
}

/// `value` ticks of `base` in ticks of 1/`scale`, rounded to the nearest tick.
int64_t RescaleToScale(int64_t value, AVRational base, int64_t scale) {
    if (base.den <= 0 || scale <= 0)
        return 0;
    Int128 numerator = Int128(value) * base.num * scale;
    Int128 half = base.den / 2;
    Int128 result = numerator >= 0 ? (numerator + half) / base.den : (numerator - half) / base.den;
    return Saturate(result);
}

/// The clockwise angle by which the stream's display matrix turns the picture, to the
/// nearest quarter turn (players only honour quarter turns).
int DisplayRotation(const AVStream* stream) {
    size_t size = 0;
    const uint8_t* matrix = av_stream_get_side_data(stream, AV_PKT_DATA_DISPLAYMATRIX, &size);
    if (!matrix || size < 9 * sizeof(int32_t))
        return 0;
    double counterclockwise = av_display_rotation_get(reinterpret_cast<const int32_t*>(matrix));
    if (!std::isfinite(counterclockwise))
        return 0;
    long quarters = std::lround(-counterclockwise / 90.0);
    return int(((quarters % 4) + 4) % 4) * 90;
}

/// The size the picture is shown at: the stored size with the pixel aspect applied to
/// the width (as QuickTime's track header records it), turned by the display rotation.
NSSize DisplaySize(const AVStream* stream, int rotation) {
    const AVCodecParameters* parameters = stream->codecpar;
    AVRational aspect = stream->sample_aspect_ratio;
    if (aspect.num <= 0 || aspect.den <= 0)
        aspect = parameters->sample_aspect_ratio;
    double width = parameters->width;
    double height = parameters->height;
    if (aspect.num > 0 && aspect.den > 0)
        width = width * aspect.num / aspect.den;
    if (rotation == 90 || rotation == 270)
        return NSMakeSize(height, width);
    return NSMakeSize(width, height);
}

bool IsVisual(const QTTrack& track) {
    return track.media().hasCharacteristic(QTMediaCharacteristicVisual) ||
           track.media().hasCharacteristic(QTMediaCharacteristicCanSendVideo);
}

/// Orders two times exactly, whatever their scales (both scales positive).
int CompareTimes(int64_t a, int64_t aScale, int64_t b, int64_t bScale) {
    Int128 left = Int128(a) * bScale;
    Int128 right = Int128(b) * aScale;
    return left < right ? -1 : left > right ? 1 : 0;
}

} // namespace

QTMovie::QTMovie() = default;
QTMovie::~QTMovie() = default;

ErrorOr<std::shared_ptr<QTMovie>> QTMovie::movieWithData(const NSData& data) {
    auto opened = MemoryInput::open(data);
    if (opened.isError())
        return opened.error();
    auto decoder = std::make_unique<MovieDecoder>();
    decoder->input = opened.releaseValue();
    AVFormatContext* format = decoder->input->format();

    std::optional<IsoMovieSummary> iso;
    if (decoder->input->isIsoMedia())
        iso = ReadIsoMovieSummary(data.span());

    std::shared_ptr<QTMovie> movie(new QTMovie());
    if (iso && iso->header && iso->header->timeScale > 0)
        movie->m_timeScale = iso->header->timeScale;
    int64_t durationValue = 0;
    if (iso && iso->header && iso->header->duration > 0 && iso->header->duration <= uint64_t(INT64_MAX))
        durationValue = int64_t(iso->header->duration);
    else if (format->duration != AV_NOPTS_VALUE && format->duration > 0)
        durationValue = RescaleToScale(format->duration, AV_TIME_BASE_Q, movie->m_timeScale);
    movie->m_duration = QTMakeTime(durationValue, movie->m_timeScale);

    // ISO base media times count from the movie's own zero after edit lists; other
    // containers may start anywhere, and their first timestamp is the movie's start.
    if (!iso && format->start_time != AV_NOPTS_VALUE)
        decoder->startOffset = format->start_time;

    for (unsigned i = 0; i < format->nb_chapters; ++i) {
        const AVChapter* chapter = format->chapters[i];
        int64_t start = RescaleToScale(chapter->start, chapter->time_base, movie->m_timeScale) -
                        RescaleToScale(decoder->startOffset, AV_TIME_BASE_Q, movie->m_timeScale);
        const AVDictionaryEntry* title = av_dict_get(chapter->metadata, "title", nullptr, 0);
        movie->m_chapters.push_back({QTMakeTime(start, movie->m_timeScale), title ? title->value : ""});
    }

    std::vector<std::shared_ptr<QTTrack>> tracks;
    for (unsigned i = 0; i < format->nb_streams; ++i) {
        const AVStream* stream = format->streams[i];
        MovieDecoder::Stream facts;
        std::vector<std::string> characteristics;
        std::optional<NSRect> bounds;
        bool isPicture = stream->disposition & AV_DISPOSITION_ATTACHED_PIC;
        if (stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !isPicture) {
            facts.isVideo = true;
            facts.rotation = DisplayRotation(stream);
            characteristics = {std::string(QTMediaCharacteristicVisual),
                               std::string(QTMediaCharacteristicCanSendVideo),
                               std::string(QTMediaCharacteristicHasVideoFrameRate)};
            NSSize size = DisplaySize(stream, facts.rotation);
            bounds = NSMakeRect(0, 0, size.width, size.height);
        } else if (stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            characteristics = {std::string(QTMediaCharacteristicAudio)};
        }
        bool enabled = true;
        if (iso) {
            for (const auto& header : iso->tracks) {
                if (int64_t(header.trackID) == int64_t(stream->id)) {
                    enabled = header.isEnabled();
                    break;
                }
            }
        }
        decoder->streams.push_back(facts);
        tracks.push_back(
            std::make_shared<QTTrack>(QTMedia(std::move(characteristics)), enabled, bounds, int64_t(stream->id)));
    }
    movie->m_decoder = std::move(decoder);
    movie->adoptTracks(std::move(tracks));
    return movie;
}

std::shared_ptr<QTMovie> QTMovie::movieWithTracks(std::vector<std::shared_ptr<QTTrack>> tracks, QTTime duration) {
    std::shared_ptr<QTMovie> movie(new QTMovie());
    movie->m_duration = duration.timeScale > 0 ? duration : QTMakeTime(0, QTDefaultTimeScale);
    movie->m_timeScale = movie->m_duration.timeScale;
    movie->adoptTracks(std::move(tracks));
    return movie;
}

void QTMovie::adoptTracks(std::vector<std::shared_ptr<QTTrack>> tracks) {
    m_tracks = std::move(tracks);
    // The movie starts out at the size of its largest enabled picture.
    double largestArea = -1;
    m_currentSize = NSZeroSize;
    for (const auto& track : m_tracks) {
        if (!track->isEnabled() || !IsVisual(*track) || !track->bounds())
            continue;
        NSSize size = track->bounds()->size;
        if (size.width * size.height > largestArea) {
            largestArea = size.width * size.height;
            m_currentSize = size;
        }
    }
}

int64_t QTMovie::timeScale() const { return m_timeScale; }
QTTime QTMovie::duration() const { return m_duration; }
std::vector<QTMovieChapter> QTMovie::chapters() const { return m_chapters; }
const std::vector<std::shared_ptr<QTTrack>>& QTMovie::tracks() const { return m_tracks; }
NSSize QTMovie::currentSize() const { return m_currentSize; }
void QTMovie::setCurrentSize(NSSize size) {
    m_currentSize = size;
    if (m_currentSizeObserver)
        m_currentSizeObserver(size);
}
void QTMovie::setCurrentSizeObserver(std::function<void(NSSize)> observer) {
    m_currentSizeObserver = std::move(observer);
}

ErrorOr<std::shared_ptr<NSImage>> QTMovie::frameImageAtTime(QTTime time, const QTFrameImageAttributes& attributes) {
    // The all-zero time stands for the start.
    if (time.timeScale <= 0 && time.timeValue == 0)
        time = QTMakeTime(0, m_timeScale);
    if (time.timeScale <= 0)
        return makeError("the time has no time scale");
    if (time.timeValue < 0)
        return makeError("the time lies before the movie's start");
    if (m_duration.timeScale <= 0 ||
        CompareTimes(time.timeValue, time.timeScale, m_duration.timeValue, m_duration.timeScale) >= 0)
        return makeError("the time lies at or beyond the movie's end");

    NSSize size = attributes.size.value_or(m_currentSize);
    auto pixels = PixelSizeForPointSize(size);
    if (!pixels)
        return makeError("the frame size has no pixels or is too large");
    if (!m_decoder)
        return makeError("the movie has no video samples");

    int streamIndex = -1;
    for (size_t i = 0; i < m_tracks.size() && i < m_decoder->streams.size(); ++i) {
        if (m_decoder->streams[i].isVideo && m_tracks[i]->isEnabled()) {
            streamIndex = int(i);
            break;
        }
    }
    if (streamIndex < 0)
        return makeError("the movie has no enabled video track");

    if (!m_decoder->grabber || m_decoder->grabber->streamIndex() != streamIndex) {
        m_decoder->grabber.reset();
        AVStream* stream = m_decoder->input->format()->streams[streamIndex];
        int64_t offset = av_rescale_q(m_decoder->startOffset, AV_TIME_BASE_Q, stream->time_base);
        auto grabber = VideoFrameGrabber::create(*m_decoder->input, streamIndex, offset,
                                                 m_decoder->streams[size_t(streamIndex)].rotation);
        if (grabber.isError())
            return grabber.error();
        m_decoder->grabber = grabber.releaseValue();
    }

    // The decoder compares times in 32-bit time bases; finer scales are brought down.
    int64_t value = time.timeValue;
    int64_t scale = time.timeScale;
    if (scale > INT_MAX) {
        value = av_rescale_rnd(value, int64_t(1) << 30, scale, AV_ROUND_DOWN);
        scale = int64_t(1) << 30;
    }
    auto bitmap = m_decoder->grabber->frameAtTime(value, int(scale), *pixels);
    if (bitmap.isError())
        return bitmap.error();
    auto image = NSImage::imageWithBitmap(bitmap.releaseValue(), size);
    if (!image)
        return makeError("the frame image cannot be made");
    return image;
}
