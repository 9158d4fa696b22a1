#include <zun/logger/ILogger.h>

#include <algorithm>
#include <tests/support/LogCapture.h>

using orvane_com::zun::logger::ILogger;

LogCapture::LogCapture() {
    ILogger::FreeLogger();
    ILogger* const logger = ILogger::GetLogger();
    logger->attach(m_directory.wideFile("captured.log"));
    logger->Start();
    logger->setMinLogLevel(orvane_com::zun::logger::Debug);
}

LogCapture::~LogCapture() {
    ILogger::FreeLogger();
}

std::vector<std::string> LogCapture::takeLines() {
    std::string const all = readFile(m_directory.file("captured.log"));
    std::vector<std::string> lines;
    while (m_taken < all.size()) {
        std::size_t const end = all.find("\r\n", m_taken);
        std::string line = all.substr(m_taken, end - m_taken);
        m_taken = end == std::string::npos ? all.size() : end + 2;
        std::size_t const threadEnd = line.find(") ");
        std::size_t const group =
            threadEnd == std::string::npos ? 0 : line.find_first_not_of(' ', threadEnd + 2);
        lines.push_back(line.substr(group));
    }
    return lines;
}

std::vector<std::string> LogCapture::takeLinesAboveDebug() {
    std::vector<std::string> lines = takeLines();
    std::erase_if(lines, [](std::string const& line) { return line.find(" [D] ") != std::string::npos; });
    return lines;
}
