#include <fstream>

#include <gtest/gtest.h>

#include "support/Fixtures.h"

namespace lxkit::test {
namespace {

struct Run {
    int status; ///< the exit status, -1 when the program did not exit
    std::string output;
};

Run RunLxinfo(const std::string& arguments, const TemporaryFolder& folder) {
    auto outputPath = folder / "out.txt";
    int status = runCommand("'" + binary("lxinfo").string() + "' " + arguments + " > '" +
                            outputPath.string() + "' 2>&1");
    auto bytes = readFile(outputPath);
    return {status, std::string(bytes.begin(), bytes.end())};
}

TEST(Lxinfo, DescribesTheSampleMovieAndWritesItsPosterAsPNG) {
    TemporaryFolder folder;
    auto poster = folder / "poster.png";
    auto run = RunLxinfo("'" + sampleMovie().string() + "' --poster '" + poster.string() + "'", folder);
    ASSERT_EQ(run.status, 0) << run.output;
    for (const char* line : {"Video:         H.264 \u2022 320 \u00D7 240 \u2022 25 FPS",
                             "Audio:         AAC \u2022 Mono \u2022 44.100 kHz", "FPS:           25",
                             "Frame length:  40 of 1000 per second", "Duration:      00:00:10.00 (0:10.00)",
                             "Poster time:   00:00:01.00 (0:01.00)", "vide   H.264, 320 \u00D7 240",
                             "2. 00:00:03.00 (0:03.00)  Middle",
                             "com.apple.quicktime.displayname: lxkit sample", "Length: 0:10"})
        EXPECT_NE(run.output.find(line), std::string::npos) << line << "\n" << run.output;
    auto bytes = readFile(poster);
    ASSERT_GT(bytes.size(), 8u);
    EXPECT_EQ(std::string(bytes.begin() + 1, bytes.begin() + 4), "PNG");
    std::string size = commandOutput("ffprobe -v error -show_entries stream=width,height -of csv=p=0 '" +
                                     poster.string() + "'");
    EXPECT_EQ(size, "320,240\n");
}

TEST(Lxinfo, JsonIsStableAndComplete) {
    TemporaryFolder folder;
    auto first = RunLxinfo("--json '" + sampleMovie().string() + "'", folder);
    auto second = RunLxinfo("'" + sampleMovie().string() + "' --json", folder);
    ASSERT_EQ(first.status, 0) << first.output;
    EXPECT_EQ(first.output, second.output);
    for (const char* fragment :
         {"\"fps\": 25,", "\"frameLength\": 40,", "\"abbreviated\": \"0:10.00\"", "\"name\": \"Closing\"",
          "\"com.apple.quicktime.artist\": \"lxkit\"", "\"primarySortKey\": 3",
          "\"videoSummary\": \"H.264 \u2022 320 \u00D7 240 \u2022 25 FPS\""})
        EXPECT_NE(first.output.find(fragment), std::string::npos) << fragment << "\n" << first.output;
    // Python's parser is the judge of well-formed JSON.
    std::ofstream(folder / "info.json") << first.output;
    EXPECT_EQ(runCommand("python3 -c 'import json,sys; json.load(open(sys.argv[1]))' '" +
                         (folder / "info.json").string() + "'"),
              0);
}

TEST(Lxinfo, FailsClearlyOnMissingFilesAndNonMovies) {
    TemporaryFolder folder;
    std::ofstream(folder / "notes.txt") << "not a movie at all\n";
    struct Case {
        std::string arguments;
        int status;
        std::string message;
    };
    const Case cases[] = {
        {"'" + (folder / "missing.mp4").string() + "'", 1, "lxinfo: cannot read"},
        {"'" + (folder / "notes.txt").string() + "'", 1, "is not a movie lxkit can open"},
        {"'" + folder.path().string() + "'", 1, "it is a folder"},
        {"", 2, "lxinfo: no movie given"},
        {"--frobnicate x.mp4", 2, "lxinfo: unknown option --frobnicate"},
    };
    for (const auto& c : cases) {
        auto run = RunLxinfo(c.arguments, folder);
        EXPECT_EQ(run.status, c.status) << c.arguments << "\n" << run.output;
        EXPECT_NE(run.output.find(c.message), std::string::npos) << c.arguments << "\n" << run.output;
    }
    auto sound = makeMovie("lxinfo-sound.m4a", "-f lavfi -i sine -t 0.5 -c:a aac");
    auto run = RunLxinfo("'" + sound.string() + "' --poster '" + (folder / "p.png").string() + "'", folder);
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.output.find("Video:         \u2014"), std::string::npos) << run.output;
    EXPECT_NE(run.output.find("has no picture"), std::string::npos) << run.output;
}

} // namespace
} // namespace lxkit::test
