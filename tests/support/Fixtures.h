#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace lxkit::test {

/// A folder under the system's temporary directory, removed with everything in it when
/// the object goes.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    const std::filesystem::path& path() const { return m_path; }
    std::filesystem::path operator/(const std::string& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

/// Runs a command through the shell and gives its exit status.
int runCommand(const std::string& command);
/// Runs a command and gives what it wrote to standard output.
std::string commandOutput(const std::string& command);

/// Makes a movie with the ffmpeg command line: `arguments` go between "ffmpeg -y" and
/// the output path. Movies are cached for the run of one test program by their
/// arguments, so suites can ask for the same fixture often.
std::filesystem::path makeMovie(const std::string& name, const std::string& arguments);

std::vector<uint8_t> readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const std::vector<uint8_t>& bytes);

/// The sample movie that the build makes (320 x 240, 10 s, three chapters).
std::filesystem::path sampleMovie();
/// A built executable in build/bin.
std::filesystem::path binary(const std::string& name);

/// PSNR in dB between two images of equal size given as RGB24 rows (infinity when equal).
double psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b);

} // namespace lxkit::test
