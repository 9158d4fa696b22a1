#include <tests/soak/LogReader.h>
#include <tests/support/TemporaryDirectory.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <unistd.h>

namespace {

constexpr std::string_view lineEnd = "\r\n";

bool startsWithTime(std::string_view line) {
    constexpr std::string_view form = "0000-00-00 00:00:00.000 [";
    return line.size() >= form.size() &&
           std::equal(form.begin(), form.end(), line.begin(), [](char expected, char character) {
               return expected == '0' ? character >= '0' && character <= '9' : character == expected;
           });
}

} // namespace

std::string soakMessage(std::size_t worker, std::size_t thread, std::uint64_t number) {
    char text[80];
    int const length = std::snprintf(text, sizeof text, "soak %zu/%zu/%llu ", worker, thread,
                                     static_cast<unsigned long long>(number));
    std::string message(text, static_cast<std::size_t>(length));
    message.append(number % 180, static_cast<char>('a' + number % 26)).append("!");
    return message;
}

void LogReader::readDirectory(std::string const& directory, std::string const& name) {
    for (auto const& entry : std::filesystem::recursive_directory_iterator(directory))
        if (entry.is_regular_file() && entry.path().filename().string().rfind(name, 0) == 0)
            read(readFile(entry.path()));
}

void LogReader::read(std::string_view text) {
    static auto const page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t const end = std::min(text.find(lineEnd, begin), text.size());
        bool const isEnded = end < text.size();
        if (!isEnded || !take(text.substr(begin, end - begin))) {
            // A write that a kill cut short ends with a page; the next line follows on it.
            std::size_t boundary = (begin / page + 1) * page;
            while (boundary < end && !(isEnded && take(text.substr(boundary, end - boundary))))
                boundary += page;
            if (boundary < end || (!isEnded && boundary == end))
                ++m_cutAtPage;
            else if (m_mixed++ == 0)
                m_firstMixed = text.substr(begin, end - begin);
        }
        begin = end + lineEnd.size();
    }
}

/// False when the line is not one that was written.
bool LogReader::take(std::string_view line) {
    if (!startsWithTime(line))
        return false;
    constexpr std::string_view tag = " [soak] [I] ";
    std::size_t const start = line.find(tag);
    if (start == std::string_view::npos)
        return line.find("] Rotating log files") != std::string_view::npos;
    std::string const message(line.substr(start + tag.size()));
    std::size_t worker = 0;
    std::size_t thread = 0;
    unsigned long long number = 0;
    if (std::sscanf(message.c_str(), "soak %zu/%zu/%llu ", &worker, &thread, &number) != 3 ||
        message != soakMessage(worker, thread, number))
        return false;
    ++m_found[{worker, thread}][number];
    return true;
}
