#pragma once

#include <string>

/// Wildcard matching by trying every place: the reference that the fast matcher is compared with. Exponential
/// in the number of stars; for lower-case texts.
namespace literal {

inline bool matchWildcard(std::string const& pattern, std::string const& text) {
    std::size_t t = 0;
    std::size_t p = 0;
    while (t < text.size() && p < pattern.size() && pattern[p] != '*' && text[t] == pattern[p]) {
        ++t;
        ++p;
    }
    if (t == text.size() || p == pattern.size() || pattern[p] != '*')
        return p == pattern.size() && t == text.size();
    p = pattern.find_first_not_of('*', p);
    if (p == std::string::npos)
        return true;
    std::size_t const found = text.find(pattern.substr(p, pattern.find('*', p) - p), t);
    for (t = found == std::string::npos ? t : found; t < text.size(); ++t)
        if (matchWildcard(pattern.substr(p), text.substr(t)))
            return true;
    return false;
}

} // namespace literal
