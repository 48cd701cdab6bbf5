// Which file a descriptor stands for, however many descriptors it has.
#ifndef VIRTUAL_ONU_FILE_IDENTITY_H
#define VIRTUAL_ONU_FILE_IDENTITY_H

#include <cstdint>
#include <string>

namespace virtual_onu {

struct FileIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    bool operator==(const FileIdentity& other) const { return device == other.device && inode == other.inode; }
    // Zeros when there is none; errno stays as it was.
    static FileIdentity of(int fd);
    static FileIdentity of(const std::string& path);
};

}  // namespace virtual_onu

#endif
