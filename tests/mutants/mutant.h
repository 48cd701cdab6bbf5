// Included in front of every source of the build with mutants (-include): which fault is in force, which are reached.
//   VORN_MUTANT=7              the seventh fault; none without it
//   VORN_MUTANTS_REACHED=FILE  a byte for each fault, set when a process comes by; FILE is large enough already
// Plain system calls: the C library's functions may be the virtual ONU's.
#pragma once
#include <fcntl.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

struct VornMutants {
    int chosen;
    unsigned char* reached;
};
inline VornMutants vornMutants;

__attribute__((constructor(101), used)) static void startVornMutants() {
    const char* chosen = getenv("VORN_MUTANT");
    vornMutants.chosen = chosen != nullptr ? atoi(chosen) : 0;
    const char* file = getenv("VORN_MUTANTS_REACHED");
    if (file == nullptr || vornMutants.reached != nullptr) return;
    const long descriptor = syscall(SYS_openat, AT_FDCWD, file, O_RDWR | O_CLOEXEC);
    if (descriptor < 0) return;
    const long size = syscall(SYS_lseek, descriptor, 0L, SEEK_END);
    const long address = syscall(SYS_mmap, 0L, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0L);
    if (address > 0 || address < -4095) vornMutants.reached = reinterpret_cast<unsigned char*>(address);
    syscall(SYS_close, descriptor);
}

inline bool vornMutant(int number) {
    if (vornMutants.reached != nullptr) vornMutants.reached[number] = 1;
    return number == vornMutants.chosen;
}
