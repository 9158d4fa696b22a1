#pragma once

#include <string>

/// What the agent tells the person who started it.
class Report {
public:
    /// A heading.
    void add(std::wstring const& heading);
    /// A line under it.
    void add(std::wstring const& name, std::wstring const& value);
    /// The log's last lines, and the sizes of it and its backups.
    void addLog(std::wstring const& logFile);

    /// To standard output, in UTF-8.
    void print() const;

private:
    std::string m_text;
};
