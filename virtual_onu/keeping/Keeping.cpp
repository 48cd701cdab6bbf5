// The board that is open: changes become lines of its file, and lines of other processes become changes here.
#include <cerrno>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>

#include "Core.h"
#include "Facilities.h"
#include "Kept.h"
#include "keeping/BoardCheck.h"
#include "keeping/BoardFile.h"
#include "keeping/BoardLock.h"
#include "keeping/Lines.h"
#include "libc/real/OwnDescriptor.h"

namespace virtual_onu::kept {

std::atomic<bool> open{false};

namespace {

// The file is written anew when it has grown so far beyond what it held then.
constexpr std::uint64_t kGrowth = 4;
constexpr std::uint64_t kLeastGrowth = std::uint64_t{1} << 20U;  // bytes

struct Keeping {
    std::unique_ptr<BoardLock> lock;
    std::unique_ptr<BoardFile> file;
    bool withRun = false;
    std::uint64_t size = 0;     // of the file, as far as this process knows it
    std::uint64_t edition = 0;  // of the file; 0: nothing has been read yet
    std::uint64_t compactSize = 0;
    int depth = 0;                                          // of device locks
    bool isFilling = false;                                 // what changes comes from the file
    std::set<std::pair<std::string, std::string>> changes;  // section and key
};

// With the device lock. Never destroyed: threads outlive main().
Keeping& keeping() {
    static Keeping& one = *new Keeping;
    return one;
}

const Shelves& shelves() {
    static const Shelves& all = *new Shelves([] {
        Sections sections;
        for (Sections (*of)() : {network::sections, vlan::sections, pon::sections, bus::sections, board::sections,
                                 runner::sections, shell::sections, files::sections, datapath::sections, coreSections})
            for (Section& section : of()) sections.push_back(std::move(section));
        return sections;
    }());
    return all;
}

void sayOnStandardError(const std::string& text) {
    writeAll(2, "virtual ONU: " + text + "\n");
}
void (*trouble)(const std::string&) = sayOnStandardError;

// From now on the board is this process's own.
void giveUp(const std::string& why) noexcept {
    open = false;
    keeping().changes.clear();
    try {
        trouble(keeping().file->path() + ": the board can no longer be kept there: " + why);
    } catch (const std::exception&) {
        return;
    }
}

// ---- from the file ----

// Records as far as the lines have come, and what puts them in place.
struct Contents {
    std::map<const Section*, std::map<std::string, Json>> records;
    std::vector<std::function<void()>> places;
};

// Checks everything. Throws BadBoard.
Contents contentsOf(const std::string& text) {
    Contents contents;
    readBoard(text, shelves(), [&](const Section& section, const std::string& key, const Json& record) {
        if (isOfRun(section.name)) return;
        auto& records = contents.records[&section];
        if (record.is_null())
            records.erase(key);
        else
            records[key] = record;
    });
    for (const Section& section : shelves().all()) {
        if (isOfRun(section.name)) continue;
        const auto& records = contents.records[&section];
        if (section.single && records.empty()) throw BadBoard("section " + section.name + " is missing");
        for (const auto& [key, record] : records) {
            try {
                contents.places.push_back(section.read(key, record));
            } catch (const BadBoard& problem) {
                throw BadBoard(section.name + (section.single ? "" : " " + shownValue(Json(jsonText(key)))) + ": " +
                               problem.what());
            }
        }
    }
    checkBoard([&](const char* section) -> const std::map<std::string, Json>& {
        return contents.records[shelves().find(section)];
    });
    return contents;
}

class Filling {
public:
    Filling() { keeping().isFilling = true; }
    ~Filling() {
        keeping().isFilling = false;
        deviceChanged();
    }
    Filling(const Filling&) = delete;
    Filling& operator=(const Filling&) = delete;
};

// The whole board from the file. Throws BadBoard, and has changed nothing then.
void fill(std::uint64_t size) {
    Keeping& k = keeping();
    const Contents contents = contentsOf(k.file->readFrom(0).substr(0, static_cast<std::size_t>(size)));
    const Filling filling;
    for (const Section& section : shelves().all()) {
        if (section.single || isOfRun(section.name)) continue;
        const auto records = contents.records.find(&section);
        for (const std::string& key : section.keys())
            if (records->second.count(key) == 0) section.remove(key);
    }
    for (const auto& place : contents.places) place();
    k.size = size;
    k.edition = k.lock->edition();
}

// What other processes have added. Throws BadBoard.
void followOn(std::uint64_t size) {
    Keeping& k = keeping();
    const std::string text = k.file->readFrom(k.size).substr(0, static_cast<std::size_t>(size - k.size));
    const Filling filling;
    readLines(text, shelves(), [&](const Section& section, const std::string& key, const Json& record) {
        if (isOfRun(section.name) && !k.withRun) return;
        if (record.is_null())
            section.remove(key);
        else
            section.read(key, record)();
    });
    k.size = size;
}

void catchUp() {
    Keeping& k = keeping();
    const std::uint64_t size = k.lock->size();
    if (k.edition != k.lock->edition()) {
        k.file->open();
        fill(size);
        k.compactSize = size;
    } else if (k.size != size) {
        followOn(size);
    }
}

// A process has been killed while it wrote: what it has written whole counts.
void mend() {
    Keeping& k = keeping();
    k.file->open();
    const std::size_t whole = wholeLines(k.file->readFrom(0));
    k.file->cut(whole);
    k.lock->size() = whole;
    ++k.lock->edition();
}

// ---- to the file ----

std::string wholeBoard() {
    std::string text = headerLine();
    for (const Section& section : shelves().all()) {
        if (isOfRun(section.name)) continue;
        for (const std::string& key : section.keys()) {
            Json line = Json::object();
            addRecord(line, section, key, section.record(key));
            text += lineText(line);
        }
    }
    return text;
}

void writeAnew() {
    Keeping& k = keeping();
    const std::string text = wholeBoard();
    k.file->writeAnew(text);
    k.size = k.compactSize = text.size();
    k.lock->size() = k.size;
    k.edition = ++k.lock->edition();
}

void writeChanges() {
    Keeping& k = keeping();
    Json line = Json::object();
    for (const auto& [name, key] : k.changes) {
        const Section* section = shelves().find(name);
        if (section != nullptr) addRecord(line, *section, key, section->record(key));
    }
    k.changes.clear();
    if (line.empty()) return;
    const std::string text = lineText(line);
    if (!k.file->append(k.size, text)) return giveUp(std::strerror(errno));
    k.size += text.size();
    k.lock->size() = k.size;
    if (k.size > kGrowth * k.compactSize + kLeastGrowth && !k.withRun) {
        k.compactSize = k.size;  // where it cannot be done, it is not tried again before long
        try {
            writeAnew();
        } catch (const BadBoard&) {
            return;
        }
    }
}

// The board of this process becomes the file's, or the file the board's.
void begin() {
    Keeping& k = keeping();
    if (!k.lock->isFirst()) {  // others have seen to the file; it is read with the next lock
        k.edition = 0;
        return;
    }
    if (k.file->exists()) {
        k.file->open();
        fill(wholeLines(k.file->readFrom(0)));
    }
    writeAnew();
    k.lock->letOthersIn();
}

void forgetAll() {
    keeping().lock.reset();
    keeping().file.reset();
    keeping().changes.clear();
}

}  // namespace

void onTrouble(void (*say)(const std::string&)) {
    trouble = say;
}

void openFile(const std::string& path, bool alone, bool withRun) {
    closeFile();
    const DeviceLock lock(deviceMutex());
    if (network::hostKernel()) throw BadBoard(path + ": no board is kept while the host's kernel has the devices");
    Keeping& k = keeping();
    try {
        k.file = std::make_unique<BoardFile>(path);
        k.lock = std::make_unique<BoardLock>(k.file->path(), alone ? Company::Alone : Company::Together);
        k.withRun = withRun;
        k.depth = 0;
        begin();
    } catch (const BadBoard& problem) {
        forgetAll();
        const std::string what = problem.what();
        throw BadBoard(what.compare(0, 1, "/") == 0 || what.compare(0, path.size(), path) == 0 ? what
                                                                                               : path + ": " + what);
    }
    open = true;
}

void closeFile() {
    {
        const DeviceLock lock(deviceMutex());
        Keeping& k = keeping();
        if (k.lock == nullptr) return;
        try {
            if (isOpen()) writeChanges();
            if (isOpen() && k.withRun) writeAnew();  // without what the run has seen
        } catch (const std::exception& problem) {
            giveUp(problem.what());
        }
        open = false;
    }
    const DeviceLock lock(deviceMutex());
    forgetAll();
}

void markChanged(const char* section, std::string key) {
    Keeping& k = keeping();
    if (k.isFilling || (!k.withRun && isOfRun(section))) return;
    k.changes.emplace(section, std::move(key));
}

void entered() noexcept {
    Keeping& k = keeping();
    if (k.depth++ > 0 || !isOpen()) return;
    try {
        if (!k.lock->takeTurn()) mend();
        catchUp();
    } catch (const std::exception& problem) {
        giveUp(problem.what());
    }
}

void leaving() noexcept {
    Keeping& k = keeping();
    if (--k.depth > 0 || k.lock == nullptr) return;
    try {
        if (isOpen()) writeChanges();
    } catch (const std::exception& problem) {
        giveUp(problem.what());
    }
    k.lock->giveTurn();
}

}  // namespace virtual_onu::kept
