#pragma once

#include <string>

/// Wildcard matching by trying every place: the reference that the fast matcher is compared with. Exponential
/// in the number of stars.
namespace literal {

inline bool matchWildcard(std::string pattern, std::string text) {
    for (std::string* side : {&pattern, &text})
        for (char& c : *side)
            if (c >= 'A' && c <= 'Z')
                c = static_cast<char>(c - 'A' + 'a');
    std::size_t t = 0;
    std::size_t p = 0;
    bool matched = false;
    while (!matched && t < text.size() && p < pattern.size()) {
        if (pattern[p] != '*') {
            if (text[t] != pattern[p])
                break;
            ++t;
            ++p;
            continue;
        }
        p = pattern.find_first_not_of('*', p);
        if (p == std::string::npos) {
            p = pattern.size();
            t = text.size();
            break;
        }
        std::size_t const found = text.find(pattern.substr(p, pattern.find('*', p) - p), t);
        if (found != std::string::npos)
            t = found;
        for (; t < text.size() && !matched; ++t)
            matched = matchWildcard(pattern.substr(p), text.substr(t));
    }
    if (matched)
        return true;
    return p >= pattern.size() && t == text.size();
}

} // namespace literal
