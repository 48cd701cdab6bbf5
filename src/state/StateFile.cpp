#include "state/StateFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "state/Bytes.h"
#include "state/Checksum.h"

namespace state {

namespace {

constexpr std::string_view kMagic = "VORNHAL\n";
constexpr std::string_view kGivenUp = "VORNGONE";  // in its place
constexpr std::uint32_t kVersion = 2;
constexpr std::size_t kBootIdSize = 36;
constexpr std::size_t kHeaderPadding = 12;
constexpr std::size_t kChecksumSize = 4;
constexpr std::size_t kHeaderSize = kMagic.size() + 4 + kBootIdSize + kHeaderPadding + kChecksumSize;
constexpr std::size_t kRecordHeadSize = 8;
constexpr std::size_t kMaxFileSize = 8 << 20;

constexpr const char* kBroken = "has a broken record";
constexpr const char* kLost = "is no longer in its place";

// Each means that another process has come between two steps.
constexpr int kAttempts = 16;

// A daemon that detaches goes on in a forked process, and the one before ends within moments.
constexpr int kMaxWaits = 100;
constexpr timespec kWait = {0, 10'000'000};

// Length, kind and their check.
void addHead(ByteWriter& record, std::size_t length, std::uint8_t kind) {
    const std::size_t begin = record.bytes().size();
    record.add(static_cast<std::uint32_t>(length)).add(kind);
    const std::uint32_t check = checksum(record.bytes().substr(begin));
    record.add(static_cast<std::uint16_t>(check)).add(static_cast<std::uint8_t>(check >> 16));
}

void addFramed(ByteWriter& bytes, RecordKind kind, std::string_view content) {
    const std::size_t begin = bytes.bytes().size();
    addHead(bytes, content.size(), static_cast<std::uint8_t>(kind));
    bytes.addRaw(content);
    bytes.add(checksum(bytes.bytes().substr(begin)));
}

bool isKind(std::uint8_t kind) {
    return kind >= static_cast<std::uint8_t>(RecordKind::Intent) &&
           kind <= static_cast<std::uint8_t>(RecordKind::Commit);
}

bool readWhole(int fd, std::string* bytes, std::string* problem) {
    struct stat facts = {};
    if (fstat(fd, &facts) != 0 || lseek(fd, 0, SEEK_SET) != 0) {
        *problem = std::strerror(errno);
        return false;
    }
    if (facts.st_size < 0 || static_cast<std::size_t>(facts.st_size) > kMaxFileSize) {
        *problem = "is too large";
        return false;
    }
    bytes->resize(static_cast<std::size_t>(facts.st_size));
    std::size_t have = 0;
    while (have < bytes->size()) {
        const ssize_t got = read(fd, bytes->data() + have, bytes->size() - have);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        have += static_cast<std::size_t>(got);
    }
    bytes->resize(have);
    return true;
}

// Whether all of it was written; if not, errno says why.
bool write(int fd, std::size_t at, std::string_view bytes) {
    ssize_t written = -1;
    do {
        written = pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(at));
    } while (written < 0 && errno == EINTR);
    if (written >= 0 && written != static_cast<ssize_t>(bytes.size())) errno = ENOSPC;
    return written == static_cast<ssize_t>(bytes.size());
}

struct flock wholeFile() {
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

bool lockFile(int fd) {
    struct flock lock = wholeFile();
    return fcntl(fd, F_SETLK, &lock) == 0;
}

// Of another process; -1 when there is none.
pid_t lockHolder(int fd) {
    struct flock lock = wholeFile();
    return fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK ? lock.l_pid : -1;
}

enum class Parsed { Record, End, Torn, Broken };

// Takes the next record from the front of *rest.
Parsed takeRecord(std::string_view* rest, std::vector<Record>* records) {
    if (rest->empty()) return Parsed::End;
    if (rest->size() < kRecordHeadSize) return Parsed::Torn;
    ByteReader head(rest->substr(0, kRecordHeadSize));
    const std::size_t length = head.u32();
    const std::uint8_t kind = head.u8();
    ByteWriter expected;
    addHead(expected, length, kind);
    if (expected.bytes() != rest->substr(0, kRecordHeadSize) || length > kMaxRecordSize || !isKind(kind))
        return Parsed::Broken;
    const std::size_t summed = kRecordHeadSize + length;
    if (rest->size() < summed + kChecksumSize) return Parsed::Torn;
    if (ByteReader(rest->substr(summed)).u32() != checksum(rest->substr(0, summed))) return Parsed::Broken;
    records->push_back({static_cast<RecordKind>(kind), std::string(rest->substr(kRecordHeadSize, length))});
    rest->remove_prefix(summed + kChecksumSize);
    return Parsed::Record;
}

}  // namespace

std::string StateFile::header() const {
    ByteWriter bytes;
    std::string boot = bootId_;
    boot.resize(kBootIdSize, ' ');
    bytes.addRaw(kMagic).add(kVersion).addRaw(boot).addRaw(std::string(kHeaderPadding, '\0'));
    bytes.add(checksum(bytes.bytes()));
    return bytes.take();
}

bool StateFile::open(const std::string& path, const std::string& bootId, std::vector<Record>* records,
                     std::string* problem) {
    path_ = path;
    bootId_ = bootId;
    directory_ = openDirectoryOf(path, &name_, problem);
    if (!directory_.open() || !openLocked(problem) || !readAll(records, problem)) return false;
    mapped_.map(file_.get(), kHeaderSize);
    return true;
}

// The file that has the name once its lock is had. Of processes that make it at once one makes it; of those that open
// it one gets the lock; and who was delayed before it got the lock of a file that has been replaced begins again.
bool StateFile::openLocked(std::string* problem) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        Descriptor file = openOwnFile(directory_.get(), name_, problem);
        if (!file.open() && problem->empty()) file = makeOwnFile(directory_.get(), name_, problem);
        if (!problem->empty()) return false;
        if (!file.open()) continue;
        if (!lockFile(file.get())) {
            const bool isHeldByAnother = errno == EACCES || errno == EAGAIN;
            *problem = isHeldByAnother ? "is in use by another process" : std::strerror(errno);
            return false;
        }
        if (!isNamed(directory_.get(), name_, file.id())) continue;
        file_ = std::move(file);
        owner_ = getpid();
        return true;
    }
    *problem = "is replaced again and again";
    return false;
}

// A file with nothing but the header.
bool StateFile::begin(std::string* problem) {
    if (ftruncate(file_.get(), 0) == 0 && write(file_.get(), 0, header())) {
        size_ = kHeaderSize;
        return true;
    }
    *problem = std::strerror(errno);
    unlinkat(directory_.get(), name_.c_str(), 0);
    return false;
}

bool StateFile::readAll(std::vector<Record>* records, std::string* problem) {
    std::string bytes;
    if (!readWhole(file_.get(), &bytes, problem)) return false;
    const std::string_view whole(bytes);
    const bool isBeingMade = whole.size() < kHeaderSize && header().compare(0, whole.size(), whole) == 0;
    if (isBeingMade || whole.substr(0, kGivenUp.size()) == kGivenUp) return begin(problem);
    if (whole.size() < kHeaderSize || whole.substr(0, kMagic.size()) != kMagic) {
        *problem = "is no state file";
        return false;
    }
    const std::size_t summed = kHeaderSize - kChecksumSize;
    if (ByteReader(whole.substr(summed)).u32() != checksum(whole.substr(0, summed))) {
        *problem = "has a broken header";
        return false;
    }
    ByteReader fields(whole.substr(kMagic.size()));
    if (const std::uint32_t version = fields.u32(); version != kVersion) {
        *problem = "is of version " + std::to_string(version) + ", not " + std::to_string(kVersion);
        return false;
    }
    if (whole.substr(0, kHeaderSize) != header()) {
        *problem = "is of another boot";
        return false;
    }

    std::string_view rest = whole.substr(kHeaderSize);
    std::vector<Record> read;
    Parsed parsed = Parsed::Record;
    while (parsed == Parsed::Record) parsed = takeRecord(&rest, &read);
    if (parsed == Parsed::Broken) {
        *problem = kBroken;
        return false;
    }
    size_ = bytes.size() - rest.size();
    // A record that was being written is taken away, so that the next one follows a whole one.
    if (!rest.empty() && ftruncate(file_.get(), static_cast<off_t>(size_)) != 0) {
        *problem = std::strerror(errno);
        return false;
    }
    records->insert(records->end(), std::make_move_iterator(read.begin()), std::make_move_iterator(read.end()));
    return true;
}

bool StateFile::append(RecordKind kind, std::string_view content) {
    if (!isHeld() && !regain()) return false;
    record_.clear();
    addFramed(record_, kind, content);
    if (size_ + record_.bytes().size() > kMaxFileSize) return false;  // nobody could read it
    if (!write(file_.get(), size_, record_.bytes())) {
        [[maybe_unused]] const int status = ftruncate(file_.get(), static_cast<off_t>(size_));
        return false;
    }
    size_ += record_.bytes().size();
    return true;
}

bool StateFile::isHeld() const {
    return owner_ == getpid() && file_.isOurs();
}

// The daemon has closed the descriptors, and with them the lock, or goes on in a forked process, which has no lock:
// opened again, if it is the same file, and locked. No descriptor of the file is closed here once the lock is had: the
// lock would go with it.
bool StateFile::regain() {
    if (!file_.open()) return false;
    const FileId own = file_.id();
    std::string problem;
    if (!directory_.isOurs()) directory_ = openDirectoryOf(path_, &name_, &problem);
    if (!directory_.open()) return false;
    if (!file_.isOurs()) {
        Descriptor file = openOwnFile(directory_.get(), name_, &problem);
        if (file.id() != own) return false;
        file_ = std::move(file);
    }
    struct stat facts = {};
    isAnothers_ = !lockAsFollower() || fstat(file_.get(), &facts) != 0 ||
                  facts.st_size != static_cast<off_t>(size_);  // another process has had it meanwhile
    if (isAnothers_) return false;
    owner_ = getpid();
    return isNamed(directory_.get(), name_, own);
}

// Waits for the process that had the lock before this one was forked off, if that is the one that still has it.
bool StateFile::lockAsFollower() const {
    for (int wait = 0; wait < kMaxWaits; ++wait) {
        if (lockFile(file_.get())) return true;
        if (owner_ == getpid() || lockHolder(file_.get()) != owner_) break;
        nanosleep(&kWait, nullptr);
    }
    return lockFile(file_.get());
}

bool StateFile::isInPlace() const {
    return directory_.isOurs() && isNamed(directory_.get(), name_, file_.id());
}

bool StateFile::isHad() {
    return (isHeld() || regain()) && (isInPlace() || regain());
}

bool StateFile::replace(const std::vector<Record>& records, std::string* problem) {
    const std::string beside = name_ + ".new";
    if (!isHad()) return *problem = kLost, false;
    {
        // One that is locked is being written at this moment, by whoever believes the state to be its own.
        const Descriptor left = openOwnFile(directory_.get(), beside, problem);
        if (left.open() && !lockFile(left.get())) return *problem = kLost, false;
        if (left.open() || !problem->empty()) unlinkat(directory_.get(), beside.c_str(), 0);
    }
    Descriptor made = makeOwnFile(directory_.get(), beside, problem);
    if (!made.open()) {
        if (problem->empty()) *problem = beside + ": " + std::strerror(EEXIST);
        return false;
    }
    // Locked before it takes the place: at no time may another process take it for free.
    if (!lockFile(made.get()) || !isNamed(directory_.get(), beside, made.id())) return *problem = kLost, false;
    ByteWriter whole;
    whole.addRaw(header());
    for (const Record& record : records) addFramed(whole, record.kind, record.content);
    if (!write(made.get(), 0, whole.bytes())) {
        *problem = std::strerror(errno);
        unlinkat(directory_.get(), beside.c_str(), 0);
        return false;
    }
    if (!takePlace(beside, problem)) return false;
    file_ = std::move(made);
    mapped_.map(file_.get(), kHeaderSize);
    size_ = whole.bytes().size();
    return true;
}

// The two files change places, so that a file of somebody else's that has come to the name is found beside it, and can
// go back.
bool StateFile::takePlace(const std::string& beside, std::string* problem) {
    const int directory = directory_.get();
    const auto exchange = [&] {
        return renameat2(directory, beside.c_str(), directory, name_.c_str(), RENAME_EXCHANGE) == 0;
    };
    bool moved = exchange();
    if (moved && !isNamed(directory, beside, file_.id())) {
        exchange();
        moved = false;
        *problem = kLost;
    } else if (!moved && (errno == ENOSYS || errno == EINVAL) && isNamed(directory, name_, file_.id())) {
        // A kernel or file system that knows no exchange: what comes to the name between the look and the renaming is
        // lost. Without it the file would grow until nobody can read it.
        moved = renameat(directory, beside.c_str(), directory, name_.c_str()) == 0;
        if (!moved) *problem = std::strerror(errno);
        return moved;
    } else if (!moved) {
        *problem = errno == ENOENT ? kLost : std::strerror(errno);
    }
    unlinkat(directory, beside.c_str(), 0);
    return moved;
}

// By the name; and what it holds, for it may have been moved, or its directory not let go of it: by the descriptor, and
// where that has gone or is refused, in memory.
void StateFile::discard() {
    if (owner_ == getpid() && !isAnothers_) {
        const bool ours = file_.isOurs();
        if (ours && isInPlace()) unlinkat(directory_.get(), name_.c_str(), 0);
        if (!ours || (ftruncate(file_.get(), 0) != 0 && !write(file_.get(), 0, kGivenUp))) mapped_.write(kGivenUp);
    }
    mapped_.reset();
    file_.reset();
    size_ = 0;
}

}  // namespace state
