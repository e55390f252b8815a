#include "support/Fixtures.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>
#include <stdexcept>
#include <unistd.h>

namespace lxkit::test {

TemporaryFolder::TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "lxkit-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("cannot make a temporary folder");
    m_path = pattern;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

int runCommand(const std::string& command) {
    int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string commandOutput(const std::string& command) {
    std::string output;
    FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return output;
    std::array<char, 4096> buffer;
    size_t n;
    while ((n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0)
        output.append(buffer.data(), n);
    pclose(pipe);
    return output;
}

std::filesystem::path makeMovie(const std::string& name, const std::string& arguments) {
    static TemporaryFolder folder;
    static std::map<std::string, std::filesystem::path> made;
    auto key = name + "\n" + arguments;
    if (auto found = made.find(key); found != made.end())
        return found->second;
    auto path = folder / name;
    std::string command = "ffmpeg -nostdin -loglevel error -y " + arguments + " '" + path.string() + "'";
    if (runCommand(command) != 0)
        throw std::runtime_error("ffmpeg could not make " + name + ": " + command);
    made.emplace(key, path);
    return path;
}

std::vector<uint8_t> readFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(in), {});
}

void writeFile(const std::filesystem::path& path, const std::vector<uint8_t>& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

std::filesystem::path sampleMovie() { return std::filesystem::path(LXKIT_SHARE_DIR) / "sample.mp4"; }

std::filesystem::path binary(const std::string& name) { return std::filesystem::path(LXKIT_BIN_DIR) / name; }

double psnr(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    if (a.size() != b.size() || a.empty())
        return 0;
    double sum = 0;
    for (size_t i = 0; i < a.size(); ++i) {
        double d = double(a[i]) - double(b[i]);
        sum += d * d;
    }
    if (sum == 0)
        return std::numeric_limits<double>::infinity();
    double mse = sum / double(a.size());
    return 10.0 * std::log10(255.0 * 255.0 / mse);
}

} // namespace lxkit::test
