#pragma once

#include <tests/support/LogCapture.h>
#include <tests/support/TemporaryDirectory.h>
#include <zun/text/AString.h>

#include <gtest/gtest.h>

#include <functional>

/// Runs an operation again and again: its first allocation fails, then its second, and so on until it runs
/// through; then the same with all later allocations failing too.
///
/// `run` returns whether the work was done; a std::bad_alloc says that it was not. `check` is told which, and
/// may expect of the state what it will. Then as many descriptors must be open as after `prepare`, which
/// comes before each failing run, and `run` must do the work.
void failEachAllocation(
    std::function<bool()> const& run, std::function<void(bool done)> const& check = [](bool) {},
    std::function<void()> const& prepare = [] {});

/// With the log open at level Debug.
class AllocationTest : public testing::Test {
protected:
    /// failEachAllocation; in addition, no trace is left open and the log's next line is not lost.
    void failEach(
        std::function<bool()> const& run, std::function<void(bool done)> const& check = [](bool) {},
        std::function<void()> const& prepare = [] {});

    AString path(std::string const& name) const { return directory.wideFile(name); }
    std::string contents(std::string const& name) const { return readFile(directory.file(name)); }
    void write(std::string const& name, std::string const& bytes) const {
        writeFile(directory.file(name), bytes);
    }
    std::ptrdiff_t countFiles() const;

    TemporaryDirectory directory;
    LogCapture log;
};
