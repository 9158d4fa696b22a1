#pragma once

#include <zun/Api.h>

#include <string>

// Any thread may call these functions; none logs.

/// Whether the whole text fits the pattern, ignoring the case of ASCII letters. "*" stands for any run of
/// characters; every other character stands for itself. A "*" that ends the pattern wants at least one
/// character: "abc*" does not match "abc", nor "*" the empty text.
[[nodiscard]] ZUN_API bool MatchWildcard(std::string const& pattern, std::string const& text);

/// The same, for a program that keeps the address of a function of texts by value; a call takes the one
/// above.
template <typename = void>
[[nodiscard]] bool MatchWildcard(std::string pattern, std::string text) {
    bool (*const match)(std::string const&, std::string const&) = MatchWildcard;
    return match(pattern, text);
}

/// Replaces every space by "%20" and nothing else.
ZUN_API void percentEncodeSpaceInPath(std::string& path);

/// Cuts a host name at its first "."; a name that inet_addr(3) reads as an IPv4 address is left alone.
/// Returns whether it was cut. inet_addr does not tell "255.255.255.255" from a failure, so that one is cut.
ZUN_API bool convertFqdnToNetbios(std::wstring& name);
