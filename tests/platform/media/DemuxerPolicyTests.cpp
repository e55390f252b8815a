// Movie bytes may only ever be read as themselves: a manifest, playlist, script or
// session description handed over as a movie must not make the service open the files
// or reach the addresses it names.

#include <chrono>
#include <functional>
#include <future>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <unistd.h>

#include "MovieFixtures.h"
#include "platform/media/QTMovie.h"

namespace lxkit::test {
namespace {

/// A socket that closes itself.
class Socket {
public:
    explicit Socket(int descriptor) : m_descriptor(descriptor) {}
    ~Socket() {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int get() const { return m_descriptor; }

private:
    int m_descriptor;
};

int LocalPort(int socket) {
    sockaddr_in address{};
    socklen_t length = sizeof address;
    getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length);
    return ntohs(address.sin_port);
}

sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

/// A TCP listener on a free loopback port that must never see a connection.
class LoopbackListener {
public:
    LoopbackListener() : m_socket(socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK, 0)) {
        sockaddr_in address = Loopback(0);
        EXPECT_EQ(bind(m_socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(m_socket.get(), 16), 0);
        m_port = LocalPort(m_socket.get());
    }
    int port() const { return m_port; }
    bool wasConnected() const {
        int accepted = accept(m_socket.get(), nullptr, nullptr);
        if (accepted < 0)
            return false;
        close(accepted);
        return true;
    }

private:
    Socket m_socket;
    int m_port = 0;
};

/// A UDP port that was free when chosen; `isTaken` tells whether someone has bound it.
int FreeUdpPort() {
    Socket probe(socket(AF_INET, SOCK_DGRAM, 0));
    sockaddr_in address = Loopback(0);
    bind(probe.get(), reinterpret_cast<sockaddr*>(&address), sizeof address);
    return LocalPort(probe.get());
}

bool UdpPortIsTaken(int port) {
    Socket probe(socket(AF_INET, SOCK_DGRAM, 0));
    sockaddr_in address = Loopback(port);
    return bind(probe.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0;
}

/// Reports every open or read of a file in one folder from the moment it is made.
class FolderWatch {
public:
    explicit FolderWatch(const std::filesystem::path& folder) : m_inotify(inotify_init1(IN_NONBLOCK)) {
        EXPECT_GE(inotify_add_watch(m_inotify.get(), folder.c_str(), IN_OPEN | IN_ACCESS), 0);
    }
    /// The names of the files touched so far.
    std::vector<std::string> touched() const {
        std::vector<std::string> names;
        alignas(inotify_event) char buffer[4096];
        for (;;) {
            ssize_t length = read(m_inotify.get(), buffer, sizeof buffer);
            if (length <= 0)
                return names;
            for (char* at = buffer; at < buffer + length;) {
                auto* event = reinterpret_cast<inotify_event*>(at);
                names.push_back(event->len ? event->name : "(the folder)");
                at += sizeof(inotify_event) + event->len;
            }
        }
    }

private:
    Socket m_inotify;
};

/// Where the secrets are: a real movie in a folder of its own, a TCP listener and a UDP
/// port, for a manifest to name.
struct Targets {
    std::filesystem::path folder;
    std::filesystem::path movie;
    int tcpPort;
    int udpPort;
};

struct HostileCase {
    const char* name;
    std::function<std::string(const Targets&)> text;
    /// Whether the manifest names its file relative to the working folder.
    bool relative = false;
};

std::string DashManifest(const std::string& url) {
    return "<?xml version=\"1.0\"?>\n"
           "<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" mediaPresentationDuration=\"PT2S\" "
           "minBufferTime=\"PT1S\" profiles=\"urn:mpeg:dash:profile:isoff-on-demand:2011\">\n"
           " <Period><AdaptationSet mimeType=\"video/mp4\">\n"
           "  <Representation id=\"1\" bandwidth=\"1000\" width=\"320\" height=\"240\" "
           "codecs=\"avc1.64001e\">\n"
           "   <BaseURL>" +
           url +
           "</BaseURL><SegmentBase/>\n"
           "  </Representation>\n"
           " </AdaptationSet></Period>\n"
           "</MPD>\n";
}

std::string HlsPlaylist(const std::string& url) {
    return "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXTINF:2,\n" + url + "\n#EXT-X-ENDLIST\n";
}

std::string Http(const Targets& targets, const std::string& name) {
    return "http://127.0.0.1:" + std::to_string(targets.tcpPort) + "/" + name;
}

const HostileCase kHostileCases[] = {
    {"DASH naming a file", [](const Targets& t) { return DashManifest("file://" + t.movie.string()); }},
    {"DASH naming a web server", [](const Targets& t) { return DashManifest(Http(t, "movie.mp4")); }},
    {"HLS naming a file", [](const Targets& t) { return HlsPlaylist("file://" + t.movie.string()); }},
    {"HLS naming a web server", [](const Targets& t) { return HlsPlaylist(Http(t, "segment.ts")); }},
    {"HLS with a key on a web server",
     [](const Targets& t) {
         return "#EXTM3U\n#EXT-X-TARGETDURATION:2\n#EXT-X-KEY:METHOD=AES-128,URI=\"" + Http(t, "key") +
                "\"\n#EXTINF:2,\n" + Http(t, "segment.ts") + "\n#EXT-X-ENDLIST\n";
     }},
    {"ffconcat naming a file in the working folder",
     [](const Targets& t) { return "ffconcat version 1.0\nfile " + t.movie.filename().string() + "\n"; },
     true},
    {"ffconcat naming a web server",
     [](const Targets& t) { return "ffconcat version 1.0\nfile '" + Http(t, "movie.mp4") + "'\n"; }},
    {"SDP receiving on a UDP port",
     [](const Targets& t) {
         return "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=movie\nc=IN IP4 127.0.0.1\nt=0 0\nm=video " +
                std::to_string(t.udpPort) + " RTP/AVP 96\na=rtpmap:96 H264/90000\n";
     }},
    {"SDP naming an RTSP control address",
     [](const Targets& t) {
         return "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=movie\nc=IN IP4 127.0.0.1\nt=0 "
                "0\na=control:rtsp://127.0.0.1:" +
                std::to_string(t.tcpPort) + "/\nm=video " + std::to_string(t.udpPort) +
                " RTP/AVP 96\na=rtpmap:96 H264/90000\n";
     }},
};

TEST(DemuxerPolicy, ManifestsPlaylistsScriptsAndSessionsOpenNothing) {
    TemporaryFolder folder;
    auto movie = folder / "secret.mp4";
    std::filesystem::copy_file(BFrameMovie(12), movie);
    LoopbackListener listener;
    Targets targets{folder.path(), movie, listener.port(), FreeUdpPort()};
    for (const HostileCase& hostile : kHostileCases) {
        SCOPED_TRACE(hostile.name);
        std::string text = hostile.text(targets);
        FolderWatch watch(folder.path());
        auto working = std::filesystem::current_path();
        if (hostile.relative)
            std::filesystem::current_path(folder.path());
        // The open runs beside a watch on the UDP port, which a session description
        // would bind for as long as it waits for packets.
        auto opening = std::async(std::launch::async, [&] {
            auto opened = QTMovie::movieWithData(NSData::dataWithBytes(text.data(), text.size()));
            bool framed = false;
            if (!opened.isError()) {
                auto image = opened.value()->frameImageAtTime(QTMakeTime(0, 1000), {NSMakeSize(32, 24)});
                framed = !image.isError();
            }
            return std::make_pair(!opened.isError(), framed);
        });
        bool portTaken = false;
        while (opening.wait_for(std::chrono::milliseconds(5)) != std::future_status::ready)
            portTaken = portTaken || UdpPortIsTaken(targets.udpPort);
        auto [opened, framed] = opening.get();
        std::filesystem::current_path(working);

        EXPECT_FALSE(opened);
        EXPECT_FALSE(framed) << "a frame of the named movie came back";
        auto touched = watch.touched();
        EXPECT_TRUE(touched.empty()) << "opened " << touched.front();
        EXPECT_FALSE(listener.wasConnected()) << "connected to the loopback listener";
        EXPECT_FALSE(portTaken) << "bound the UDP port";
    }
}

/// A container people have, made by the command line: its name, the output file's
/// extension and the options that make it.
struct ContainerCase {
    const char* name;
    const char* extension;
    std::string options;
    /// Whether a frame is grabbed too.
    bool hasPicture = true;
};

TEST(DemuxerPolicy, EverySingleFileContainerStillOpens) {
    const std::string source = "-f lavfi -i testsrc2=size=160x120:rate=25 -t 1 ";
    const std::string sound = "-f lavfi -i sine=frequency=440:duration=1 ";
    // Elementary streams and stills carry no duration, so no time lies inside them and
    // only their opening is checked (as before this policy).
    const ContainerCase cases[] = {
        {"MP4", "mp4", source + kH264},
        {"MOV", "mov", source + kH264},
        {"3GP", "3gp", source + "-c:v h263 -s 176x144"},
        {"MKV", "mkv", source + kH264},
        {"WebM", "webm", source + "-c:v libvpx -b:v 200k"},
        {"AVI", "avi", source + "-c:v mpeg4"},
        {"FLV", "flv", source + "-c:v flv1"},
        // Opens; its frames are a separate, older gap of the grabber (no frame comes back
        // from a transport stream with or without this policy), so only the open is checked.
        {"MPEG-TS", "ts", source + kH264, false},
        {"MPEG-PS", "mpg", source + "-c:v mpeg2video"},
        {"MPEG-1 elementary", "m1v", source + "-c:v mpeg1video"},
        {"ASF", "asf", source + "-c:v msmpeg4v2"},
        {"WMV", "wmv", source + "-c:v wmv2"},
        {"OGG", "ogv", source + "-c:v libtheora"},
        {"raw H.264", "h264", source + kH264, false},
        {"raw HEVC", "hevc", source + "-c:v libx265 -x265-params log-level=none", false},
        {"MJPEG", "mjpeg", source + "-c:v mjpeg -pix_fmt yuvj420p", false},
        {"Motion JPEG in AVI", "avi", source + "-c:v mjpeg -pix_fmt yuvj420p"},
        {"PNG still", "png", source + "-frames:v 1", false},
        {"JPEG still", "jpg", source + "-frames:v 1 -pix_fmt yuvj420p", false},
        {"animated GIF", "gif", source},
        {"MXF", "mxf", source + "-c:v mpeg2video"},
        {"NUT", "nut", source + "-c:v ffv1"},
        {"DV", "dv", "-f lavfi -i testsrc2=size=720x576:rate=25 -t 1 -pix_fmt yuv420p -c:v dvvideo"},
        {"IVF", "ivf", source + "-c:v libvpx -b:v 200k"},
        {"Y4M", "y4m", source},
        {"MP3", "mp3", sound, false},
        {"WAV", "wav", sound, false},
        {"FLAC", "flac", sound, false},
        {"M4A", "m4a", sound + "-c:a aac", false},
        {"AAC", "aac", sound + "-c:a aac", false},
        {"AIFF", "aiff", sound, false},
        {"OGG sound", "oga", sound + "-c:a libvorbis", false},
    };
    for (const ContainerCase& c : cases) {
        SCOPED_TRACE(c.name);
        std::string file = std::string(c.name) + "." + c.extension;
        std::replace(file.begin(), file.end(), ' ', '-');
        auto movie = OpenMovie(makeMovie(file, c.options));
        if (!movie)
            continue;
        EXPECT_FALSE(movie->tracks().empty());
        if (!c.hasPicture)
            continue;
        auto image = movie->frameImageAtTime(QTMakeTime(movie->duration().timeValue / 2, movie->timeScale()),
                                             {NSMakeSize(32, 24)});
        if (image.isError())
            ADD_FAILURE() << "no frame: " << image.error().message;
        else
            EXPECT_EQ(image.value()->bitmap().pixelSize(), (PixelSize{32, 24}));
    }
}

} // namespace
} // namespace lxkit::test
