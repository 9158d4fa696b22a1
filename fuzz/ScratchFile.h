#pragma once

#include <zun/platform/helper/CommonHelper.h>

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <unistd.h>

/// A file that a fuzz target fills anew for every input, in memory where the system has such a directory;
/// removed when the process ends.
class ScratchFile {
public:
    explicit ScratchFile(std::string const& name) {
        std::filesystem::path const memory = "/dev/shm";
        auto const directory =
            std::filesystem::exists(memory) ? memory : std::filesystem::temp_directory_path();
        m_path = directory / (name + "." + std::to_string(getpid()));
    }
    ~ScratchFile() { std::filesystem::remove(m_path); }
    ScratchFile(ScratchFile const&) = delete;
    ScratchFile& operator=(ScratchFile const&) = delete;

    std::string const& path() const { return m_path; }
    std::wstring widePath() const { return orvane_com::zun::helper::toWide(m_path); }

    void write(std::string const& bytes) const { std::ofstream(m_path, std::ios::binary) << bytes; }
    std::string read() const {
        std::ifstream stream(m_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

private:
    std::string m_path;
};

/// The bytes up to a line feed, which are taken off the input.
inline std::string takeLine(std::string& input) {
    std::size_t const end = input.find('\n');
    std::string line = input.substr(0, end);
    input.erase(0, end == std::string::npos ? end : end + 1);
    return line;
}
