// Which descriptors of the process stand for something of the device. Looked at on every interposed call, so without a
// lock or an allocation, and before any start-up code has run.
#ifndef VIRTUAL_ONU_DESCRIPTORS_H
#define VIRTUAL_ONU_DESCRIPTORS_H

#include <string>
#include <vector>

namespace virtual_onu::persistence {
class Section;
}

namespace virtual_onu::descriptors {

enum class Kind : unsigned char { NotOurs, File, Attribute, Directory, Laser, Stack, PacketSocket };

// Believes the table only while the number stands for the same file. NotOurs for all numbers in a child of vfork(),
// whose descriptors are not the table's.
Kind kindOf(int fd);
// Takes the descriptor over; path is what it was opened as, of a directory the folder that stands in for it. Closes it
// and answers -EMFILE when it is too large.
int adopt(int fd, Kind kind, const std::string& path);
std::string pathOf(int fd);
void forget(int fd);                                      // it is closed, or about to be
std::vector<int> between(unsigned first, unsigned last);  // ours, both ends included
// Files and character devices, not sockets; also those of other processes of a run that share what they have seen.
int openCount();
const persistence::Section* section();  // of a board that is kept: the count of each process

}  // namespace virtual_onu::descriptors

#endif
