// What the lines of a board file say. The first one names the format; each further one is an object of sections, a
// section an object of records, and a record that is null has gone:
//
//   {"format":"vorn-onu board","version":2}
//   {"network.devices":{"2":{"name":"gpondef",...},"3":{...}},"clock":{...},"crc32":"5d1f0a27"}
//   {"network.devices":{"13":null},"vlan.rules":{"17":{...}},"crc32":"0b3a9c51"}
//
// In a file of version 1 the lines have no checksum.
#ifndef VIRTUAL_ONU_LINES_H
#define VIRTUAL_ONU_LINES_H

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "Facilities.h"
#include "Section.h"
#include "persistence/FileSum.h"

namespace virtual_onu::persistence {

// The sections of a board and how they are found.
class SectionIndex {
public:
    explicit SectionIndex(Sections sections);
    const Sections& all() const { return sections_; }
    const Section* find(const std::string& name) const;  // null where there is none

private:
    Sections sections_;
    std::map<std::string, const Section*> byName_;
};

bool isOfRun(const std::string& section);

std::string headerLine();
// A record into a line; null for one that is gone.
void addRecord(Json& line, const Section& section, const std::string& key, Json record);
// The file's next line; without a checksum where there is no sum.
std::string lineText(const Json& line, std::optional<FileSum>& sum);

// How much of the text is whole lines: what is behind them was being written when the process was killed. Throws
// BadBoard where that cannot be.
std::size_t wholeLines(const std::string& text);

using RecordSeen = std::function<void(const Section& section, const std::string& key, const Json& record)>;

// Reads whole lines, the first of which is the header; answers the sum that the next line goes on with. Throws
// BadBoard, naming the line.
std::optional<FileSum> readBoard(const std::string& text, const SectionIndex& index, const RecordSeen& seen);
// Reads whole lines that have been added to a board.
void readLines(const std::string& text, std::optional<FileSum>& sum, const SectionIndex& index, const RecordSeen& seen);

}  // namespace virtual_onu::persistence

#endif
