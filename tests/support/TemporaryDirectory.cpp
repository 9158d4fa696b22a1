#include <tests/support/TemporaryDirectory.h>
#include <zun/platform/helper/CommonHelper.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

TemporaryDirectory::TemporaryDirectory() {
    std::string path = testing::TempDir() + "zun_test_XXXXXX";
    if (!mkdtemp(path.data()))
        throw std::filesystem::filesystem_error("mkdtemp", path,
                                                std::error_code(errno, std::generic_category()));
    m_path = path;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::wstring TemporaryDirectory::wideFile(std::string const& name) const {
    return orvane_com::zun::helper::toWide(file(name));
}

std::string readFile(std::string const& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void writeFile(std::string const& path, std::string const& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}
