#pragma once

#include <tests/support/TemporaryDirectory.h>

#include <ios>
#include <string>
#include <vector>

/// The process's logger, started at level Debug on a file of its own for the length of a test.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(LogCapture const&) = delete;
    LogCapture& operator=(LogCapture const&) = delete;

    /// What was logged since the last call, a line an element, each as "[group] [tag] message": time stamp,
    /// process and thread are dropped, as are the blanks before the group.
    std::vector<std::string> takeLines();

    /// The same, without lines at Debug level.
    std::vector<std::string> takeLinesAboveDebug();

private:
    TemporaryDirectory m_directory;
    std::streamoff m_taken = 0;
};
