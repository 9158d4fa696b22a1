#pragma once

#include <tests/support/ChildProcess.h>
#include <tests/support/TemporaryDirectory.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <random>
#include <thread>
#include <unistd.h>

/// 200 times, kills a process that writes a file again and again, at a random moment after its first write:
/// `write(n)` is its n-th one, false when it fails, and n's parity decides what the file is then, one text or
/// another. After each kill it must be one of the two.
template <typename Write>
void killWriterAtRandomMoments(Write write, std::string const& file) {
    ASSERT_TRUE(write(1));
    std::string const odd = readFile(file);
    ASSERT_TRUE(write(0));
    std::string const even = readFile(file);
    ASSERT_NE(odd, even);
    constexpr int rounds = 200;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> microseconds(0, 4000);
    int written[2];
    ASSERT_EQ(pipe(written), 0);
    for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
        ChildProcess writer([&] {
            char const first = write(0) ? 'w' : 'f';
            if (::write(written[1], &first, 1) == 1)
                for (std::size_t count = 1; write(count);)
                    ++count;
            return false;
        });
        char first = 0;
        EXPECT_TRUE(read(written[0], &first, 1) == 1 && first == 'w');
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        EXPECT_TRUE(writer.kill()) << "it had ended before round " << round << " was over";
        std::string const left = readFile(file);
        EXPECT_TRUE(left == odd || left == even) << "after round " << round;
    }
    close(written[0]);
    close(written[1]);
}
