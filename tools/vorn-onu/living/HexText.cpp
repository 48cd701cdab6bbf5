// Messages as hexadecimal digits in lines, in the forms that logs and dump tools print.
#include <algorithm>
#include <cctype>
#include <sstream>
#include <utility>

#include "living/MessageFile.h"
#include "running/scenario/fields/Field.h"

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxBytes = 2048;     // of one message, with what is in front of it
constexpr std::size_t kMaxWords = 4096;     // of a line
constexpr std::size_t kMaxInDumpLine = 40;  // more than a tool puts in a line, less than a message
constexpr std::size_t kFewBytes = 8;        // fewer digits are words that happen to look like some

bool isHexDigit(char c) {
    return std::isxdigit(static_cast<unsigned char>(c)) != 0;
}

// The digits of a word, without "0x" and separators; "" when it is no whole number of bytes.
std::string digitsOf(const std::string& word) {
    std::string digits;
    std::size_t at = word.compare(0, 2, "0x") == 0 || word.compare(0, 2, "0X") == 0 ? 2 : 0;
    for (; at < word.size(); ++at) {
        const char c = word[at];
        if (isHexDigit(c))
            digits += c;
        else if (c != ':' && c != '-' && c != ',')
            return "";
    }
    return digits.size() % 2 == 0 ? digits : "";
}

std::vector<std::string> wordsOf(std::string line) {
    line = line.substr(0, line.find_first_of("#|;"));
    line = line.substr(0, line.find("//"));
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; words.size() < kMaxWords && stream >> word;) words.push_back(word);
    return words;
}

// "0010", "0x0010:", "00000010": where the bytes behind it lie in a dump.
std::optional<std::size_t> offsetOf(std::string word) {
    if (!word.empty() && word.back() == ':') word.pop_back();
    if (word.compare(0, 2, "0x") == 0) word = word.substr(2);
    if (word.size() < 3 || word.size() > 8 || !std::all_of(word.begin(), word.end(), isHexDigit)) return {};
    return std::stoul(word, nullptr, 16);
}

omci::Bytes bytesFrom(const std::vector<std::string>& words, std::size_t first) {
    omci::Bytes bytes;
    for (std::size_t at = first; at < words.size() && bytes.size() < kMaxBytes; ++at) {
        const std::string digits = digitsOf(words[at]);
        if (digits.empty()) break;
        const omci::Bytes more = bytesOfDigits(digits);
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    return bytes;
}

// Two addresses, as many VLAN tags as there may be, and the type word of the management channel as far as it is there.
bool beginsWithEthernet(omci::ByteView bytes) {
    constexpr std::size_t kAddresses = 12;
    for (std::size_t at = kAddresses; at + 1 < bytes.size(); at += 4) {
        const std::uint16_t type = omci::number16(bytes, at);
        if (type == 0x88B5) return true;
        if (type != 0x8100 && type != 0x88A8 && type != 0x9100) return false;
        if (at + 4 + 1 >= bytes.size()) return true;  // the tag is the last thing in the line
    }
    return false;
}

class Reader {
public:
    explicit Reader(const std::optional<omci::Integrity>& codes) : codes_(codes) {}
    void line(const std::string& text) {
        ++line_;
        const std::vector<std::string> words = wordsOf(text);
        if (words.empty()) return end();
        const auto offset = words.size() > 1 ? offsetOf(words.front()) : std::nullopt;
        if (offset == 0 && isDumpLine(words)) end();  // another dump begins
        if (offset && *offset == dump_.size() && (*offset > 0 || isDumpLine(words))) return continueDump(words);
        end();
        single(words);
    }
    MessageFile finish() {
        end();
        file_.placeName = "line";
        return std::move(file_);
    }

private:
    // A first line of a dump: its bytes are less than a message.
    static bool isDumpLine(const std::vector<std::string>& words) {
        const omci::Bytes bytes = bytesFrom(words, 1);
        if (bytes.empty()) return false;
        // With an Ethernet header the line may end before the message has begun, or be a part of it.
        if (bytes.size() < kMaxInDumpLine && beginsWithEthernet(bytes)) return true;
        return decodePadded(bytes).error == omci::FrameError::kTooShort;
    }
    void continueDump(const std::vector<std::string>& words) {
        if (dump_.empty()) dumpLine_ = line_;
        const omci::Bytes bytes = bytesFrom(words, 1);
        if (dump_.size() + bytes.size() > kMaxBytes) return end();
        dump_.insert(dump_.end(), bytes.begin(), bytes.end());
    }
    // A message is complete where nothing goes on with it.
    void end() {
        const omci::Bytes bytes = std::exchange(dump_, {});
        if (!bytes.empty() && !add(dumpLine_, bytes)) skip(dumpLine_, bytes);
    }
    bool add(std::size_t place, omci::ByteView bytes) {
        const omci::ByteView inner = messageInEthernet(bytes);
        const omci::DecodedFrame decoded = decodePadded(inner.empty() ? bytes : inner);
        if (decoded.error != omci::FrameError::kNone || !omci::isKnown(decoded.message.type)) return false;
        file_.messages.push_back(judged(place, decoded, inner.empty() ? bytes : inner, codes_));
        return true;
    }
    void skip(std::size_t place, omci::ByteView bytes) {
        const omci::FrameError error = decodePadded(bytes).error;
        const char* why = error == omci::FrameError::kNone ? "a reserved message type" : omci::nameOf(error);
        file_.skipped.push_back("line " + std::to_string(place) + ": " + why);
    }
    // A message on one line, behind words of any kind.
    void single(const std::vector<std::string>& words) {
        omci::Bytes longest;
        constexpr std::size_t kMaxInFront = 24;  // words
        for (std::size_t first = 0; first < words.size() && first < kMaxInFront; ++first) {
            const omci::Bytes bytes = bytesFrom(words, first);
            if (bytes.size() >= kFewBytes && add(line_, bytes)) return;
            if (bytes.size() > longest.size()) longest = bytes;
        }
        if (longest.size() >= kFewBytes) skip(line_, longest);
    }

    const std::optional<omci::Integrity>& codes_;
    MessageFile file_;
    std::size_t line_ = 0, dumpLine_ = 0;
    omci::Bytes dump_;
};

}  // namespace

MessageFile readHexText(const std::string& text, const std::optional<omci::Integrity>& codes) {
    Reader reader(codes);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) reader.line(line);
    return reader.finish();
}

}  // namespace vorn_onu
