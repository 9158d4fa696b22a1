#include "LockDirectory.h"

#include <filesystem>
#include <system_error>
#include <unistd.h>

LockDirectory::LockDirectory() {
    std::filesystem::path const path = "/Library/Orvane/zun/scratch";
    for (std::filesystem::path part = path; !std::filesystem::exists(part); part = part.parent_path())
        m_made.push_back(part);
    std::error_code error;
    std::filesystem::create_directories(path, error);
    m_exists = access(path.c_str(), W_OK) == 0;
}

LockDirectory::~LockDirectory() {
    std::error_code ignored;
    for (std::string const& directory : m_made)
        std::filesystem::remove(directory, ignored);
}
