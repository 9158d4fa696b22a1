#include <zun/platform/xml/Block.h>

#include <new>
#include <sys/mman.h>

namespace AdvXMLParser {

namespace {

constexpr std::size_t largePage = 2 * 1024 * 1024;

void preferLargePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t bytes) {
#if defined(__linux__) && !defined(ZUN_PORTABLE_BODIES)
    madvise(memory, bytes, MADV_HUGEPAGE);
#else
    // The system has no such advice.
#endif
}

} // namespace

Block allocateBlock(std::size_t bytes) {
    bool const isLarge = bytes >= largePage;
    if (isLarge)
        bytes = (bytes + largePage - 1) / largePage * largePage;
    Block block(static_cast<std::byte*>(isLarge ? std::aligned_alloc(largePage, bytes) : std::malloc(bytes)));
    if (!block)
        throw std::bad_alloc();
    if (isLarge)
        preferLargePages(block.get(), bytes);
    return block;
}

} // namespace AdvXMLParser
