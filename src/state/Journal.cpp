#include "state/Journal.h"

#include <cstdio>
#include <cstring>
#include <utility>

namespace state {

namespace {

// How an entry has changed, in a commit.
enum class ChangeKind : std::uint8_t { Put = 1, Erase = 2, Append = 3 };

constexpr std::size_t kMaxKeySize = 1 << 10;
constexpr std::size_t kMaxValueSize = 1 << 16;

// The file is rewritten when it has grown to several times what it holds.
constexpr std::size_t kGrowth = 2;
constexpr std::size_t kSmallFile = 1 << 18;

// Entries of a compacted file, in records of a moderate size.
constexpr std::size_t kBlock = 1 << 16;

bool beginsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

std::uint64_t mixed(std::uint64_t hash, const char* bytes, std::size_t count) {
    std::uint64_t more = 0;
    std::memcpy(&more, bytes, count);
    hash = (hash ^ more) * 0x9E3779B97F4A7C15;
    return hash ^ hash >> 32;
}

void addChange(ByteWriter& record, ChangeKind kind, const std::string& key, std::string_view value) {
    record.add(static_cast<std::uint8_t>(kind)).add(key);
    if (kind != ChangeKind::Erase) record.add(static_cast<std::uint32_t>(value.size())).addRaw(value);
}

}  // namespace

std::size_t KeyHash::operator()(std::string_view key) const {
    std::uint64_t hash = key.size();
    for (; key.size() >= sizeof hash; key.remove_prefix(sizeof hash)) hash = mixed(hash, key.data(), sizeof hash);
    return static_cast<std::size_t>(mixed(hash, key.data(), key.size()));
}

std::atomic<Journal*> currentJournal{nullptr};

// ---- reading the file ----

bool Journal::open(const std::string& path, const std::string& bootId, std::string* problem) {
    std::vector<Record> records;
    if (!file_.open(path, bootId, &records, problem)) return false;
    if (replay(records)) return true;
    *problem = "has a record that makes no sense";
    return false;
}

bool Journal::replay(std::vector<Record>& records) {
    for (const Record& record : records) {
        switch (record.kind) {
            case RecordKind::Commit:
                if (!apply(record.content)) return false;
                unfinished_.clear();
                break;
            case RecordKind::Intent: {
                ByteReader content(record.content);
                std::vector<std::uint32_t> results(content.u8());
                for (std::uint32_t& result : results) result = content.u32();
                if (!content.ok() || (!results.empty() && unfinished_.empty())) return false;
                if (!results.empty()) unfinished_.back().results = std::move(results);
                unfinished_.push_back({std::string(content.raw(content.left())), {}});
                break;
            }
        }
    }
    return true;
}

bool Journal::apply(std::string_view commit) {
    ByteReader changes(commit);
    while (changes.ok() && changes.left() > 0) {
        const auto kind = static_cast<ChangeKind>(changes.u8());
        const std::string key = changes.text();
        if (!changes.ok() || key.empty() || key.size() > kMaxKeySize || kind < ChangeKind::Put ||
            kind > ChangeKind::Append)
            return false;
        if (kind == ChangeKind::Erase) {
            if (!removeEntry(key)) return false;
            continue;
        }
        const std::string_view value = changes.raw(changes.u32());
        if (!changes.ok()) return false;
        const auto [entry, added] = entries_.try_emplace(key);
        if (kind == ChangeKind::Append && added) return false;
        if (added) byKey_.emplace(entry->first, entry);
        liveBytes_ += added ? key.size() : 0;
        liveBytes_ -= entry->second.size();
        if (kind == ChangeKind::Put) entry->second.clear();
        entry->second.append(value);
        liveBytes_ += entry->second.size();
        if (entry->second.size() > kMaxValueSize) return false;
    }
    return changes.done();
}

// ---- changes ----

void Journal::change(std::string key, bool present, std::string value) {
    const std::size_t hash = KeyHash()(key);
    const auto known = std::find_if(pending_.rbegin(), pending_.rend(),
                                    [&](const Change& one) { return one.hash == hash && one.key == key; });
    if (known == pending_.rend()) {
        pending_.push_back({std::move(key), hash, present, std::move(value)});
    } else {
        known->present = present;
        known->value = std::move(value);
    }
}

const std::string* Journal::find(const std::string& key) const {
    const std::size_t hash = KeyHash()(key);
    const auto known = std::find_if(pending_.rbegin(), pending_.rend(),
                                    [&](const Change& one) { return one.hash == hash && one.key == key; });
    if (known != pending_.rend()) return known->present ? &known->value : nullptr;
    const auto entry = byKey_.find(key);
    return entry != byKey_.end() ? &entry->second->second : nullptr;
}

std::map<std::string, std::string> Journal::current(const std::string& prefix) const {
    std::map<std::string, std::string> found;
    for (auto entry = entries_.lower_bound(prefix); entry != entries_.end() && beginsWith(entry->first, prefix);
         ++entry)
        found.insert(*entry);
    for (const Change& one : pending_) {
        if (!beginsWith(one.key, prefix)) continue;
        if (one.present) {
            found[one.key] = one.value;
        } else {
            found.erase(one.key);
        }
    }
    return found;
}

void Journal::eraseAll(const std::string& prefix) {
    for (auto entry = entries_.lower_bound(prefix); entry != entries_.end() && beginsWith(entry->first, prefix);
         ++entry)
        erase(entry->first);
    for (Change& one : pending_)
        if (beginsWith(one.key, prefix)) one = {std::move(one.key), one.hash, false, {}};
}

// ---- operations ----

void Journal::end() {
    if (--depth_ > 0) return;
    if (intended_ || !pending_.empty() || !touched_.empty()) commit();
}

void Journal::intend(std::string_view step) {
    intended_ = true;
    record_.clear();
    record_.add(static_cast<std::uint8_t>(results_.size()));
    for (const std::uint32_t result : results_) record_.add(result);
    record_.addRaw(step);
    results_.clear();
    write(RecordKind::Intent, record_.bytes());
}

bool Journal::removeEntry(const std::string& key) {
    const auto known = byKey_.find(key);
    if (known == byKey_.end()) return false;
    const auto entry = known->second;
    liveBytes_ -= entry->first.size() + entry->second.size();
    byKey_.erase(known);
    entries_.erase(entry);
    return true;
}

// Adds the change to the record and to the entries; nothing when there is none.
void Journal::settle(ByteWriter& record, const std::string& key, bool present, std::string_view value) {
    if (!present) {
        if (removeEntry(key)) addChange(record, ChangeKind::Erase, key, {});
        return;
    }
    const auto known = byKey_.find(key);
    if (known == byKey_.end()) {
        addChange(record, ChangeKind::Put, key, value);
        liveBytes_ += key.size() + value.size();
        const auto entry = entries_.emplace(key, value).first;
        byKey_.emplace(entry->first, entry);
        return;
    }
    const auto entry = known->second;
    if (entry->second == value) return;
    // A list of rules mostly grows at its end.
    if (!entry->second.empty() && beginsWith(value, entry->second)) {
        addChange(record, ChangeKind::Append, key, value.substr(entry->second.size()));
    } else {
        addChange(record, ChangeKind::Put, key, value);
    }
    liveBytes_ = liveBytes_ - entry->second.size() + value.size();
    entry->second = value;
}

void Journal::commit() {
    record_.clear();
    for (const std::string& key : touched_) {
        ByteReader parts(key);
        const ReadMap reader = readers_[parts.u8()];
        if (reader == nullptr) continue;
        value_.clear();
        const bool present = reader(parts, value_);
        settle(record_, key, present, value_.bytes());
    }
    for (Change& one : pending_) settle(record_, one.key, one.present, one.value);
    touched_.clear();
    pending_.clear();
    unfinished_.clear();
    results_.clear();
    const bool isTooLarge = record_.bytes().size() > kMaxRecordSize;
    if (!isTooLarge && (intended_ || !record_.bytes().empty())) write(RecordKind::Commit, record_.bytes());
    intended_ = false;
    // The file rewritten, in records that can be read: all of it takes the old one's place at once.
    if (isTooLarge && !compact()) return lose("has no room for all that is to be kept");
    if (!isTooLarge && file_.size() > kSmallFile && file_.size() > kGrowth * liveBytes_) compact();
}

bool Journal::compact() {
    std::vector<Record> records;
    ByteWriter block;
    for (const auto& [key, value] : entries_) {
        addChange(block, ChangeKind::Put, key, value);
        if (block.bytes().size() < kBlock) continue;
        records.push_back({RecordKind::Commit, block.take()});
        block = ByteWriter();
    }
    if (!block.bytes().empty()) records.push_back({RecordKind::Commit, block.take()});
    // Without room for a second file the old one goes on growing; it is tried again at the next commit.
    std::string problem;
    if (failed_ || file_.replace(records, &problem)) return true;
    if (!file_.isInPlace()) {
        lose("is no longer in its place");
        return false;
    }
    if (!grows_) say("cannot be made smaller (" + problem + "), and goes on growing");
    grows_ = true;
    return false;
}

void Journal::write(RecordKind kind, std::string_view content) {
    if (failed_) return;
    if (!file_.append(kind, content)) return lose("cannot be written");
    // Looked at once an operation: whoever moves the file away or removes it has the library go on without it.
    if (kind == RecordKind::Commit && !file_.isInPlace()) lose("is no longer in its place");
}

bool Journal::isKeptInPlace() {
    if (!failed_ && !file_.isHad()) lose("is no longer in its place");
    return isKept();
}

// After a restart a state that is out of date would be believed.
void Journal::lose(const char* why) {
    if (failed_) return;
    failed_ = true;
    say(std::string(why) + ", and is given up");
    file_.discard();
}

void Journal::say(const std::string& what) const {
    std::printf("vorn_hal_state: the state file %s\n", what.c_str());
    if (report_ != nullptr) report_(what);
}

}  // namespace state
