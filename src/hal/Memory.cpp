#include "hal/Memory.h"

#include <cstdio>
#include <cstdlib>

void* omci_malloc(int size) {
    if (size <= 0) {
        std::printf("size is less than 0");
        return nullptr;
    }
    void* const block = std::calloc(1, static_cast<std::size_t>(size));
    if (block == nullptr) std::printf("failed !!! size %d", size);
    return block;
}

void omci_free(void** block) {
    if (block == nullptr || *block == nullptr) {
        std::printf("can't free null point");
        return;
    }
    std::free(*block);
    *block = nullptr;
}
