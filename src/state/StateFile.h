// The state file: a header, then records, each with a checksum, each appended by one write.
//
//   header   8 bytes "VORNHAL\n", version (32 bits), boot id (36 characters), 12 bytes 0, checksum of all that
//   record   length of the content (32 bits), kind (8 bits), check of these five bytes (24 bits), content,
//            checksum of all that
//
// Numbers are little-endian. A file of which not even the header is whole is one that was being made; a last record of
// which something is missing is one that was being written. A file is made smaller beside its place and moved there.
//
// The file belongs to the process that holds its lock while its name means it: whoever has the lock of a file that has
// been moved away or replaced meanwhile has lost it. The lock is one of a process (fcntl), which a forked one has not,
// cannot give up, and may take when the first has ended.
//
// A file whose beginning is "VORNGONE" has been given up by a process that could not take it away: it counts as empty.
#ifndef STATE_STATE_FILE_H
#define STATE_STATE_FILE_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "state/Bytes.h"
#include "state/MappedHeader.h"
#include "state/SafePath.h"

namespace state {

enum class RecordKind : std::uint8_t {
    Intent = 1,  // what came of the intent before, and what the kit is about to be asked for
    Commit = 2,  // changes of entries: what was intended before it is settled
};

struct Record {
    RecordKind kind;
    std::string content;
};

constexpr std::size_t kMaxRecordSize = 1 << 20;  // of the content

class StateFile {
public:
    // Opens the file, or makes it, and locks it against other processes. The records of a file of this boot are added
    // to *records. False with the reason in *problem: it is open in another process, broken, of another version or of
    // another boot, or its place is not safe; nothing has been changed then.
    bool open(const std::string& path, const std::string& bootId, std::vector<Record>* records, std::string* problem);

    // Appends one record by one write. False when the file system refuses, or when the file is not to be had any more:
    // what is in it is as before.
    bool append(RecordKind kind, std::string_view content);

    // Puts a file with just these records into its place. False with the reason in *problem when the file system
    // refuses; the old one stays. Never moved over a file of somebody else's.
    bool replace(const std::vector<Record>& records, std::string* problem);

    // Takes the file away, or what it holds: it no longer tells the truth. Nothing when it is another process's.
    void discard();

    // Whether the lock is had and the name still means the file. Opens it again for a daemon that has closed all
    // descriptors.
    bool isHad();
    // Whether the name still means the file.
    bool isInPlace() const;
    std::size_t size() const { return size_; }

private:
    std::string header() const;
    bool openLocked(std::string* problem);
    bool begin(std::string* problem);
    bool readAll(std::vector<Record>* records, std::string* problem);
    bool isHeld() const;
    bool regain();
    bool lockAsFollower() const;
    bool takePlace(const std::string& beside, std::string* problem);

    std::string path_;
    Descriptor directory_;
    Descriptor file_;
    MappedHeader mapped_;      // of the file
    pid_t owner_ = -1;         // the process that has the lock
    bool isAnothers_ = false;  // another process has it
    std::string name_;
    std::string bootId_;
    ByteWriter record_;  // the one that is being written; its room is used again
    std::size_t size_ = 0;
};

}  // namespace state

#endif
