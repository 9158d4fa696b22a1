#include <zun/logger/ComponentNames.h>
#include <zun/logger/LogLine.h>
#include <zun/logger/MessageResource.h>
#include <zun/platform/helper/CommonHelper.h>

#include <atomic>
#include <charconv>
#include <iterator>
#include <limits>
#include <pthread.h>
#include <unistd.h>
#include <vector>

namespace orvane_com::zun::logger {

namespace {

template <typename Number>
void appendDecimal(std::string& line, Number number) {
    char room[std::numeric_limits<Number>::digits10 + 2];
    line.append(room, std::to_chars(std::begin(room), std::end(room), number).ptr);
}

/// 0 where it is not known. Kept because asking the system for it takes as long as building a line.
std::atomic<pid_t> knownProcess{0};

void forgetProcess() {
    knownProcess = 0;
}

/// A process made by fork(2) has its own number.
int const forkHandler = pthread_atfork(nullptr, nullptr, forgetProcess);

pid_t process() {
    pid_t number = knownProcess.load(std::memory_order_relaxed);
    if (number == 0) {
        number = getpid();
        if (forkHandler == 0)
            knownProcess.store(number, std::memory_order_relaxed);
    }
    return number;
}

/// A thread's handle is an integer on one system and a pointer on the other.
unsigned long threadNumber() {
    return (unsigned long)pthread_self();
}

/// Fills the text's argument places. An argument goes in front of the first place, then the first place of
/// the new text is taken out: one that stands in the argument itself goes first.
void fillPlaces(std::wstring& text, std::vector<std::wstring> const& arguments) {
    constexpr std::wstring_view place = L"%s";
    for (std::wstring const& argument : arguments) {
        std::size_t const position = text.find(place);
        if (position == std::wstring::npos)
            return;
        text.insert(position, argument);
        text.erase(text.find(place), place.size());
    }
}

} // namespace

void LogLine::begin() {
    clear();
    addTimeAndProcess();
    m_text += " (";
    appendDecimal(m_text, threadNumber());
    m_text += ") ";
}

void LogLine::addText(std::wstring_view text) {
    helper::appendNarrow(m_text, text);
}

void LogLine::addGroupMessage(LogLevel level, std::wstring_view group,
                              std::initializer_list<std::wstring_view> message) {
    addSource({L"[", group, L"]"});
    addText(levelTag(level));
    for (std::wstring_view const piece : message)
        addText(piece);
}

void LogLine::addCatalogMessage(LogLevel level, eComponent component, long id, MultiArgs const& arguments) {
    addSource({L" [", componentName(component), L"] "});
    addText(levelTag(level));
    std::wstring text;
    MessageResource(id).getRawMessage(text);
    fillPlaces(text, arguments.get());
    addText(text);
}

void LogLine::setRotationNote() {
    clear();
    addTimeAndProcess();
    m_text += "Rotating log files";
    end();
}

void LogLine::end() {
    m_text += "\r\n";
}

/// Keeps the room for the next line, short of what a rare giant took.
void LogLine::clear() {
    constexpr std::size_t kept = 64 * 1024;
    if (m_text.capacity() > kept)
        std::string().swap(m_text); // an assignment would keep the room
    m_text.clear();
}

void LogLine::addTimeAndProcess() {
    helper::appendTimeStamp(m_text);
    m_text += " [";
    appendDecimal(m_text, process());
    m_text += "] ";
}

/// Right-aligned in the width of the line's source field.
void LogLine::addSource(std::initializer_list<std::wstring_view> pieces) {
    constexpr std::size_t width = 12;
    std::size_t length = 0;
    for (std::wstring_view const piece : pieces)
        length += piece.size();
    if (length < width)
        m_text.append(width - length, ' ');
    for (std::wstring_view const piece : pieces)
        addText(piece);
}

} // namespace orvane_com::zun::logger
