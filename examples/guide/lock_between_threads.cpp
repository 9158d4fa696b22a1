#include <zun/lock/CReadWriteSync.h>

#include <iostream>
#include <map>
#include <string>
#include <thread>

class Counters {
public:
    void count(std::wstring const& event) {
        CReadWriteSyncAuto guard(m_sync);
        guard.WriteLock();
        ++m_counts[event];
    }
    int of(std::wstring const& event) const {
        CReadWriteSyncAuto guard(m_sync);
        guard.ReadLock(); // many readers at a time
        auto const found = m_counts.find(event);
        return found == m_counts.end() ? 0 : found->second;
    }

private:
    mutable CReadWriteSync m_sync;
    std::map<std::wstring, int> m_counts;
};

int main() {
    Counters counters;
    auto const countHundred = [&counters] {
        for (int number = 1; number <= 100; ++number)
            counters.count(L"poll");
    };
    std::thread first(countHundred);
    std::thread second(countHundred);
    first.join();
    second.join();
    std::cout << counters.of(L"poll") << ' ' << counters.of(L"none") << '\n';
    return 0;
}
