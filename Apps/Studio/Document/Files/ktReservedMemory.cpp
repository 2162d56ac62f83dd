// SPDX-License-Identifier: LGPL-2.1-or-later
// Touches memory ahead and gives it to the heap.
#include "ktReservedMemory.h"

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <vector>

namespace {

constexpr std::size_t reserved = 16 << 20, blockSize = 1 << 20, pageSize = 4096;

struct Free {
    void operator()(char* memory) const { std::free(memory); }
};
using Block = std::unique_ptr<char, Free>;

/// Memory whose pages were touched; null if there is none.
Block touch(std::size_t size, std::size_t step) {
    Block block(static_cast<char*>(std::malloc(size)));
    volatile char* const bytes = block.get(); // the compiler cannot leave it out
    for (std::size_t place = 0; bytes && place < size; place += step)
        bytes[place] = 0;
    return block;
}

} // namespace

void ktReserveMemory() {
    // The C library returns large blocks to the system. After a block of this size it keeps smaller ones, and as much
    // as twice the size at the end of the heap.
    touch(reserved, reserved);
    std::vector<Block> blocks;
    for (std::size_t size = 0; size < reserved; size += blockSize)
        blocks.push_back(touch(blockSize, pageSize));
}
