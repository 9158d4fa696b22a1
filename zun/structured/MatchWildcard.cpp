#include <zun/structured/MatchWildcard.h>
#include <zun/text/ACharString.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cstddef>
#include <netinet/in.h>
#include <string_view>

namespace {

constexpr char star = '*';

char lower(char c) {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

bool beginsWith(std::string_view text, std::string_view literal) {
    if (text.size() < literal.size())
        return false;
    for (std::size_t i = 0; i < literal.size(); ++i)
        if (lower(text[i]) != lower(literal[i]))
            return false;
    return true;
}

/// The first occurrence's position; npos when there is none. The literal is not empty.
std::size_t find(std::string_view text, std::string_view literal) {
    char const first = lower(literal[0]);
    for (std::size_t i = 0; i + literal.size() <= text.size(); ++i)
        if (lower(text[i]) == first && beginsWith(text.substr(i), literal))
            return i;
    return std::string_view::npos;
}

} // namespace

// What stands between two stars may always take its first occurrence: that leaves the most text for the rest.
bool MatchWildcard(std::string const& pattern, std::string const& text) {
    std::string_view const whole(pattern);
    std::string_view rest(text);
    std::size_t literalEnd = std::min(whole.find(star), whole.size());
    if (!beginsWith(rest, whole.substr(0, literalEnd)))
        return false;
    rest.remove_prefix(literalEnd);
    if (literalEnd == whole.size())
        return rest.empty();

    for (;;) {
        std::size_t const begin = whole.find_first_not_of(star, literalEnd);
        if (begin == std::string_view::npos)
            return !rest.empty();
        literalEnd = whole.find(star, begin);
        std::string_view const literal = whole.substr(begin, literalEnd - begin);
        if (literalEnd == std::string_view::npos)
            return rest.size() >= literal.size() &&
                   beginsWith(rest.substr(rest.size() - literal.size()), literal);
        std::size_t const found = find(rest, literal);
        if (found == std::string_view::npos)
            return false;
        rest.remove_prefix(found + literal.size());
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
