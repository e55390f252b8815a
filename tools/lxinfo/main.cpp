// lxinfo: what the information panel knows about a movie, at a terminal.

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "JsonWriter.h"
#include "imaging/NSImage+LXImageEncoding.h"
#include "movie/NSDate+LXDate.h"
#include "movie/NSString+LXStringMovieTime.h"
#include "movie/QTMovie+LXMovieMetadata.h"
#include "movie/QTMovie+LXMovieSummaries.h"
#include "movie/QTMovie+LXMovieTracks.h"
#include "platform/core/ErrorOr.h"
#include "platform/media/QTMovie.h"

namespace {

constexpr const char* kUsage = "usage: lxinfo MOVIE [--json] [--poster FILE.png]\n"
                               "  --json          print the information as JSON\n"
                               "  --poster FILE   write the movie's representative still as PNG\n"
                               "A movie file is read in place; a pipe, FIFO or device (/dev/stdin) is read\n"
                               "whole, up to 256 MiB and within 10 s.\n";

struct Options {
    std::string moviePath;
    std::string posterPath;
    bool json = false;
    bool help = false;
};

int fail(const std::string& message, int status = 1) {
    std::fprintf(stderr, "lxinfo: %s\n", message.c_str());
    return status;
}

ErrorOr<Options> parseOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        if (argument == "--json") {
            options.json = true;
        } else if (argument == "--help" || argument == "-h") {
            options.help = true;
        } else if (argument == "--poster") {
            if (i + 1 >= argc)
                return makeError("--poster needs a file name");
            options.posterPath = argv[++i];
        } else if (argument.starts_with("--poster=")) {
            options.posterPath = argument.substr(9);
        } else if (argument.starts_with("-") && argument != "-") {
            return makeError("unknown option " + argument);
        } else if (options.moviePath.empty()) {
            options.moviePath = argument;
        } else {
            return makeError("only one movie at a time");
        }
    }
    if (!options.help && options.moviePath.empty())
        return makeError("no movie given");
    return options;
}

PropertyValue timeEntry(QTTime time, int32_t frameLength) {
    return PropertyDictionary{
        {"value", NSNumber::numberWithLongLong(time.timeValue)},
        {"scale", NSNumber::numberWithLongLong(time.timeScale)},
        {"seconds", PropertyValue::real(QTGetTimeInterval(time))},
        {"text", LXString::stringWithMovieTime(time, frameLength)},
        {"abbreviated", LXString::stringWithAbbreviatedMovieTime(time, frameLength)},
    };
}

/// Everything lxinfo reports, as one dictionary: the JSON form prints it as it is.
PropertyDictionary makeReport(const std::string& path, const QTMovie& movie) {
    int32_t frameLength = LXMovie::frameLength(movie);
    PropertyArray chapters;
    for (const auto& chapter : movie.chapters()) {
        PropertyDictionary entry{{"name", chapter.name}};
        if (chapter.startTime)
            entry.emplace("start", timeEntry(*chapter.startTime, frameLength));
        chapters.emplace_back(std::move(entry));
    }
    PropertyArray tracks;
    for (const auto& track : movie.tracks()) {
        PropertyDictionary entry{{"enabled", PropertyValue::boolean(track->isEnabled())}};
        if (auto type = track->mediaType())
            entry.emplace("type", *type);
        if (auto& summary = track->formatSummary())
            entry.emplace("summary", *summary);
        if (auto& name = track->displayName())
            entry.emplace("name", *name);
        tracks.emplace_back(std::move(entry));
    }
    return PropertyDictionary{
        {"file", path},
        {"metadata", LXMovie::metadata(movie).value_or(PropertyDictionary{})},
        {"videoSummary", LXMovie::mainVideoTrackSummary(movie)},
        {"audioSummary", LXMovie::mainAudioTrackSummary(movie)},
        {"tracks", tracks},
        {"fps", PropertyValue::real(LXMovie::FPS(movie))},
        {"frameLength", PropertyValue::number(frameLength)},
        {"duration", timeEntry(movie.duration(), frameLength)},
        {"chapters", chapters},
        {"interestingFrameTime", timeEntry(LXMovie::interestingFrameImageTime(movie), frameLength)},
    };
}

std::string plainText(const PropertyValue& value) {
    if (auto text = value.string())
        return *text;
    if (auto date = value.date())
        return LXDate::descriptionWithLongFormat(*date);
    return JsonValue(value);
}

void printReport(const PropertyDictionary& report, const QTMovie& movie) {
    auto text = [&](const char* key) { return plainText(*PropertyValueForKey(report, key)); };
    auto time = [](const PropertyValue& entry) {
        const auto& fields = *entry.dictionary();
        return *PropertyValueForKey(fields, "text")->string() + " (" +
               *PropertyValueForKey(fields, "abbreviated")->string() + ")";
    };
    std::printf("File:          %s\n", text("file").c_str());
    std::printf("Video:         %s\n", text("videoSummary").c_str());
    std::printf("Audio:         %s\n", text("audioSummary").c_str());
    std::printf("FPS:           %g\n", LXMovie::FPS(movie));
    std::printf("Frame length:  %d of %lld per second\n", LXMovie::frameLength(movie),
                static_cast<long long>(movie.duration().timeScale));
    std::printf("Duration:      %s\n", time(*PropertyValueForKey(report, "duration")).c_str());
    std::printf("Poster time:   %s\n", time(*PropertyValueForKey(report, "interestingFrameTime")).c_str());

    const auto& metadata = *PropertyValueForKey(report, "metadata")->dictionary();
    std::printf("Tracks:\n");
    if (auto list = PropertyValueForKey(metadata, "Tracks");
        list && list->array() && !list->array()->empty()) {
        for (const auto& entry : *list->array()) {
            const auto& fields = *entry.dictionary();
            std::printf("  %-6s %s\n", PropertyValueForKey(fields, "type")->string()->c_str(),
                        PropertyValueForKey(fields, "summary")->string()->c_str());
        }
    } else {
        std::printf("  (no audio or video tracks)\n");
    }
    const auto& chapters = *PropertyValueForKey(report, "chapters")->array();
    std::printf("Chapters:%s\n", chapters.empty() ? " none" : "");
    for (size_t i = 0; i < chapters.size(); ++i) {
        const auto& fields = *chapters[i].dictionary();
        const PropertyValue* start = PropertyValueForKey(fields, "start");
        std::printf("  %2zu. %-22s %s\n", i + 1, start ? time(*start).c_str() : "-",
                    PropertyValueForKey(fields, "name")->string()->c_str());
    }
    std::printf("Metadata:\n");
    for (const auto& [key, value] : metadata) {
        if (key != "Tracks")
            std::printf("  %s: %s\n", key.c_str(), plainText(value).c_str());
    }
}

} // namespace

int main(int argc, char** argv) {
    auto parsed = parseOptions(argc, argv);
    if (parsed.isError()) {
        std::fputs(kUsage, stderr);
        return fail(parsed.error().message, 2);
    }
    Options options = parsed.releaseValue();
    if (options.help) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    auto bytes = NSData::dataWithContentsOfFile(options.moviePath);
    if (bytes.isError())
        return fail(bytes.error().message);
    auto opened = QTMovie::movieWithData(bytes.value());
    if (opened.isError())
        return fail(options.moviePath + " is not a movie lxkit can open: " + opened.error().message);
    auto movie = opened.releaseValue();

    PropertyDictionary report = makeReport(options.moviePath, *movie);
    if (options.json)
        std::printf("%s\n", JsonValue(report).c_str());
    else
        printReport(report, *movie);

    if (!options.posterPath.empty()) {
        auto image = LXMovie::interestingFrameImage(*movie);
        if (!image)
            return fail(options.moviePath + " has no picture to take a poster from");
        auto png = LXImage::PNGRepresentation(*image);
        if (!png)
            return fail("cannot encode the poster as PNG");
        std::ofstream out(options.posterPath, std::ios::binary);
        out.write(reinterpret_cast<const char*>(png->bytes()), static_cast<std::streamsize>(png->length()));
        if (!out)
            return fail("cannot write " + options.posterPath + ": " + std::strerror(errno));
    }
    return 0;
}
