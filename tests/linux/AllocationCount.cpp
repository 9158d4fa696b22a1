#include <tests/linux/AllocationCount.h>

#include <cstdlib>
#include <new>

namespace {

thread_local long count = 0;

} // namespace

long allocationCount() {
    return count;
}

void* operator new(std::size_t size) {
    ++count;
    if (void* const room = std::malloc(size))
        return room;
    throw std::bad_alloc();
}

void operator delete(void* room) noexcept {
    std::free(room);
}

void operator delete(void* room, std::size_t) noexcept {
    std::free(room);
}
