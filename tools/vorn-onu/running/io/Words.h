// Small pieces that sentences are made of.
#ifndef VORN_ONU_WORDS_H
#define VORN_ONU_WORDS_H

#include <cstddef>
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

}  // namespace vorn_onu

#endif
