#include "FrameOptions.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string_view>

const char* const kFrameOptionsUsage =
    "usage: lxframes [MOVIE] [options]\n"
    "Writes still frames of MOVIE as PNG files (without MOVIE: the sample movie).\n"
    "A movie file is handed to the service as it is; a pipe, FIFO or device (/dev/stdin)\n"
    "is read whole first, up to 256 MiB and within 10 s.\n"
    "  -n, --count N           how many frames (default 10)\n"
    "  -s, --spacing SECONDS   distance between frames in seconds (default: spread over the movie)\n"
    "  -t, --ticks N           distance between frames in ticks of the movie's time scale\n"
    "  -S, --size WxH          frame size (default: the display size scaled to fit 640x640)\n"
    "  -r, --rotate DEGREES    rotate every frame (90 and -90 swap width and height)\n"
    "  -H, --flip-horizontal   mirror left to right\n"
    "  -V, --flip-vertical     mirror top to bottom\n"
    "  -a, --require-all       stop at the first frame that cannot be made\n"
    "  -c, --chapters          one frame at the start of every chapter instead\n"
    "  -o, --output FOLDER     where the PNG files go (default ./frames)\n"
    "  -q, --quiet             no progress bar\n"
    "      --sheet FILE.png    also lay the frames out as a contact sheet in FILE.png\n"
    "      --service PATH      the lxframed to start (default: the one beside lxframes)\n"
    "      --address ADDRESS   use an lxframed listening on ADDRESS instead of starting one\n";

namespace {

template <typename Number> std::optional<Number> parseNumber(std::string_view text) {
    Number value{};
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<NSSize> parseSize(std::string_view text) {
    auto separator = text.find_first_of("xX");
    if (separator == std::string_view::npos)
        return std::nullopt;
    auto width = parseNumber<double>(text.substr(0, separator));
    auto height = parseNumber<double>(text.substr(separator + 1));
    if (!width || !height || !(*width > 0) || !(*height > 0) || !std::isfinite(*width) ||
        !std::isfinite(*height))
        return std::nullopt;
    return NSSize{*width, *height};
}

} // namespace

ErrorOr<FrameOptions> ParseFrameOptions(int argc, char** argv) {
    FrameOptions options;
    for (int i = 1; i < argc; ++i) {
        std::string_view argument = argv[i];
        auto value = [&](const char* what) -> ErrorOr<std::string_view> {
            if (i + 1 >= argc)
                return makeError(std::string(argument) + " needs " + what);
            return std::string_view(argv[++i]);
        };
        auto is = [&](const char* shortName, const char* longName) {
            return (shortName && argument == shortName) || argument == longName;
        };
        if (is("-h", "--help")) {
            options.help = true;
        } else if (is("-n", "--count")) {
            auto text = value("a number");
            if (text.isError())
                return text.error();
            auto count = parseNumber<int32_t>(text.value());
            if (!count || *count < 1)
                return makeError("--count needs a whole number of at least 1, not '" +
                                 std::string(text.value()) + "'");
            options.count = *count;
        } else if (is("-s", "--spacing")) {
            auto text = value("a number of seconds");
            if (text.isError())
                return text.error();
            auto seconds = parseNumber<double>(text.value());
            if (!seconds || !(*seconds >= 0) || !std::isfinite(*seconds))
                return makeError("--spacing needs seconds of 0 or more, not '" + std::string(text.value()) +
                                 "'");
            options.spacingSeconds = *seconds;
        } else if (is("-t", "--ticks")) {
            auto text = value("a number of ticks");
            if (text.isError())
                return text.error();
            auto ticks = parseNumber<int32_t>(text.value());
            if (!ticks || *ticks < 0)
                return makeError("--ticks needs a whole number of 0 or more, not '" +
                                 std::string(text.value()) + "'");
            options.spacingTicks = *ticks;
        } else if (is("-S", "--size")) {
            auto text = value("a size such as 320x240");
            if (text.isError())
                return text.error();
            options.size = parseSize(text.value());
            if (!options.size)
                return makeError("--size needs WIDTHxHEIGHT with both above 0, not '" +
                                 std::string(text.value()) + "'");
        } else if (is("-r", "--rotate")) {
            auto text = value("degrees");
            if (text.isError())
                return text.error();
            auto degrees = parseNumber<int32_t>(text.value());
            if (!degrees)
                return makeError("--rotate needs whole degrees, not '" + std::string(text.value()) + "'");
            options.rotation = *degrees;
        } else if (is("-H", "--flip-horizontal")) {
            options.flipHorizontal = true;
        } else if (is("-V", "--flip-vertical")) {
            options.flipVertical = true;
        } else if (is("-a", "--require-all")) {
            options.requireAll = true;
        } else if (is("-c", "--chapters")) {
            options.chapters = true;
        } else if (is("-q", "--quiet")) {
            options.quiet = true;
        } else if (is("-o", "--output")) {
            auto text = value("a folder");
            if (text.isError())
                return text.error();
            options.outputFolder = text.value();
        } else if (is(nullptr, "--sheet")) {
            auto text = value("a PNG file");
            if (text.isError())
                return text.error();
            options.sheetPath = text.value();
        } else if (is(nullptr, "--service")) {
            auto text = value("a path");
            if (text.isError())
                return text.error();
            options.servicePath = text.value();
        } else if (is(nullptr, "--address")) {
            auto text = value("an address");
            if (text.isError())
                return text.error();
            options.address = text.value();
        } else if (argument.size() > 1 && argument[0] == '-') {
            return makeError("unknown option " + std::string(argument) + " (see lxframes --help)");
        } else if (options.moviePath.empty()) {
            options.moviePath = argument;
        } else {
            return makeError("one movie at a time: '" + std::string(argument) + "' is one too many");
        }
    }
    if (options.spacingSeconds && options.spacingTicks)
        return makeError("--spacing and --ticks cannot be used together");
    return options;
}

NSSize SizeFittingBox(NSSize size, NSSize box) {
    if (!(size.width > 0) || !(size.height > 0))
        return box;
    double scale = std::min({1.0, box.width / size.width, box.height / size.height});
    return {std::max(1.0, std::round(size.width * scale)), std::max(1.0, std::round(size.height * scale))};
}
