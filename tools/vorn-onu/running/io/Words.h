// Small pieces that sentences are made of.
#ifndef VORN_ONU_WORDS_H
#define VORN_ONU_WORDS_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vorn_onu {

// a, b, c
inline std::string joined(const std::vector<std::string>& words, const std::string& separator = ", ") {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

// "1 frame", "2 frames"
inline std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

// "0a1b", and the bytes of such digits; an odd last one is left.
std::string hexText(const std::string& bytes);
std::vector<std::uint8_t> bytesOfDigits(const std::string& digits);

// "gpon#.#" of gpon7.7 and gpon15.15 alike.
inline std::string withoutNumbers(const std::string& text) {
    std::string shape;
    for (const char c : text) {
        const bool isDigit = c >= '0' && c <= '9';
        if (!isDigit || shape.empty() || shape.back() != '#') shape += isDigit ? '#' : c;
    }
    return shape;
}

// Each line once; of those that differ by numbers alone the first, and how many more there are.
std::vector<std::string> withoutLikes(const std::vector<std::string>& lines);

}  // namespace vorn_onu

#endif
