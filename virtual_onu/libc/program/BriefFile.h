// A file that is open for a moment inside of somebody else's program. A program that closes all descriptors may close
// this one too, and give its number to a file of its own: it is known again before each use, and is not touched then.
#ifndef VIRTUAL_ONU_BRIEF_FILE_H
#define VIRTUAL_ONU_BRIEF_FILE_H

#include <string>

#include "real_libc/FileIdentity.h"

namespace virtual_onu {

class BriefFile {
public:
    // flags as for open(); a file that is made has mode 0644. errno says why it is not open.
    BriefFile(const std::string& path, int flags);
    ~BriefFile();
    BriefFile(const BriefFile&) = delete;
    BriefFile& operator=(const BriefFile&) = delete;

    bool isOpen() const;
    bool lock() const;  // flock(), exclusive
    // False, with errno, when not all of it is in the file.
    bool write(const std::string& text) const;
    std::string read() const;  // all of it

private:
    int fd_ = -1;
    FileIdentity identity_;
};

}  // namespace virtual_onu

#endif
