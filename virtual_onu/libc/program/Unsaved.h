// Tells whoever started the program that its snapshot is behind the device: a page in the run's folder that all
// processes of the run share. So the tool can wait for the state before it hands on a signal that ends the program.
#ifndef VIRTUAL_ONU_UNSAVED_H
#define VIRTUAL_ONU_UNSAVED_H

namespace virtual_onu::unsaved {

// The page: the numbers of the processes that have unsaved changes, 0 for a free place, each a 32-bit word.
constexpr int kPlaces = 1024;

void begin();  // without a run's folder, or a page in it, the others do nothing
void mark();   // takes no lock
void clear();

}  // namespace virtual_onu::unsaved

#endif
