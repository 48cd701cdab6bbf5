// Keeps the entries of the state file and writes them ahead of the device.
//
// An operation of the HAL is one unit: what it is about to ask of the kit is noted before (intend), with what came of
// the step before (result), and its end writes all entries that have changed as one record (commit). A process that
// ends within an operation leaves intents without a commit: whoever opens the file again sees them as unfinished().
//
// There is at most one journal, and none unless the daemon asks for it: then every function here costs one atomic load
// and does nothing. Only the provisioning thread uses it; there is no lock.
#ifndef STATE_JOURNAL_H
#define STATE_JOURNAL_H

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "state/Bytes.h"
#include "state/StateFile.h"

namespace state {

// A step that was begun, and the numbers that came of it, as far as the file has them.
struct UnfinishedStep {
    std::string step;
    std::vector<std::uint32_t> results;
};

struct KeyHash {
    std::size_t operator()(std::string_view key) const;
};

class Journal {
public:
    using Entries = std::map<std::string, std::string, std::less<>>;
    // Writes the value that the library's map has for a key, whose first byte is read already; false when the map has
    // none.
    using ReadMap = bool (*)(ByteReader& key, ByteWriter& value);

    // Opens the file and reads what it holds. False with the reason in *problem.
    bool open(const std::string& path, const std::string& bootId, std::string* problem);

    const Entries& entries() const { return entries_; }
    const std::vector<UnfinishedStep>& unfinished() const { return unfinished_; }
    // Whether changes go into the file; if not, the reason has been reported.
    bool isKept() const { return !failed_; }
    // Looks: a file that has been moved, removed or replaced is given up.
    bool isKeptInPlace();
    // Gets what is also printed of the file.
    void setReporter(void (*report)(const std::string& what)) { report_ = report; }
    // The map whose keys begin with this byte.
    void setReader(std::uint8_t firstByte, ReadMap read) { readers_[firstByte] = read; }

    // ---- changes, which the next commit writes ----

    void put(std::string key, std::string value) { change(std::move(key), true, std::move(value)); }
    void erase(std::string key) { change(std::move(key), false, {}); }
    // The library's map has changed at this key.
    void touch(std::string key) {
        if (std::find(touched_.rbegin(), touched_.rend(), key) == touched_.rend()) touched_.push_back(std::move(key));
    }
    // The value of an entry that no map has, as it is now; null when there is none. Valid until the next change.
    const std::string* find(const std::string& key) const;
    // The entries whose keys begin so, as they are now.
    std::map<std::string, std::string> current(const std::string& prefix) const;
    // Erases the entries that no map has and whose keys begin so.
    void eraseAll(const std::string& prefix);

    // ---- operations ----

    void begin() { ++depth_; }
    bool isOutermost() const { return depth_ == 1; }
    void end();
    void intend(std::string_view step);
    // One of the numbers that came of the last step; goes into the file with the next one.
    void result(std::uint32_t number) { results_.push_back(number); }

    // Rewrites the file with nothing in it but the entries. False when there is no room for a second one.
    bool compact();

private:
    struct Change {
        std::string key;
        std::size_t hash;  // of the key
        bool present;
        std::string value;
    };

    void change(std::string key, bool present, std::string value);
    void commit();
    void settle(ByteWriter& record, const std::string& key, bool present, std::string_view value);
    bool removeEntry(const std::string& key);
    bool apply(std::string_view commit);
    bool replay(std::vector<Record>& records);
    void write(RecordKind kind, std::string_view content);
    void lose(const char* why);
    void say(const std::string& what) const;

    StateFile file_;
    Entries entries_;
    std::unordered_map<std::string_view, Entries::iterator, KeyHash> byKey_;  // of entries_; the keys are the entries'
    std::size_t liveBytes_ = 0;                                               // of keys and values
    // An operation changes a handful of entries: looking through them all is faster than a tree.
    std::vector<Change> pending_;
    std::vector<std::string> touched_;
    std::array<ReadMap, 256> readers_ = {};
    ByteWriter record_, value_;  // that are being composed; their room is used again
    std::vector<UnfinishedStep> unfinished_;
    std::vector<std::uint32_t> results_;
    int depth_ = 0;
    bool intended_ = false;  // since the last commit
    bool failed_ = false;    // the file could not be written, or has gone
    bool grows_ = false;     // there is no room for a smaller one beside it
    void (*report_)(const std::string& what) = nullptr;
};

extern std::atomic<Journal*> currentJournal;

// Null without a state file.
inline Journal* journal() {
    return currentJournal.load(std::memory_order_acquire);
}

// The time of one operation. Operations may lie within one another: the outermost counts.
class Operation {
public:
    Operation() : journal_(journal()) {
        if (journal_ != nullptr) journal_->begin();
    }
    ~Operation() {
        if (journal_ != nullptr) journal_->end();
    }
    Operation(const Operation&) = delete;
    Operation& operator=(const Operation&) = delete;

protected:
    Journal* const journal_;
};

}  // namespace state

#endif
