#include "platform/media/MemoryInput.h"

#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string_view>

#include "platform/media/DecodeLimits.h"
#include "platform/media/DemuxerPolicy.h"

namespace {

constexpr int kIOBufferSize = 64 * 1024;
// Probing stops after this much: enough for every container's header and the first
// frames of several streams, small enough that garbage cannot keep us busy.
constexpr int64_t kProbeSize = 8 * 1024 * 1024;
constexpr int64_t kAnalyzeDuration = 5 * int64_t(AV_TIME_BASE);
constexpr unsigned kMaxStreams = 64;
constexpr auto kOpenDeadline = std::chrono::seconds(10);

bool MediaDebugLogEnabled() {
    // LXKIT_DEBUG holds topics separated by commas: "media", or "all".
    static const bool enabled = [] {
        const char* topics = std::getenv("LXKIT_DEBUG");
        if (!topics)
            return false;
        std::string_view list = topics;
        while (!list.empty()) {
            auto comma = list.find(',');
            auto topic = list.substr(0, comma);
            if (topic == "media" || topic == "all")
                return true;
            list = comma == std::string_view::npos ? std::string_view() : list.substr(comma + 1);
        }
        return false;
    }();
    return enabled;
}

void SilenceFFmpeg() {
    // The platform layer reports failures through its return values, never in a log.
    static std::once_flag once;
    std::call_once(once, [] { av_log_set_level(AV_LOG_QUIET); });
}

} // namespace

std::string FFmpegErrorText(int code) {
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(code, text, sizeof text);
    std::string result = text;
    if (!result.empty())
        result[0] = char(std::tolower(static_cast<unsigned char>(result[0])));
    return result;
}

MemoryInput::~MemoryInput() {
    // The demuxer reads through the I/O context until it is closed, so it goes first.
    m_format.reset();
    m_io.reset();
    if (MediaDebugLogEnabled()) {
        std::fprintf(stderr,
                     "lxkit media: read %" PRIu64 " bytes of %zu (%.3f %%) in %" PRIu64 " reads, %" PRIu64
                     " seeks, from %s\n",
                     m_bytesRead, m_data.length(),
                     m_data.empty() ? 0.0 : 100.0 * double(m_bytesRead) / double(m_data.length()), m_reads,
                     m_seeks, m_data.isInMemory() ? "memory" : "a file in place");
    }
}

ErrorOr<std::unique_ptr<MemoryInput>>
MemoryInput::open(const NSData& data, std::optional<std::chrono::steady_clock::time_point> deadline) {
    if (data.empty())
        return makeError("the movie data is empty");
    if (data.length() > size_t(INT64_MAX))
        return makeError("the movie data is too large");
    SilenceFFmpeg();

    std::unique_ptr<MemoryInput> input(new MemoryInput(data));
    auto* buffer = static_cast<uint8_t*>(av_malloc(kIOBufferSize));
    if (!buffer)
        return makeError("out of memory");
    AVIOContext* io = avio_alloc_context(buffer, kIOBufferSize, 0, input.get(), &read, nullptr, &seek);
    if (!io) {
        av_free(buffer);
        return makeError("out of memory");
    }
    input->m_io.reset(io);

    AVFormatContext* format = avformat_alloc_context();
    if (!format)
        return makeError("out of memory");
    format->pb = io;
    format->flags |= AVFMT_FLAG_CUSTOM_IO;
    format->probesize = kProbeSize;
    format->max_analyze_duration = kAnalyzeDuration;
    format->max_streams = kMaxStreams;
    format->interrupt_callback = {&interrupt, input.get()};
    if (!RestrictToTheMovieItself(format)) {
        avformat_free_context(format);
        return makeError("out of memory");
    }
    input->setDeadline(deadline ? *deadline - std::chrono::steady_clock::now() : kOpenDeadline);
    // On failure avformat_open_input frees the context itself.
    int result = avformat_open_input(&format, nullptr, nullptr, nullptr);
    if (result < 0)
        return makeError("the data is not a movie that can be read (" + FFmpegErrorText(result) + ")");
    input->m_format.reset(format);

    // QuickTime and ISO media describe every track in their header; reading packets
    // to learn more would only cost time (most of a large movie's opening).
    if (input->isIsoMedia()) {
        format->max_analyze_duration = 1;
        format->fps_probe_size = 0;
    }
    StreamProbeOptions probeOptions(format);
    result = avformat_find_stream_info(format, probeOptions.get());
    if (result < 0)
        return makeError("the movie's streams cannot be read (" + FFmpegErrorText(result) + ")");
    if (input->m_deadline < std::chrono::steady_clock::now())
        return makeError("the movie took too long to open");
    return input;
}

bool MemoryInput::isIsoMedia() const {
    // The mov demuxer serves every QuickTime and ISO base media flavour; its name lists them.
    std::string_view name = m_format->iformat->name;
    return name.find("mov") != std::string_view::npos || name.find("mp4") != std::string_view::npos;
}

void MemoryInput::setDeadline(std::chrono::steady_clock::duration fromNow) {
    m_deadline = std::chrono::steady_clock::now() + fromNow;
}

int MemoryInput::read(void* opaque, uint8_t* buffer, int size) {
    auto* input = static_cast<MemoryInput*>(opaque);
    // A short read, also one of a file that shrank under us, is the end of the data.
    size_t count = input->m_data.readBytes(buffer, size_t(std::max(size, 0)), input->m_position);
    if (count == 0)
        return AVERROR_EOF;
    input->m_position += count;
    input->m_bytesRead += count;
    ++input->m_reads;
    return int(count);
}

int64_t MemoryInput::seek(void* opaque, int64_t offset, int whence) {
    auto* input = static_cast<MemoryInput*>(opaque);
    int64_t length = int64_t(input->m_data.length());
    if (whence & AVSEEK_SIZE)
        return length;
    int64_t base = 0;
    switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
        base = 0;
        break;
    case SEEK_CUR:
        base = int64_t(input->m_position);
        break;
    case SEEK_END:
        base = length;
        break;
    default:
        return AVERROR(EINVAL);
    }
    if ((offset > 0 && base > length - offset) || base + offset < 0)
        return AVERROR(EINVAL);
    int64_t target = base + offset;
    if (target > length)
        return AVERROR(EINVAL);
    input->m_position = size_t(target);
    ++input->m_seeks;
    return target;
}

int MemoryInput::interrupt(void* opaque) {
    auto* input = static_cast<MemoryInput*>(opaque);
    return std::chrono::steady_clock::now() > input->m_deadline ? 1 : 0;
}
