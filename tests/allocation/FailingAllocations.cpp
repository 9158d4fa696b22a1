#include <tests/allocation/FailingAllocations.h>
#include <tests/support/Allocations.h>
#include <tests/support/OpenDescriptors.h>
#include <zun/linux/log.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <new>

using Extent = AllocationFailure::Extent;

void failEachAllocation(std::function<bool()> const& run, std::function<void(bool done)> const& check,
                        std::function<void()> const& prepare) {
    for (Extent const extent : {Extent::one, Extent::allFromThere}) {
        long failures = 0;
        bool failed = true;
        for (long number = 1; failed && !testing::Test::HasFailure(); ++number) {
            SCOPED_TRACE("allocation " + std::to_string(number) +
                         (extent == Extent::one ? "" : " and all later ones"));
            prepare();
            int const before = openDescriptors();
            bool done = false;
            {
                AllocationFailure const failure(number, extent);
                try {
                    done = run();
                } catch (std::bad_alloc const&) {
                }
            }
            failed = AllocationFailure::happened();
            failures += failed ? 1 : 0;
            EXPECT_TRUE(failed || done);
            check(done);
            EXPECT_EQ(openDescriptors(), before);
            EXPECT_TRUE(run()) << "without a failure";
        }
        EXPECT_GT(failures, 0);
    }
}

void AllocationTest::failEach(std::function<bool()> const& run, std::function<void(bool done)> const& check,
                              std::function<void()> const& prepare) {
    auto const checkLog = [&](bool done) {
        check(done);
        log.takeLines();
        logError(L"Test", L"next");
        EXPECT_THAT(log.takeLines(), testing::ElementsAre("[Test] [E] Error trace:", "[Test] [E]   next"));
    };
    failEachAllocation(run, checkLog, prepare);
}

std::ptrdiff_t AllocationTest::countFiles() const {
    return std::distance(std::filesystem::directory_iterator(directory.path()), {});
}
