#include <zun/logger/ComponentNames.h>
#include <zun/logger/LogLine.h>
#include <zun/logger/MessageResource.h>
#include <zun/platform/helper/CommonHelper.h>

#include <atomic>
#include <cstdio>
#include <iterator>
#include <pthread.h>
#include <unistd.h>
#include <vector>

namespace orvane_com::zun::logger {

namespace {

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

/// What a thread's lines have behind their time: " [process]  (thread) ".
struct Origin {
    pid_t process = 0;
    int processEnd = 0;
    int end = 0;
    char text[64] = {};
};

void format(Origin& origin, pid_t process) {
    origin.process = process;
    origin.processEnd = std::snprintf(origin.text, sizeof origin.text, " [%ld] ", static_cast<long>(process));
    // A thread's handle is an integer on one system and a pointer on the other.
    origin.end =
        origin.processEnd + std::snprintf(origin.text + origin.processEnd,
                                          sizeof origin.text - static_cast<std::size_t>(origin.processEnd),
                                          " (%lu) ", (unsigned long)pthread_self());
}

/// The calling thread's, kept until the process forks.
Origin const& threadOrigin() {
    thread_local constinit Origin origin;
    if (pid_t const current = process(); current != origin.process)
        format(origin, current);
    return origin;
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

std::wstring_view componentName(eComponent component) {
    bool const isKnown = component >= Framework && component <= ListenServer;
    return componentNames[static_cast<std::size_t>(isKnown ? component : Agent)];
}

void LogLine::begin() {
    clear();
    helper::appendTimeStamp(m_text);
    Origin const& origin = threadOrigin();
    m_text.append(origin.text, static_cast<std::size_t>(origin.end));
}

void LogLine::addText(std::wstring_view text) {
    helper::appendNarrow(m_text, text);
}

void LogLine::addGroupMessage(LogLevel level, std::wstring_view group,
                              std::initializer_list<std::wstring_view> message) {
    padSource(group.size() + std::size("[]") - 1);
    m_text += '[';
    addText(group);
    m_text += ']';
    addLevel(level);
    for (std::wstring_view const piece : message)
        addText(piece);
}

void LogLine::addCatalogMessage(LogLevel level, eComponent component, long id, MultiArgs const& arguments) {
    std::wstring_view const name = componentName(component);
    padSource(name.size() + std::size(" [] ") - 1);
    m_text += " [";
    addText(name);
    m_text += "] ";
    addLevel(level);
    std::wstring text;
    MessageResource(id).getRawMessage(text);
    fillPlaces(text, arguments.get());
    addText(text);
}

void LogLine::setRotationNote() {
    clear();
    helper::appendTimeStamp(m_text);
    Origin const& origin = threadOrigin();
    m_text.append(origin.text, static_cast<std::size_t>(origin.processEnd)).append("Rotating log files");
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

/// What is to follow stands at the right of the line's source field.
void LogLine::padSource(std::size_t length) {
    constexpr std::size_t width = 12;
    if (length < width)
        m_text.append(width - length, ' ');
}

void LogLine::addLevel(LogLevel level) {
    char const tag[] = {' ', '[', levelLetter(level), ']', ' '};
    m_text.append(tag, sizeof tag);
}

} // namespace orvane_com::zun::logger
