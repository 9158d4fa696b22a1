#include <zun/logger/Generations.h>
#include <zun/platform/file/GlobErrors.h>
#include <zun/platform/helper/CommonHelper.h>

#include <algorithm>
#include <charconv>
#include <functional>
#include <glob.h>
#include <memory>
#include <new>
#include <string_view>
#include <unistd.h>

namespace orvane_com::zun::logger {

namespace {

/// A glob pattern that matches just this text.
std::string literal(std::string const& text) {
    std::string pattern;
    for (char const character : text) {
        if (std::string_view("*?[\\").find(character) != std::string_view::npos)
            pattern.push_back('\\');
        pattern.push_back(character);
    }
    return pattern;
}

} // namespace

Generations::Generations(std::string const& path) {
    std::size_t const dot = path.find('.');
    m_before = path.substr(0, dot) + "_backup_";
    m_after = "." + (dot == std::string::npos ? "log" : path.substr(dot + 1));
}

std::string Generations::path(std::int32_t number) const {
    return m_before + helper::longToNarrow(number) + m_after;
}

std::vector<std::int32_t> Generations::existing(std::int32_t end) const {
    constexpr std::int32_t fewNames = 300; // to look for; more are listed
    std::vector<std::int32_t> numbers;
    bool const areListed = end > fewNames && list(numbers, end);
    for (std::int32_t number = 1; !areListed && number < end; ++number) {
        if (access(path(number).c_str(), F_OK) == 0)
            numbers.push_back(number);
        else if (number >= fewNames)
            break; // no list to be had, and behind the few the generations end at a gap
    }
    std::sort(numbers.begin(), numbers.end(), std::greater<>());
    return numbers;
}

bool Generations::list(std::vector<std::int32_t>& numbers, std::int32_t end) const {
    glob_t found{};
    std::unique_ptr<glob_t, void (*)(glob_t*)> const owner(&found, globfree);
    int const result = glob((literal(m_before) + "*" + literal(m_after)).c_str(), GLOB_NOSORT,
                            file::stopWithoutMemory, &found);
    if (result == GLOB_NOSPACE || result == GLOB_ABORTED)
        throw std::bad_alloc();
    if (result != 0)
        return false;
    for (std::size_t i = 0; i < found.gl_pathc; ++i)
        if (std::optional<std::int32_t> const number = numberOf(found.gl_pathv[i]); number && *number < end)
            numbers.push_back(*number);
    return true;
}

std::optional<std::int32_t> Generations::numberOf(std::string const& backup) const {
    if (backup.size() < m_before.size() + m_after.size())
        return std::nullopt;
    char const* const begin = backup.data() + m_before.size();
    char const* const end = backup.data() + backup.size() - m_after.size();
    std::int32_t number = 0;
    auto const result = std::from_chars(begin, end, number);
    if (result.ec != std::errc() || number < 1 || path(number) != backup)
        return std::nullopt;
    return number;
}

} // namespace orvane_com::zun::logger
