#include "persistence/Lines.h"

#include <utility>

namespace virtual_onu::persistence {

namespace {

constexpr char kFormat[] = "vorn-onu board";
constexpr unsigned kVersion = 2, kVersionWithoutSums = 1;
constexpr char kRunPrefix[] = "run.";

// Answers the version. Throws BadBoard.
std::uint64_t checkHeader(const std::string& line) {
    const Json header = Json::parse(line, nullptr, false);
    const bool isBoard = header.is_object() && header.contains("format") && header["format"] == kFormat;
    if (!isBoard) throw BadBoard("is no board: its first line must be " + Json::parse(headerLine()).dump());
    if (!header.contains("version") || !header["version"].is_number_unsigned())
        throw BadBoard("line 1: the version must be a number");
    const auto version = header["version"].get<std::uint64_t>();
    if (version != kVersion && version != kVersionWithoutSums)
        throw BadBoard("is a board of version " + std::to_string(version) + "; this program knows versions " +
                       std::to_string(kVersionWithoutSums) + " and " + std::to_string(kVersion));
    return version;
}

void readRecord(const Section& section, const std::string& key, const Json& record, const RecordSeen& seen) {
    try {
        seen(section, key, record);
    } catch (const BadBoard& problem) {
        throw BadBoard(section.name + (section.single ? "" : " " + shownValue(Json(jsonText(key)))) + ": " +
                       problem.what());
    }
}

void readLine(const std::string& line, const SectionIndex& index, const RecordSeen& seen) {
    const Json json = Json::parse(line, nullptr, false);
    if (json.is_discarded()) throw BadBoard("is no JSON");
    if (!json.is_object()) throw BadBoard("must be an object of sections");
    for (const auto& [name, records] : json.items()) {
        const Section* section = index.find(name);
        if (section == nullptr) {
            if (isOfRun(name)) continue;
            throw BadBoard("there is no section " + shownValue(Json(name)));
        }
        if (!records.is_object()) throw BadBoard("section " + name + " must be an object");
        if (section->single) {
            readRecord(*section, "", records, seen);
            continue;
        }
        for (const auto& [key, record] : records.items()) readRecord(*section, bytesOf(key), record, seen);
    }
}

// From the place on, where the line of this number begins.
void readNumbered(const std::string& text, std::size_t begin, std::size_t number, std::optional<FileSum>& sum,
                  const SectionIndex& index, const RecordSeen& seen) {
    for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos; begin = end + 1, ++number) {
        const std::string line = text.substr(begin, end - begin);
        try {
            readLine(sum ? sum->objectOf(line) : line, index, seen);
        } catch (const BadBoard& problem) {
            throw BadBoard("line " + std::to_string(number) + ": " + problem.what());
        }
    }
}

}  // namespace

SectionIndex::SectionIndex(Sections sections) : sections_(std::move(sections)) {
    for (const Section* section : sections_) byName_[section->name] = section;
}

const Section* SectionIndex::find(const std::string& name) const {
    const auto found = byName_.find(name);
    return found == byName_.end() ? nullptr : found->second;
}

bool isOfRun(const std::string& section) {
    return section.compare(0, sizeof kRunPrefix - 1, kRunPrefix) == 0;
}

std::string headerLine() {
    return std::string(R"({"format":")") + kFormat + R"(","version":)" + std::to_string(kVersion) + "}\n";
}

void addRecord(Json& line, const Section& section, const std::string& key, Json record) {
    if (section.single)
        line[section.name] = std::move(record);
    else
        line[section.name][jsonText(key)] = std::move(record);
}

std::string lineText(const Json& line, std::optional<FileSum>& sum) {
    return sum ? sum->lineOf(line.dump()) : line.dump() + "\n";
}

std::size_t wholeLines(const std::string& text) {
    const std::size_t last = text.rfind('\n');
    const std::size_t whole = last == std::string::npos ? 0 : last + 1;
    if (FileSum::hasMoreThanALine(std::string_view(text).substr(whole)))
        throw BadBoard("is damaged: the end of a line is missing");
    return whole;
}

std::optional<FileSum> readBoard(const std::string& text, const SectionIndex& index, const RecordSeen& seen) {
    const std::size_t end = text.find('\n');
    std::optional<FileSum> sum;
    if (checkHeader(text.substr(0, end)) != kVersionWithoutSums) sum.emplace().add(text.substr(0, end) + "\n");
    if (end != std::string::npos) readNumbered(text, end + 1, 2, sum, index, seen);
    return sum;
}

void readLines(const std::string& text, std::optional<FileSum>& sum, const SectionIndex& index,
               const RecordSeen& seen) {
    readNumbered(text, 0, 1, sum, index, seen);
}

}  // namespace virtual_onu::persistence
