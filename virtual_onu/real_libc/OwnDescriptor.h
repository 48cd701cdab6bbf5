// Descriptors of the virtual ONU's own inside of somebody else's program.
#ifndef VIRTUAL_ONU_OWN_DESCRIPTOR_H
#define VIRTUAL_ONU_OWN_DESCRIPTOR_H

#include <string>

namespace virtual_onu {

// The same file under a number that programs do not come to by themselves; closes the other one. As it was where there
// is no room for that.
int raised(int fd);

// Which table of descriptors this thread has: 0 is the program's. A thread that has made a table of its own
// (CLOSE_RANGE_UNSHARE) says so: the same number is another file there, or none.
unsigned descriptorTable();
void hasOwnDescriptorTable();

// All of the text, as far as there is room; errno stays as it was.
bool writeAll(int fd, const std::string& text);

}  // namespace virtual_onu

#endif
