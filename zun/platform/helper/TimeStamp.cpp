#include <zun/platform/helper/CommonHelper.h>

#include <chrono>
#include <ctime>

namespace orvane_com::zun::helper {

namespace {

/// The stamp of one moment, of which the lines of its second share all but the last three digits.
struct Second {
    std::time_t time = -1;
    std::size_t length = 0;
    char text[32];
};

char digit(long number) {
    return static_cast<char>('0' + number % 10);
}

void format(Second& second, std::time_t time) {
    tzset(); // localtime_r(3) need not notice a changed time zone
    std::tm local{};
    localtime_r(&time, &local);
    second.length = std::strftime(second.text, sizeof(second.text), "%Y-%m-%d %H:%M:%S.000", &local);
    second.time = time;
}

} // namespace

void appendTimeStamp(std::string& text) {
    using namespace std::chrono;
    thread_local Second second;
    auto const now = time_point_cast<milliseconds>(system_clock::now());
    auto const whole = floor<seconds>(now);
    if (std::time_t const time = system_clock::to_time_t(whole); time != second.time)
        format(second, time);
    auto const thousandths = static_cast<long>((now - whole).count());
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
