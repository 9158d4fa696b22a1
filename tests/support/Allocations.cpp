#include <tests/support/Allocations.h>

#include <algorithm>
#include <cerrno>
#include <dlfcn.h>
#include <glob.h>
#include <new>
#include <utility>

#ifdef __has_feature
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ZUN_SANITIZED
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ZUN_SANITIZED
#endif
#if defined(__GLIBC__) && !defined(ZUN_SANITIZED)
#define ZUN_REPLACES_MALLOC
#endif

namespace {

thread_local constinit long count = 0;
thread_local constinit std::size_t bytes = 0;
thread_local constinit long alive = 0;

/// Until the next failure; 0 when none is to come.
thread_local constinit long remaining = 0;
thread_local constinit auto failureExtent = AllocationFailure::Extent::one;
thread_local constinit bool hasFailed = false;

bool isRefused() {
    if (remaining == 0 || --remaining > 0)
        return false;
    if (failureExtent == AllocationFailure::Extent::allFromThere)
        remaining = 1;
    hasFailed = true;
    errno = ENOMEM;
    return true;
}

void* allocate(std::size_t size) noexcept {
    ++count;
    bytes += size;
#ifndef ZUN_REPLACES_MALLOC // which refuses by itself
    if (isRefused())
        return nullptr;
#endif
    void* const room = std::malloc(std::max<std::size_t>(size, 1));
    alive += room != nullptr ? 1 : 0;
    return room;
}

void* allocateAligned(std::size_t size, std::size_t alignment) noexcept {
    ++count;
    bytes += size;
    void* room = nullptr;
    if (isRefused() || posix_memalign(&room, alignment, size) != 0)
        return nullptr;
    ++alive;
    return room;
}

void* orThrow(void* room) {
    if (!room)
        throw std::bad_alloc();
    return room;
}

void release(void* room) noexcept {
    alive -= room != nullptr ? 1 : 0;
    std::free(room);
}

} // namespace

long allocationCount() {
    return count;
}

std::size_t allocatedBytes() {
    return bytes;
}

long allocationsAlive() {
    return alive;
}

AllocationFailure::AllocationFailure(long number, Extent extent) {
    failureExtent = extent;
    hasFailed = false;
    remaining = number;
}

AllocationFailure::~AllocationFailure() {
    remaining = 0;
}

bool AllocationFailure::happened() {
    return hasFailed;
}

#ifdef ZUN_REPLACES_MALLOC
#define ZUN_REPLACEMENT extern "C" __attribute__((visibility("default")))

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t items, std::size_t size);
extern "C" void* __libc_realloc(void* room, std::size_t size);

ZUN_REPLACEMENT void* malloc(std::size_t size) {
    return isRefused() ? nullptr : __libc_malloc(size);
}

ZUN_REPLACEMENT void* calloc(std::size_t items, std::size_t size) {
    return isRefused() ? nullptr : __libc_calloc(items, size);
}

ZUN_REPLACEMENT void* realloc(void* room, std::size_t size) {
    return isRefused() ? nullptr : __libc_realloc(room, size);
}

/// One allocation to the outside: within, glibc's own (2.36) frees names twice when an allocation fails.
ZUN_REPLACEMENT int glob(char const* pattern, int flags, int (*onError)(char const*, int), glob_t* matches) {
    if (isRefused())
        return GLOB_NOSPACE;
    long const suspended = std::exchange(remaining, 0);
    static auto const systemGlob = reinterpret_cast<decltype(&glob)>(dlsym(RTLD_NEXT, "glob"));
    int const result = systemGlob(pattern, flags, onError, matches);
    remaining = suspended;
    return result;
}
#endif

void* operator new(std::size_t size) {
    return orThrow(allocate(size));
}
void* operator new[](std::size_t size) {
    return orThrow(allocate(size));
}
void* operator new(std::size_t size, std::nothrow_t const&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept {
    return allocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return orThrow(allocateAligned(size, static_cast<std::size_t>(alignment)));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return orThrow(allocateAligned(size, static_cast<std::size_t>(alignment)));
}

void operator delete(void* room) noexcept {
    release(room);
}
void operator delete[](void* room) noexcept {
    release(room);
}
void operator delete(void* room, std::size_t) noexcept {
    release(room);
}
void operator delete[](void* room, std::size_t) noexcept {
    release(room);
}
void operator delete(void* room, std::nothrow_t const&) noexcept {
    release(room);
}
void operator delete[](void* room, std::nothrow_t const&) noexcept {
    release(room);
}
void operator delete(void* room, std::align_val_t) noexcept {
    release(room);
}
void operator delete[](void* room, std::align_val_t) noexcept {
    release(room);
}
void operator delete(void* room, std::size_t, std::align_val_t) noexcept {
    release(room);
}
void operator delete[](void* room, std::size_t, std::align_val_t) noexcept {
    release(room);
}
