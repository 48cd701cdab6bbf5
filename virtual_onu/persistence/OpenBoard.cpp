// The board that is open: changes become lines of its file, and lines of other processes become changes here.
#include <cerrno>
#include <cstring>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "Core.h"
#include "Facilities.h"
#include "Persistence.h"
#include "persistence/BoardCheck.h"
#include "persistence/BoardFile.h"
#include "persistence/BoardLock.h"
#include "persistence/Lines.h"
#include "real_libc/OwnDescriptor.h"

namespace virtual_onu::persistence {

std::atomic<bool> open{false};

namespace {

// The file is rewritten when it has grown so far beyond what it held then.
constexpr std::uint64_t kGrowth = 4;
constexpr std::uint64_t kLeastGrowth = std::uint64_t{1} << 20U;  // bytes

struct OpenBoard {
    std::unique_ptr<BoardLock> lock;
    std::unique_ptr<BoardFile> file;
    bool withRun = false;
    std::uint64_t size = 0;     // of the file, as far as this process knows it
    std::uint64_t edition = 0;  // of the file; 0: nothing has been read yet
    std::uint64_t compactSize = 0;
    std::optional<FileSum> sum;                             // of the file so far, where its lines have checksums
    int depth = 0;                                          // of device locks
    bool isReading = false;                                 // what changes comes from the file
    std::set<std::pair<std::string, std::string>> changes;  // section and key
};

// With the device lock. Never destroyed: threads outlive main().
OpenBoard& openBoard() {
    static OpenBoard& one = *new OpenBoard;
    return one;
}

const SectionIndex& allSections() {
    static const SectionIndex& all = *new SectionIndex([] {
        Sections sections;
        for (Sections (*of)() : {network::sections, vlan::sections, pon::sections, bus::sections, board::sections,
                                 runner::sections, shell::sections, files::sections, datapath::sections, coreSections})
            for (const Section* section : of()) sections.push_back(section);
        return sections;
    }());
    return all;
}

void sayOnStandardError(const std::string& text) {
    writeAll(2, "virtual ONU: " + text + "\n");
}
void (*trouble)(const std::string&) = sayOnStandardError;

// From now on the board is this process's own.
void stopPersisting(const std::string& why) noexcept {
    open = false;
    try {
        trouble(openBoard().file->path() + ": the board can no longer be kept there: " + why);
    } catch (const std::exception&) {
        return;
    }
}

// ---- from the file ----

// Records as far as the lines have come, and what puts them in place.
struct Contents {
    std::map<const Section*, std::map<std::string, Json>> records;
    std::vector<std::unique_ptr<Section::Checked>> checked;
    std::optional<FileSum> sum;
};

// Checks everything. Throws BadBoard.
Contents contentsOf(const std::string& text) {
    Contents contents;
    const auto seen = [&](const Section& section, const std::string& key, const Json& record) {
        if (isOfRun(section.name)) return;
        auto& records = contents.records[&section];
        if (record.is_null())
            records.erase(key);
        else
            records[key] = record;
    };
    contents.sum = readBoard(text, allSections(), seen);
    for (const Section* section : allSections().all()) {
        if (isOfRun(section->name)) continue;
        const auto& records = contents.records[section];
        if (section->single && records.empty()) throw BadBoard("section " + section->name + " is missing");
        for (const auto& [key, record] : records) {
            try {
                contents.checked.push_back(section->read(key, record));
            } catch (const BadBoard& problem) {
                throw BadBoard(section->name + (section->single ? "" : " " + shownValue(Json(jsonText(key)))) + ": " +
                               problem.what());
            }
        }
    }
    checkBoard([&](const char* section) -> const std::map<std::string, Json>& {
        return contents.records[allSections().find(section)];
    });
    return contents;
}

class ReadingFile {
public:
    ReadingFile() { openBoard().isReading = true; }
    ~ReadingFile() {
        openBoard().isReading = false;
        deviceChanged();
    }
    ReadingFile(const ReadingFile&) = delete;
    ReadingFile& operator=(const ReadingFile&) = delete;
};

// The whole board from the file. Throws BadBoard, and has changed nothing then.
void readWhole(std::uint64_t size) {
    OpenBoard& board = openBoard();
    const Contents contents = contentsOf(board.file->readFrom(0).substr(0, static_cast<std::size_t>(size)));
    const ReadingFile reading;
    for (const Section* section : allSections().all()) {
        if (section->single || isOfRun(section->name)) continue;
        const auto records = contents.records.find(section);
        for (const std::string& key : section->keys())
            if (records->second.count(key) == 0) section->remove(key);
    }
    for (const auto& record : contents.checked) record->put();
    board.size = size;
    board.sum = contents.sum;
    board.edition = board.lock->edition();
}

// What other processes have added. Throws BadBoard.
void readAdded(std::uint64_t size) {
    OpenBoard& board = openBoard();
    const std::string text = board.file->readFrom(board.size).substr(0, static_cast<std::size_t>(size - board.size));
    const ReadingFile reading;
    const auto seen = [&](const Section& section, const std::string& key, const Json& record) {
        if (isOfRun(section.name) && !board.withRun) return;
        if (record.is_null())
            section.remove(key);
        else
            section.read(key, record)->put();
    };
    readLines(text, board.sum, allSections(), seen);
    board.size = size;
}

void readOthersChanges() {
    OpenBoard& board = openBoard();
    const std::uint64_t size = board.lock->size();
    if (board.edition != board.lock->edition()) {
        board.file->open();
        readWhole(size);
        board.compactSize = size;
    } else if (board.size != size) {
        readAdded(size);
    }
}

// A process has been killed while it wrote: what it has written whole counts.
void cutTornLine() {
    OpenBoard& board = openBoard();
    board.file->open();
    const std::size_t whole = wholeLines(board.file->readFrom(0));
    board.file->cut(whole);
    board.lock->size() = whole;
    ++board.lock->edition();
}

// ---- to the file ----

std::string wholeBoard(std::optional<FileSum>& sum) {
    std::string text = headerLine();
    sum.emplace().add(text);
    for (const Section* section : allSections().all()) {
        if (isOfRun(section->name)) continue;
        for (const std::string& key : section->keys()) {
            Json line = Json::object();
            addRecord(line, *section, key, section->record(key));
            text += lineText(line, sum);
        }
    }
    return text;
}

void rewrite() {
    OpenBoard& board = openBoard();
    std::optional<FileSum> sum;
    const std::string text = wholeBoard(sum);
    board.file->rewrite(text);
    board.sum = sum;
    board.size = board.compactSize = text.size();
    board.lock->size() = board.size;
    board.edition = ++board.lock->edition();
}

void writeChanges() {
    OpenBoard& board = openBoard();
    Json line = Json::object();
    for (const auto& [name, key] : board.changes) {
        const Section* section = allSections().find(name);
        if (section != nullptr) addRecord(line, *section, key, section->record(key));
    }
    board.changes.clear();
    if (line.empty()) return;
    const std::string text = lineText(line, board.sum);
    if (!board.file->append(board.size, text)) return stopPersisting(std::strerror(errno));
    board.size += text.size();
    board.lock->size() = board.size;
    if (board.size > kGrowth * board.compactSize + kLeastGrowth && !board.withRun) {
        board.compactSize = board.size;  // where it cannot be done, it is not tried again before long
        try {
            rewrite();
        } catch (const BadBoard&) {
            return;
        }
    }
}

// Where the disk has no room for another file, the one that is there is good for who only looks at the board. A change
// of it goes behind the whole lines, or does not fit.
void keepAsItIs() {
    OpenBoard& board = openBoard();
    if (!board.file->cut(board.size)) throw BadBoard(std::strerror(errno));
    board.compactSize = board.size;
    board.lock->size() = board.size;
    board.edition = ++board.lock->edition();
}

// The board of this process becomes the file's, or the file the board's.
void begin() {
    OpenBoard& board = openBoard();
    if (!board.lock->isFirst()) {  // others have seen to the file; it is read with the next lock
        board.edition = 0;
        return;
    }
    const bool exists = board.file->exists();
    if (exists) {
        board.file->open();
        readWhole(wholeLines(board.file->readFrom(0)));
    }
    try {
        rewrite();
    } catch (const BadBoard&) {
        if (!exists) throw;
        keepAsItIs();
    }
    board.lock->share();
}

void forget() {
    openBoard().lock.reset();
    openBoard().file.reset();
    openBoard().changes.clear();
}

}  // namespace

void onTrouble(void (*say)(const std::string&)) {
    trouble = say;
}

void openFile(const std::string& path, bool alone, bool withRun) {
    closeFile();
    const DeviceAccess lock(deviceMutex());
    if (network::hostKernel()) throw BadBoard(path + ": no board is kept while the host's kernel has the devices");
    OpenBoard& board = openBoard();
    try {
        board.file = std::make_unique<BoardFile>(path);
        board.lock = std::make_unique<BoardLock>(board.file->path(), alone ? LockMode::Exclusive : LockMode::Shared);
        board.withRun = withRun;
        begin();
    } catch (const BadBoard& problem) {
        forget();
        const std::string what = problem.what();
        throw BadBoard(what.compare(0, 1, "/") == 0 || what.compare(0, path.size(), path) == 0 ? what
                                                                                               : path + ": " + what);
    }
    open = true;
}

void closeFile() {
    {
        const DeviceAccess lock(deviceMutex());
        OpenBoard& board = openBoard();
        if (board.lock == nullptr) return;
        try {
            if (isOpen()) writeChanges();
            if (isOpen() && board.withRun) rewrite();  // without what the run has seen
        } catch (const std::exception& problem) {
            stopPersisting(problem.what());
        }
        open = false;
    }
    const DeviceAccess lock(deviceMutex());
    forget();
}

void markChanged(const char* section, std::string key) {
    OpenBoard& board = openBoard();
    if (board.isReading || (!board.withRun && isOfRun(section))) return;
    board.changes.emplace(section, std::move(key));
}

void entered() noexcept {
    OpenBoard& board = openBoard();
    if (board.depth++ > 0 || !isOpen()) return;
    try {
        if (!board.lock->takeTurn()) cutTornLine();
        readOthersChanges();
    } catch (const std::exception& problem) {
        stopPersisting(problem.what());
    }
}

void leaving() noexcept {
    OpenBoard& board = openBoard();
    if (--board.depth > 0 || board.lock == nullptr) return;
    try {
        if (isOpen()) writeChanges();
    } catch (const std::exception& problem) {
        stopPersisting(problem.what());
    }
    board.lock->giveTurn();
}

}  // namespace virtual_onu::persistence
