#include "Report.h"

#include <zun/platform/helper/CommonHelper.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <vector>

namespace helper = orvane_com::zun::helper;

namespace {

std::vector<std::string> readLines(std::filesystem::path const& file) {
    std::ifstream stream(file, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

} // namespace

void Report::add(std::wstring const& heading) {
    m_text += "\n" + helper::toNarrow(heading) + "\n";
}

void Report::add(std::wstring const& name, std::wstring const& value) {
    constexpr std::size_t width = 18;
    std::string field = helper::toNarrow(name);
    field.resize(std::max(width, field.size() + 1), ' ');
    m_text += "  " + field + helper::toNarrow(value) + "\n";
}

void Report::addLog(std::wstring const& logFile) {
    constexpr std::size_t shown = 12;
    std::filesystem::path const file = helper::toNarrow(logFile);
    add(L"Last lines of the log");
    std::vector<std::string> const lines = readLines(file);
    for (std::size_t i = lines.size() - std::min(shown, lines.size()); i < lines.size(); ++i)
        m_text += "  " + lines[i] + "\n";

    add(L"Log files");
    std::map<std::string, std::uintmax_t> sizes;
    for (auto const& entry : std::filesystem::directory_iterator(file.parent_path()))
        sizes[entry.path().filename()] = entry.file_size();
    for (auto const& [name, size] : sizes)
        add(helper::toWide(name), std::to_wstring(size) + L" bytes");
}

void Report::print() const {
    std::cout << m_text << std::flush;
}
