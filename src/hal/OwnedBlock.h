// Memory from the C library's allocator with one owner.
#ifndef HAL_OWNED_BLOCK_H
#define HAL_OWNED_BLOCK_H

#include <cstdlib>
#include <memory>

struct FreeBlock {
    void operator()(void* block) const { std::free(block); }
};
template <typename T>
using OwnedBlock = std::unique_ptr<T, FreeBlock>;

#endif
