#pragma once

#include <tests/support/ChildProcess.h>

#include <gtest/gtest.h>

#include <thread>
#include <vector>

/// Runs body(0), body(1), ... in a thread each, at once. Returns when all have ended.
template <typename Body>
void runInThreads(int count, Body const& body) {
    std::vector<std::thread> threads;
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&body, number] { body(number); });
    for (std::thread& thread : threads)
        thread.join();
}

/// The same in processes, each of which must return true.
template <typename Body>
void runInProcesses(int count, Body const& body) {
    std::vector<ChildProcess> processes;
    for (int number = 0; number < count; ++number)
        processes.emplace_back([&body, number] { return body(number); });
    for (ChildProcess& process : processes)
        EXPECT_TRUE(process.join());
}
