#include "device/DestinationSplit.h"

#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <initializer_list>
#include <sstream>
#include <utility>
#include <vector>

#include "hal/FileText.h"

namespace {

constexpr const char* kSplitFile = "/proc/net/dev_extstats";
constexpr std::size_t kDestinations = 3;
constexpr std::size_t kColumns = 2 * kDestinations;

// Where in a device's line the six counters are, in the order of DestinationSplit; none for a counter that is not
// there.
using Columns = std::vector<std::optional<std::size_t>>;

struct Heading {
    std::string word;   // in lower case
    std::size_t group;  // number of "|" before it
};

std::vector<Heading> headingsOf(const std::string& line) {
    std::vector<Heading> headings;
    std::size_t group = 0;
    bool open = false;
    for (const char c : line) {
        const auto symbol = static_cast<unsigned char>(c);
        if (c == '|') ++group;
        if (c == '|' || std::isspace(symbol) != 0) {
            open = false;
            continue;
        }
        if (!open) headings.push_back({"", group});
        open = true;
        headings.back().word += static_cast<char>(std::tolower(symbol));
    }
    return headings;
}

bool holds(const std::string& word, std::initializer_list<const char*> parts) {
    for (const char* part : parts) {
        if (word.find(part) != std::string::npos) return true;
    }
    return false;
}

// Number of the destination that a heading counts frames of.
std::optional<std::size_t> destinationOf(const std::string& word) {
    if (holds(word, {"byte", "octet", "err", "drop", "disc"})) return std::nullopt;
    if (holds(word, {"multicast", "mcast"})) return 0;
    if (holds(word, {"broadcast", "bcast"})) return 1;
    if (holds(word, {"unicast", "ucast"})) return 2;
    return std::nullopt;
}

bool namesColumns(const std::vector<Heading>& headings) {
    for (const Heading& heading : headings) {
        if (destinationOf(heading.word) || holds(heading.word, {"byte", "octet", "packet"})) return true;
    }
    return false;
}

// The columns that the headings name, for lines of so many numbers. A direction is in the heading ("rx", "tx"), or
// the last group of headings is the transmit side, or the second column of a destination is.
Columns columnsOf(const std::vector<Heading>& headings, std::size_t numbers) {
    Columns columns(kColumns);
    // The device's name may have a heading too.
    if (headings.size() != numbers && headings.size() != numbers + 1) return columns;
    const std::size_t label = headings.size() - numbers;
    const std::size_t lastGroup = headings.back().group;
    const bool grouped = headings[label].group != lastGroup;
    for (std::size_t i = label; i < headings.size(); ++i) {
        const auto destination = destinationOf(headings[i].word);
        if (!destination) continue;
        bool transmit = columns[*destination].has_value();
        if (grouped) transmit = headings[i].group == lastGroup;
        if (holds(headings[i].word, {"rx", "receive"})) transmit = false;
        if (holds(headings[i].word, {"tx", "transmit"})) transmit = true;
        auto& column = columns[*destination + (transmit ? kDestinations : 0)];
        if (column) return Columns(kColumns);  // named twice
        column = i - label;
    }
    return columns;
}

Columns columnsWithoutHeadings() {
    Columns columns;
    for (std::size_t i = 0; i < kColumns; ++i) columns.emplace_back(i);
    return columns;
}

std::optional<DestinationSplit> parseLine(const std::string& line, const std::vector<Heading>& headings) {
    std::vector<std::string> words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;) words.push_back(word);
    const Columns columns = headings.empty() ? columnsWithoutHeadings() : columnsOf(headings, words.size());
    DestinationSplit split{};
    for (std::size_t i = 0; i < kColumns; ++i) {
        if (!columns[i] || *columns[i] >= words.size()) return std::nullopt;
        const auto number = parseCounter(words[*columns[i]]);
        if (!number) return std::nullopt;
        (i < kDestinations ? split.received[i] : split.transmitted[i - kDestinations]) = *number;
    }
    return split;
}

bool addsUpTo(const std::uint64_t (&parts)[kDestinations], std::uint64_t frames) {
    for (const std::uint64_t part : parts) {
        if (part > frames) return false;
        frames -= part;
    }
    return true;
}

}  // namespace

std::optional<std::uint64_t> parseCounter(const std::string& text) {
    char* end = nullptr;
    errno = 0;
    const unsigned long long number = std::strtoull(text.c_str(), &end, 10);
    const bool valid = end != text.c_str() && errno == 0 && text.find('-') == std::string::npos;
    return valid ? std::optional<std::uint64_t>(number) : std::nullopt;
}

std::optional<DestinationSplit> readDestinationSplit(const char* interface) {
    std::string text;
    if (readFileText(kSplitFile, text) != 0) return std::nullopt;
    std::vector<Heading> headings;  // of the last line that names columns
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(':');
        const std::size_t start = line.find_first_not_of(" \t");
        if (colon == std::string::npos) {
            auto words = headingsOf(line);
            if (namesColumns(words)) headings = std::move(words);
            continue;
        }
        if (start >= colon || line.compare(start, colon - start, interface) != 0) continue;
        if (const auto split = parseLine(line.substr(colon + 1), headings)) return split;
    }
    return std::nullopt;
}

bool fitsFrames(const DestinationSplit& split, const IntfStats& stats) {
    return addsUpTo(split.received, stats.rxFrames) && addsUpTo(split.transmitted, stats.txFrames);
}
