// Keeps what the HAL prints apart from what the program prints: libvorn_hal's own calls of printf, puts and the like,
// and what it writes to std::cout, go to a file of theirs. Done where the library's names are bound, since both print
// to the same standard output.
#ifndef VIRTUAL_ONU_HAL_PRINTS_H
#define VIRTUAL_ONU_HAL_PRINTS_H

namespace virtual_onu::halprints {

enum class Found { Linked, Loaded };  // with the program, or by it with dlopen

// Looks for a HAL among the loaded libraries that has not been dealt with yet.
void divert(Found found);

}  // namespace virtual_onu::halprints

#endif
