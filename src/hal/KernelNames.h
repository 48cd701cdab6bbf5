// Which texts the kernel takes as the name of a network device.
#ifndef HAL_KERNEL_NAMES_H
#define HAL_KERNEL_NAMES_H

#include <net/if.h>

#include <cstddef>
#include <cstring>

// False for null. '%' would make the kernel number the name; the rest it refuses itself, but not before a path was
// formed with it.
inline bool isDeviceName(const char* name) {
    if (name == nullptr || name[0] == '\0') return false;
    if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0) return false;
    const std::size_t length = strnlen(name, IFNAMSIZ);
    return length < IFNAMSIZ && std::strcspn(name, "/:% \t\n\v\f\r") == length;
}

#endif
