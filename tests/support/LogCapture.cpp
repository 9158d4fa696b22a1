#include <tests/support/LogCapture.h>
#include <zun/logger/ILogger.h>

#include <algorithm>
#include <fstream>
#include <iterator>

using orvane_com::zun::logger::ILogger;

LogCapture::LogCapture() {
    ILogger::FreeLogger();
    ILogger* const logger = ILogger::GetLogger();
    logger->attach(m_directory.wideFile("captured.log"));
    constexpr long noRotation = 1024 * 1024;
    logger->setMaxLogFileSize(noRotation);
    logger->Start();
    logger->setMinLogLevel(orvane_com::zun::logger::Debug);
}

LogCapture::~LogCapture() {
    ILogger::FreeLogger();
}

std::vector<std::string> LogCapture::takeLines() {
    std::ifstream stream(m_directory.file("captured.log"), std::ios::binary);
    stream.seekg(m_taken);
    std::string const added{std::istreambuf_iterator<char>(stream), {}};
    m_taken += static_cast<std::streamoff>(added.size());
    std::vector<std::string> lines;
    for (std::size_t begin = 0, end = 0; begin < added.size(); begin = end + 2) {
        end = std::min(added.find("\r\n", begin), added.size());
        std::string const line = added.substr(begin, end - begin);
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
