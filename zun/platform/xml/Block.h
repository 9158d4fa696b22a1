#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace AdvXMLParser {

struct BlockFree {
    void operator()(std::byte* bytes) const { std::free(bytes); }
};

/// A piece of memory of its own.
using Block = std::unique_ptr<std::byte[], BlockFree>;

/// Not initialized. The memory of a large one comes from the system in large pages where it has such: taking
/// a document's memory page by page would cost more than parsing it.
Block allocateBlock(std::size_t bytes);

} // namespace AdvXMLParser
