// Tells whoever started the program that its snapshot is behind the device: a page in the run's folder that all
// processes of the run share. So the tool can wait for the state before it hands on a signal that ends the program.
#ifndef VIRTUAL_ONU_UNSAVED_H
#define VIRTUAL_ONU_UNSAVED_H

#include <cstdint>

namespace virtual_onu::unsaved {

// The page: slots of two 32-bit words, the number of a process that has unsaved changes (0 for a free slot) and how
// often it has written its snapshot since. A program that never rests always has changes: of two writes the second one
// holds all that there was when the first one ended.
constexpr int kMaxProcesses = 1024;
struct ProcessSlot {
    std::int32_t process;
    std::uint32_t written;
};

void begin();  // without a run's folder, or a page in it, the others do nothing
void mark();   // takes no lock
void clear();
void written();  // a snapshot is in place, but not with all changes

}  // namespace virtual_onu::unsaved

#endif
