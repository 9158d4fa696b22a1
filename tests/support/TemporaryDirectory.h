#pragma once

#include <string>

/// A directory of its own for a test, removed with all it holds at the end.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    ~TemporaryDirectory();
    TemporaryDirectory(TemporaryDirectory const&) = delete;
    TemporaryDirectory& operator=(TemporaryDirectory const&) = delete;

    std::string const& path() const { return m_path; }
    std::string file(std::string const& name) const { return m_path + "/" + name; }
    std::wstring wideFile(std::string const& name) const;

private:
    std::string m_path;
};

std::string readFile(std::string const& path);
void writeFile(std::string const& path, std::string const& bytes);
