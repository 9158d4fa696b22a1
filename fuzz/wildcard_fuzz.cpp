#include <tests/support/LiteralWildcard.h>
#include <zun/structured/MatchWildcard.h>

#include <cstdlib>

static std::string lowerCase(std::string text) {
    for (char& c : text)
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    return text;
}

/// The input is a pattern, a line feed and a text. Where trying every place ends soon, the answers agree; a
/// long input has only to be answered.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    std::string const input(reinterpret_cast<char const*>(data), size);
    std::size_t const line = input.find('\n');
    if (line == std::string::npos)
        return 0;
    std::string const pattern = input.substr(0, line);
    std::string const text = input.substr(line + 1);
    bool const matched = MatchWildcard(pattern, text);
    if (size <= 24 && matched != literal::matchWildcard(lowerCase(pattern), lowerCase(text)))
        std::abort();
    return 0;
}
