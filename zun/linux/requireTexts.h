#pragma once

/// Ends the process with an assertion, in every build, when a text is missing.
void assertTexts(wchar_t const* logGroup, wchar_t const* message);

inline void requireTexts(wchar_t const* logGroup, wchar_t const* message) {
    if (!logGroup || !message) [[unlikely]]
        assertTexts(logGroup, message);
}
