#include <fuzz/ScratchFile.h>
#include <zun/logger/LogReader.h>

#include <cstdlib>
#include <vector>

using orvane_com::zun::logger::LogReader;
using orvane_com::zun::logger::LogRecord;

namespace {

std::string shown(LogRecord const& record) {
    std::string text = std::to_string(static_cast<int>(record.kind)) + " " + std::to_string(record.process) +
                       " " + std::to_string(record.thread) + " " + std::string(record.time) + " " +
                       std::string(record.group);
    for (std::string_view const trace : record.trace)
        text.append(" ").append(trace);
    return text.append(" ").append(record.message).append(" ").append(record.text);
}

} // namespace

/// The input is a log. Whoever goes on after each record, with another reader at the place of the one before,
/// reads what one reader does.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static ScratchFile const file("log_reader_fuzz");
    std::string const input(reinterpret_cast<char const*>(data), size);
    file.write(input);
    LogReader(file.path()).goTo(input);
    std::vector<std::string> whole;
    LogReader reader(file.path());
    for (LogRecord record; reader.next(record);)
        whole.push_back(shown(record));
    std::string place;
    for (std::string const& expected : whole) {
        LogReader next(file.path());
        LogRecord record;
        if (!place.empty() && next.goTo(place) == LogReader::Return::malformed)
            std::abort();
        if (!next.next(record) || shown(record) != expected)
            std::abort();
        place = next.place();
    }
    return 0;
}
