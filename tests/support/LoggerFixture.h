#pragma once

#include <tests/support/TemporaryDirectory.h>
#include <zun/logger/ILogger.h>

#include <gtest/gtest.h>

#include <string>
#include <vector>

/// The lines of a log file, without their CR LF. A last line that lacks it, and a bare line feed, fail the
/// test.
std::vector<std::string> readLogLines(std::string const& path);

/// A logger of its own for a test, started at level Info.
class LoggerFixture : public testing::Test {
protected:
    LoggerFixture() {
        orvane_com::zun::logger::ILogger::FreeLogger();
        logger().Start();
    }
    ~LoggerFixture() override { orvane_com::zun::logger::ILogger::FreeLogger(); }

    static orvane_com::zun::logger::ILogger& logger() {
        return *orvane_com::zun::logger::ILogger::GetLogger();
    }

    std::string path(std::string const& name) const { return directory.file(name); }
    bool attach(std::string const& name) { return logger().attach(directory.wideFile(name)); }
    std::vector<std::string> lines(std::string const& name) const { return readLogLines(path(name)); }

    TemporaryDirectory directory;
};
