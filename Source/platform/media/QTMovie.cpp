#include "platform/media/QTMovie.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <new>

extern "C" {
#include <libavutil/display.h>
}

#include "platform/graphics/PixelLimits.h"
#include "platform/media/IsoBoxReader.h"
#include "platform/media/LanguageCodes.h"
#include "platform/media/MetadataReader.h"
#include "platform/media/MovieDecoder.h"
#include "platform/media/TrackFormat.h"

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

/// Counts the samples of every stream in one pass over the movie, for containers that
/// keep no index; made on the first question about any of its streams.
class SampleCounter {
public:
    explicit SampleCounter(NSData data) : m_data(std::move(data)) {}

    QTMediaTiming timingOfStream(unsigned index) {
        if (!m_counted)
            count();
        return index < m_timings.size() ? m_timings[index] : QTMediaTiming{};
    }

private:
    void count() {
        m_counted = true;
        auto opened = MemoryInput::open(m_data);
        if (opened.isError())
            return;
        auto input = opened.releaseValue();
        AVFormatContext* format = input->format();
        struct Span {
            int64_t count = 0;
            int64_t first = INT64_MAX;
            int64_t end = INT64_MIN;
        };
        std::vector<Span> spans(format->nb_streams);
        PacketHandle packet(av_packet_alloc());
        if (!packet)
            return;
        input->setDeadline(std::chrono::seconds(30));
        while (av_read_frame(format, packet.get()) >= 0) {
            if (packet->stream_index >= 0 && unsigned(packet->stream_index) < spans.size()) {
                Span& span = spans[size_t(packet->stream_index)];
                ++span.count;
                int64_t time = packet->pts != AV_NOPTS_VALUE ? packet->pts : packet->dts;
                if (time != AV_NOPTS_VALUE) {
                    span.first = std::min(span.first, time);
                    span.end = std::max(span.end, time + std::max<int64_t>(packet->duration, 0));
                }
            }
            av_packet_unref(packet.get());
        }
        for (unsigned i = 0; i < format->nb_streams; ++i) {
            QTMediaTiming timing;
            const Span& span = spans[i];
            if (span.count > 0)
                timing.sampleCount = span.count;
            AVRational base = format->streams[i]->time_base;
            if (span.end > span.first && base.num > 0 && base.den > 0)
                timing.duration = QTMakeTime((span.end - span.first) * base.num, base.den);
            m_timings.push_back(timing);
        }
    }

    NSData m_data;
    bool m_counted = false;
    std::vector<QTMediaTiming> m_timings;
};

std::string MediaTypeOfStream(const AVStream& stream, const IsoTrackMedia* isoMedia) {
    if (stream.disposition & AV_DISPOSITION_ATTACHED_PIC)
        return {};
    if (isoMedia && isoMedia->handlerType) {
        std::string type;
        for (int shift = 24; shift >= 0; shift -= 8) {
            char c = char(isoMedia->handlerType >> shift);
            if (c < 0x20 || c > 0x7E)
                return {};
            type.push_back(c);
        }
        return type;
    }
    switch (stream.codecpar->codec_type) {
    case AVMEDIA_TYPE_VIDEO:
        return std::string(QTMediaTypeVideo);
    case AVMEDIA_TYPE_AUDIO:
        return std::string(QTMediaTypeSound);
    case AVMEDIA_TYPE_SUBTITLE:
        return std::string(QTMediaTypeSubtitle);
    case AVMEDIA_TYPE_DATA:
        if (stream.codecpar->codec_tag == MKTAG('t', 'm', 'c', 'd'))
            return std::string(QTMediaTypeTimeCode);
        return {};
    default:
        return {};
    }
}

std::optional<std::string> StreamTag(const AVStream& stream, const char* key) {
    const AVDictionaryEntry* entry = av_dict_get(stream.metadata, key, nullptr, 0);
    if (!entry || !entry->value || !*entry->value)
        return std::nullopt;
    return std::string(entry->value);
}

std::shared_ptr<QTTrack> MakeTrack(const AVStream& stream, const IsoTrackMedia* isoMedia,
                                   const IsoMovieSummary* iso, const std::shared_ptr<SampleCounter>& counter,
                                   MovieDecoder& decoder) {
    MovieDecoder::Stream facts;
    std::vector<std::string> characteristics;
    std::optional<NSRect> bounds;
    std::string mediaType = MediaTypeOfStream(stream, isoMedia);
    bool isPicture = stream.disposition & AV_DISPOSITION_ATTACHED_PIC;
    if (stream.codecpar->codec_type == AVMEDIA_TYPE_VIDEO && !isPicture) {
        facts.isVideo = true;
        facts.streamIndex = stream.index;
        facts.rotation = DisplayRotation(&stream);
        characteristics = {std::string(QTMediaCharacteristicVisual),
                           std::string(QTMediaCharacteristicCanSendVideo)};
        // A track of one picture shows a still, not a moving picture with a rate.
        std::optional<int64_t> knownCount;
        if (isoMedia && isoMedia->sampleCount && *isoMedia->sampleCount > 0)
            knownCount = *isoMedia->sampleCount;
        else if (stream.nb_frames > 0)
            knownCount = stream.nb_frames;
        if (knownCount != 1)
            characteristics.emplace_back(QTMediaCharacteristicHasVideoFrameRate);
        NSSize size = DisplaySize(&stream, facts.rotation);
        bounds = NSMakeRect(0, 0, size.width, size.height);
    } else if (stream.codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
        characteristics = {std::string(QTMediaCharacteristicAudio)};
    }
    decoder.streams.push_back(facts);

    QTMedia media(std::move(characteristics), mediaType);
    if (isoMedia && isoMedia->timeScale > 0 && isoMedia->duration > 0 &&
        isoMedia->duration <= uint64_t(INT64_MAX))
        media.setDuration(QTMakeTime(int64_t(isoMedia->duration), isoMedia->timeScale));
    else if (stream.duration != AV_NOPTS_VALUE && stream.duration > 0 && stream.time_base.num > 0)
        media.setDuration(QTMakeTime(stream.duration * stream.time_base.num, stream.time_base.den));
    if (isoMedia && isoMedia->sampleCount && *isoMedia->sampleCount > 0)
        media.setSampleCount(*isoMedia->sampleCount);
    else if (!iso && stream.nb_frames > 0)
        media.setSampleCount(stream.nb_frames);
    unsigned index = unsigned(stream.index);
    media.setTimingSource([counter, index] { return counter->timingOfStream(index); });

    bool enabled = true;
    if (iso) {
        for (const auto& header : iso->tracks) {
            if (int64_t(header.trackID) == int64_t(stream.id)) {
                enabled = header.isEnabled();
                break;
            }
        }
    }
    auto track = std::make_shared<QTTrack>(std::move(media), enabled, bounds, int64_t(stream.id));
    if (!isPicture)
        track->setFormatSummary(TrackFormatSummary(*stream.codecpar));
    std::optional<std::string> name = isoMedia ? isoMedia->name : StreamTag(stream, "title");
    track->setDisplayName(name ? name : GenericTrackName(mediaType));
    if (auto language = StreamTag(stream, "language"))
        track->setLanguageCode(ClassicLanguageCodeForISO639(*language));
    return track;
}

/// An MPEG-1 or MPEG-2 program stream interleaves its pictures and sound in one
/// stream of packs; QuickTime shows it as one muxed track, and so does this layer.
std::shared_ptr<QTTrack> MakeMuxedTrack(const AVFormatContext& format, MovieDecoder& decoder) {
    const AVStream* video = nullptr;
    const AVStream* audio = nullptr;
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        const AVStream* stream = format.streams[i];
        if (!video && stream->codecpar->codec_type == AVMEDIA_TYPE_VIDEO &&
            !(stream->disposition & AV_DISPOSITION_ATTACHED_PIC))
            video = stream;
        if (!audio && stream->codecpar->codec_type == AVMEDIA_TYPE_AUDIO)
            audio = stream;
    }
    MovieDecoder::Stream facts;
    std::vector<std::string> characteristics;
    std::optional<NSRect> bounds;
    std::vector<std::string> summaries;
    if (video) {
        facts.isVideo = true;
        facts.streamIndex = video->index;
        facts.rotation = DisplayRotation(video);
        characteristics = {std::string(QTMediaCharacteristicVisual),
                           std::string(QTMediaCharacteristicCanSendVideo)};
        NSSize size = DisplaySize(video, facts.rotation);
        bounds = NSMakeRect(0, 0, size.width, size.height);
        if (auto summary = TrackFormatSummary(*video->codecpar))
            summaries.push_back(*summary);
    }
    if (audio) {
        characteristics.emplace_back(QTMediaCharacteristicAudio);
        if (auto summary = TrackFormatSummary(*audio->codecpar))
            summaries.push_back(*summary);
    }
    decoder.streams.push_back(facts);
    QTMedia media(std::move(characteristics), std::string(QTMediaTypeMPEG));
    if (format.duration != AV_NOPTS_VALUE && format.duration > 0)
        media.setDuration(QTMakeTime(av_rescale(format.duration, 90000, AV_TIME_BASE), 90000));
    auto track = std::make_shared<QTTrack>(std::move(media), true, bounds, 1);
    if (!summaries.empty()) {
        std::string joined = summaries[0];
        for (size_t i = 1; i < summaries.size(); ++i)
            joined += ", " + summaries[i];
        track->setFormatSummary(joined);
    }
    track->setDisplayName(GenericTrackName(QTMediaTypeMPEG));
    return track;
}

} // namespace

QTMovie::QTMovie() = default;
QTMovie::~QTMovie() = default;

ErrorOr<std::shared_ptr<QTMovie>> QTMovie::movieWithData(const NSData& data) {
    try {
        return openWithData(data, std::nullopt);
    } catch (const std::bad_alloc&) {
        return makeError("out of memory");
    }
}

ErrorOr<std::shared_ptr<QTMovie>> QTMovie::movieWithData(const NSData& data,
                                                         std::chrono::steady_clock::time_point deadline) {
    // An allocation refused under the process's memory limit is an answer like any
    // other failure, never an exception out of the movie layer.
    try {
        return openWithData(data, deadline);
    } catch (const std::bad_alloc&) {
        return makeError("out of memory");
    }
}

ErrorOr<std::shared_ptr<QTMovie>>
QTMovie::openWithData(const NSData& data, std::optional<std::chrono::steady_clock::time_point> deadline) {
    auto opened = MemoryInput::open(data, deadline);
    if (opened.isError())
        return opened.error();
    auto decoder = std::make_unique<MovieDecoder>();
    decoder->input = opened.releaseValue();
    AVFormatContext* format = decoder->input->format();

    std::optional<IsoMovieSummary> iso;
    if (decoder->input->isIsoMedia())
        iso = ReadIsoMovieSummary(data);

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

    if (iso && iso->header && iso->header->posterTime)
        movie->m_posterTime = QTMakeTime(*iso->header->posterTime, movie->m_timeScale);
    else if (!iso)
        movie->m_posterTime = QTMakeTime(0, movie->m_timeScale);
    movie->m_metadata = iso ? ReadIsoMetadata(iso->movieBox) : MetadataFromTags(format->metadata);

    std::vector<std::shared_ptr<QTTrack>> tracks;
    if (std::string_view(format->iformat->name) == "mpeg") {
        tracks.push_back(MakeMuxedTrack(*format, *decoder));
    } else {
        auto counter = std::make_shared<SampleCounter>(data);
        for (unsigned i = 0; i < format->nb_streams; ++i) {
            const IsoTrackMedia* isoMedia = nullptr;
            if (iso) {
                for (const auto& media : iso->trackMedia) {
                    if (int64_t(media.trackID) == int64_t(format->streams[i]->id)) {
                        isoMedia = &media;
                        break;
                    }
                }
            }
            tracks.push_back(
                MakeTrack(*format->streams[i], isoMedia, iso ? &*iso : nullptr, counter, *decoder));
        }
    }
    movie->m_decoder = std::move(decoder);
    movie->adoptTracks(std::move(tracks));
    return movie;
}

std::shared_ptr<QTMovie> QTMovie::movieWithTracks(std::vector<std::shared_ptr<QTTrack>> tracks,
                                                  QTTime duration) {
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

int64_t QTMovie::timeScale() const {
    return m_timeScale;
}

std::vector<std::shared_ptr<QTTrack>> QTMovie::tracksOfMediaType(std::string_view mediaType) const {
    std::vector<std::shared_ptr<QTTrack>> result;
    for (const auto& track : m_tracks) {
        if (track->media().mediaType() == mediaType)
            result.push_back(track);
    }
    return result;
}

bool QTMovie::hasDuration() const {
    return m_duration.timeValue > 0;
}
std::optional<QTTime> QTMovie::posterTime() const {
    return m_posterTime;
}
void QTMovie::setPosterTime(std::optional<QTTime> time) {
    m_posterTime = time;
}

std::vector<std::string> QTMovie::availableMetadataFormats() const {
    std::vector<std::string> formats;
    for (const auto& list : m_metadata)
        formats.push_back(list.format);
    return formats;
}

std::vector<QTMetadataItem> QTMovie::metadataForFormat(std::string_view format) const {
    for (const auto& list : m_metadata) {
        if (list.format == format)
            return list.items;
    }
    return {};
}

void QTMovie::setMetadataForFormat(std::string format, std::vector<QTMetadataItem> items) {
    for (auto& list : m_metadata) {
        if (list.format == format) {
            list.items = std::move(items);
            return;
        }
    }
    m_metadata.push_back({std::move(format), std::move(items)});
}
QTTime QTMovie::duration() const {
    return m_duration;
}
std::vector<QTMovieChapter> QTMovie::chapters() const {
    return m_chapters;
}
const std::vector<std::shared_ptr<QTTrack>>& QTMovie::tracks() const {
    return m_tracks;
}
NSSize QTMovie::currentSize() const {
    return m_currentSize;
}
void QTMovie::setCurrentSize(NSSize size) {
    m_currentSize = size;
    if (m_currentSizeObserver)
        m_currentSizeObserver(size);
}
void QTMovie::setCurrentSizeObserver(std::function<void(NSSize)> observer) {
    m_currentSizeObserver = std::move(observer);
}

namespace {

/// A time as the decoder takes it, which compares times in 32-bit time bases: finer
/// scales are brought down. Nothing for a time without a scale or before the start.
std::optional<VideoFrameGrabber::Time> GrabberTime(QTTime time) {
    if (time.timeScale <= 0 && time.timeValue == 0)
        return VideoFrameGrabber::Time{0, 1};
    if (time.timeScale <= 0 || time.timeValue < 0)
        return std::nullopt;
    int64_t value = time.timeValue;
    int64_t scale = time.timeScale;
    if (scale > INT_MAX) {
        value = av_rescale_rnd(value, int64_t(1) << 30, scale, AV_ROUND_DOWN);
        scale = int64_t(1) << 30;
    }
    return VideoFrameGrabber::Time{value, int(scale)};
}

} // namespace

ErrorOr<std::shared_ptr<NSImage>> QTMovie::frameImageAtTime(QTTime time,
                                                            const QTFrameImageAttributes& attributes) {
    try {
        return grabFrameImage(time, attributes);
    } catch (const std::bad_alloc&) {
        // The decoder's place is unknown after a failure half-way.
        if (m_decoder)
            m_decoder->grabber.reset();
        return makeError("out of memory");
    }
}

ErrorOr<std::shared_ptr<NSImage>> QTMovie::grabFrameImage(QTTime time,
                                                          const QTFrameImageAttributes& attributes) {
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

    int trackIndex = -1;
    int streamIndex = -1;
    for (size_t i = 0; i < m_tracks.size() && i < m_decoder->streams.size(); ++i) {
        if (m_decoder->streams[i].isVideo && m_tracks[i]->isEnabled()) {
            trackIndex = int(i);
            streamIndex = m_decoder->streams[i].streamIndex;
            break;
        }
    }
    if (trackIndex < 0 || streamIndex < 0)
        return makeError("the movie has no enabled video track");

    if (!m_decoder->grabber || m_decoder->grabber->streamIndex() != streamIndex) {
        m_decoder->grabber.reset();
        AVStream* stream = m_decoder->input->format()->streams[streamIndex];
        int64_t offset = av_rescale_q(m_decoder->startOffset, AV_TIME_BASE_Q, stream->time_base);
        auto grabber = VideoFrameGrabber::create(*m_decoder->input, streamIndex, offset,
                                                 m_decoder->streams[size_t(trackIndex)].rotation);
        if (grabber.isError())
            return grabber.error();
        m_decoder->grabber = grabber.releaseValue();
    }

    auto after = VideoFrameGrabber::AfterTarget::Continue;
    if (!attributes.upcomingTimes.empty()) {
        if (auto next = GrabberTime(attributes.upcomingTimes.front());
            next && m_decoder->grabber->seeksBetween(*GrabberTime(time), *next))
            after = VideoFrameGrabber::AfterTarget::Drain;
    }
    auto bitmap = m_decoder->grabber->frameAtTime(*GrabberTime(time), *pixels, after, attributes.deadline);
    if (bitmap.isError())
        return bitmap.error();
    auto image = NSImage::imageWithBitmap(bitmap.releaseValue(), size);
    if (!image)
        return makeError("the frame image cannot be made");
    return image;
}
