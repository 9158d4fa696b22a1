#include <zun/platform/helper/CommonHelper.h>

#include <chrono>
#include <ctime>

namespace orvane_com::zun::helper {

namespace {

using Milliseconds = std::chrono::sys_time<std::chrono::milliseconds>;

/// The stamp of one moment, of which the lines of its second share all but the last three digits.
struct Second {
    Milliseconds start{};
    std::size_t length = 0; // 0 before the first
    char text[32] = {};
};

char digit(long number) {
    return static_cast<char>('0' + number % 10);
}

void format(Second& second, Milliseconds now) {
    using std::chrono::floor;
    tzset(); // localtime_r(3) need not notice a changed time zone
    auto const start = floor<std::chrono::seconds>(now);
    std::time_t const time = std::chrono::system_clock::to_time_t(start);
    std::tm local{};
    localtime_r(&time, &local);
    second.length = std::strftime(second.text, sizeof(second.text), "%Y-%m-%d %H:%M:%S.000", &local);
    second.start = start;
}

} // namespace

void appendTimeStamp(std::string& text) {
    using namespace std::chrono;
    thread_local constinit Second second;
    auto const now = floor<milliseconds>(system_clock::now());
    if (second.length == 0 || now < second.start || now >= second.start + seconds(1))
        format(second, now);
    auto const thousandths = static_cast<long>((now - second.start).count());
    char* const fraction = second.text + second.length - 3;
    fraction[0] = digit(thousandths / 100);
    fraction[1] = digit(thousandths / 10);
    fraction[2] = digit(thousandths);
    text.append(second.text, second.length);
}

std::wstring timeStamp() {
    std::string text;
    appendTimeStamp(text);
    return {text.begin(), text.end()};
}

} // namespace orvane_com::zun::helper
