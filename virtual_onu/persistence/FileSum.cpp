#include "persistence/FileSum.h"

#include <array>
#include <cstdio>

#include "BadBoard.h"

namespace virtual_onu::persistence {

namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;
constexpr std::string_view kMember = ",\"crc32\":\"";
constexpr std::size_t kDigits = 8;
constexpr std::size_t kMemberSize = kMember.size() + kDigits + 2;  // with the text's and the object's end

constexpr std::array<std::uint32_t, 256> makeSums() {
    std::array<std::uint32_t, 256> sums{};
    for (std::uint32_t byte = 0; byte < sums.size(); ++byte) {
        std::uint32_t rest = byte;
        for (int bit = 0; bit < 8; ++bit) rest = (rest & 1U) != 0 ? rest >> 1U ^ kPolynomial : rest >> 1U;
        sums[byte] = rest;
    }
    return sums;
}
constexpr std::array<std::uint32_t, 256> kSums = makeSums();

// A line without its end, as far as its length and the place of its checksum go.
bool hasMember(std::string_view line) {
    return line.size() > kMemberSize && line.substr(line.size() - kMemberSize, kMember.size()) == kMember &&
           line.substr(line.size() - 2) == "\"}";
}

}  // namespace

void FileSum::add(std::string_view text) {
    for (const char byte : text) state_ = state_ >> 8U ^ kSums[(state_ ^ static_cast<unsigned char>(byte)) & 0xFFU];
}

std::string FileSum::member() const {
    std::array<char, kDigits + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x", static_cast<unsigned>(~state_));
    return std::string(kMember) + digits.data() + "\"}";
}

std::string FileSum::lineOf(std::string object) {
    object.pop_back();
    add(object);
    const std::string end = member() + "\n";
    add(end);
    return object + end;
}

std::string FileSum::objectOf(const std::string& line) {
    if (!hasMember(line)) throw BadBoard("is damaged: it does not end with a checksum");
    const std::string_view object = std::string_view(line).substr(0, line.size() - kMemberSize);
    add(object);
    const std::string end = member();
    if (line.compare(object.size(), std::string::npos, end) != 0)
        throw BadBoard("is damaged, or a line before it is missing: its checksum is " +
                       line.substr(object.size() + kMember.size(), kDigits) + ", but must be " +
                       end.substr(kMember.size(), kDigits));
    add(end);
    add("\n");
    return std::string(object) + "}";
}

bool FileSum::hasMoreThanALine(std::string_view text) {
    return !text.empty() && hasMember(text.substr(0, text.size() - 1));
}

}  // namespace virtual_onu::persistence
