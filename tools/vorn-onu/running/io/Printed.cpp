#include "running/io/Printed.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <random>

#include <nlohmann/json.hpp>

namespace vorn_onu {

namespace {

// A character of UTF-8: its code and how many bytes it takes. Bytes that are no UTF-8 stand for themselves.
struct Character {
    std::uint32_t code = 0;
    std::size_t bytes = 1;
    bool valid = false;
};

Character characterAt(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned first = byte(at);
    if (first < 0x80) return {first, 1, true};
    const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    constexpr std::array<std::uint32_t, 5> kLowest = {0, 0, 0x80, 0x800, 0x10000};
    if (first < 0xC2 || first > 0xF4 || at + bytes > text.size()) return {first};
    std::uint32_t code = first & (0xFFU >> (bytes + 1));
    for (std::size_t i = at + 1; i < at + bytes; ++i) {
        if ((byte(i) & 0xC0U) != 0x80) return {first};
        code = (code << 6) | (byte(i) & 0x3FU);
    }
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    if (code < kLowest[bytes] || code > 0x10FFFF || surrogate) return {first};
    return {code, bytes, true};
}

// Whether a terminal would act on it, or a reader be led astray, instead of seeing it.
bool actsOnTheReader(std::uint32_t code) {
    if (code < 0x20 || (code >= 0x7F && code <= 0x9F)) return true;                   // C0, DEL, C1
    if (code == 0x061C || code == 0x200E || code == 0x200F) return true;              // marks of direction
    return (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);  // separators; overrides, isolates
}

std::string escapeOf(const Character& character) {
    if (character.code == '\n') return "\\n";
    if (character.code == '\t') return "\\t";
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), character.valid && character.bytes > 1 ? "\\u%04x" : "\\x%02x",
                  static_cast<unsigned>(character.code));
    return text.data();
}

// Comes behind ESC [ in what painted() makes. No file can hold it.
const std::string& paintMark() {
    static const std::string mark = [] {
        std::random_device draw;
        return "\x1b[" + std::to_string(draw()) + std::to_string(draw()) + ";";
    }();
    return mark;
}

// How a painted part and a line end come out.
enum class Paint { Coloured, Plain };
enum class LineEnds { Stay, Escaped };

std::string escaped(const std::string& text, Paint paint, LineEnds lines) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const Character character = characterAt(text, at);
        const bool stays = lines == LineEnds::Stay && (character.code == '\n' || character.code == '\t');
        if (text[at] == '\x1b' && text.compare(at, paintMark().size(), paintMark()) == 0) {
            at += paintMark().size();
            if (paint == Paint::Coloured)
                result += "\x1b[";
            else
                at = std::min(text.find('m', at), text.size() - 1) + 1;
            continue;
        }
        if (stays || (character.valid && !actsOnTheReader(character.code)))
            result.append(text, at, character.bytes);
        else
            result += escapeOf(character);
        at += character.bytes;
    }
    return result;
}

}  // namespace

std::string printable(const std::string& text) {
    return escaped(text, Paint::Coloured, LineEnds::Stay);
}

std::string unpainted(const std::string& text) {
    return escaped(text, Paint::Plain, LineEnds::Stay);
}

std::string oneLine(const std::string& text) {
    return escaped(text, Paint::Coloured, LineEnds::Escaped);
}

nlohmann::json oneLines(const nlohmann::json& value) {
    if (value.is_string()) return oneLine(value.get<std::string>());
    if (!value.is_structured()) return value;
    nlohmann::json result = value.is_object() ? nlohmann::json::object() : nlohmann::json::array();
    for (const auto& [key, member] : value.items()) {
        if (value.is_object())
            result[oneLine(key)] = oneLines(member);
        else
            result.push_back(oneLines(member));
    }
    return result;
}

std::string painted(const char* code, const std::string& text) {
    return paintMark() + code + "m" + text + paintMark() + "0m";
}

}  // namespace vorn_onu
