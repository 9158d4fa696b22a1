#include <zun/structured/MatchWildcard.h>
#include <zun/text/ACharString.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cstddef>
#include <netinet/in.h>
#include <string_view>

namespace {

constexpr char star = '*';

void lowerCase(std::string& text) {
    for (char& c : text)
        c = static_cast<char>(c + (c >= 'A' && c <= 'Z' ? 'a' - 'A' : 0));
}

} // namespace

// What stands between two stars may always take its first occurrence: that leaves the most text for the rest.
bool MatchWildcard(std::string pattern, std::string text) {
    lowerCase(pattern);
    lowerCase(text);
    std::string_view const whole(pattern);
    std::string_view rest(text);

    std::size_t glob = whole.find(star);
    if (glob == std::string_view::npos)
        return whole == rest;
    if (!rest.starts_with(whole.substr(0, glob)))
        return false;
    rest.remove_prefix(glob);

    for (;;) {
        glob = whole.find_first_not_of(star, glob);
        if (glob == std::string_view::npos)
            return !rest.empty();
        std::size_t const globEnd = whole.find(star, glob);
        std::string_view const literal = whole.substr(glob, globEnd - glob);
        if (globEnd == std::string_view::npos)
            return rest.ends_with(literal);
        std::size_t const found = rest.find(literal);
        if (found == std::string_view::npos)
            return false;
        rest.remove_prefix(found + literal.size());
        glob = globEnd;
    }
}

void percentEncodeSpaceInPath(std::string& path) {
    auto const spaces = static_cast<std::size_t>(std::count(path.begin(), path.end(), ' '));
    if (spaces == 0)
        return;
    std::string encoded;
    encoded.reserve(path.size() + 2 * spaces);
    for (char const c : path) {
        if (c == ' ')
            encoded += "%20";
        else
            encoded += c;
    }
    path = std::move(encoded);
}

bool convertFqdnToNetbios(std::wstring& name) {
    if (inet_addr(ACharString(name.c_str())) != INADDR_NONE)
        return false;
    std::size_t const dot = name.find(L'.');
    if (dot == std::wstring::npos)
        return false;
    name.erase(dot);
    return true;
}
