#include "running/scenario/fields/Problem.h"

#include <algorithm>
#include <numeric>

#include <nlohmann/json.hpp>

namespace vorn_onu {

namespace {

constexpr std::size_t kMaxShown = 40;

// Number of single-character edits between two words.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t substituted = diagonal + (a[i - 1] == b[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({substituted, row[j] + 1, row[j - 1] + 1});
        }
    }
    return row.back();
}

}  // namespace

Problem Problem::within(const std::string& outer) const {
    if (field_.empty()) return {outer, what()};
    return {field_.front() == '[' ? outer + field_ : outer + "." + field_, what()};
}

std::string Problem::text() const {
    return field_.empty() ? what() : "field '" + field_ + "': " + what();
}

std::string shown(const Json& value) {
    std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
    if (text.size() <= kMaxShown) return text;
    std::size_t end = kMaxShown - 3;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80) --end;  // not amid a character
    return text.substr(0, end) + "...";
}

std::string suggestion(const std::string& name, const std::vector<std::string>& known) {
    const auto closest = std::min_element(known.begin(), known.end(), [&](const auto& a, const auto& b) {
        return distance(name, a) < distance(name, b);
    });
    if (closest == known.end() || distance(name, *closest) > std::max<std::size_t>(2, name.size() / 3)) return "";
    return ", did you mean '" + *closest + "'?";
}

std::string unknownName(const std::string& name, const std::vector<std::string>& known) {
    constexpr std::size_t kMaxListed = 20, kNearest = 5;
    const std::string text = "is not known here" + suggestion(name, known);
    if (known.empty()) return text + "; no field is allowed";
    if (known.size() <= kMaxListed) return text + "; allowed: " + joined(known);
    std::vector<std::string> nearest = known;
    std::stable_sort(nearest.begin(), nearest.end(),
                     [&](const auto& a, const auto& b) { return distance(name, a) < distance(name, b); });
    nearest.resize(kNearest);
    return text + "; the nearest of " + std::to_string(known.size()) + ": " + joined(nearest);
}

void checkKeys(const Json& value, const std::vector<std::string>& known) {
    if (!value.is_object()) throw Problem("must be an object, not " + shown(value));
    for (const auto& [key, ignored] : value.items())
        if (std::find(known.begin(), known.end(), key) == known.end()) throw Problem(key, unknownName(key, known));
}

std::string textOf(const Json& value) {
    if (!value.is_string()) throw Problem("must be a text, not " + shown(value));
    return value.get<std::string>();
}

bool truthOf(const Json& value) {
    if (!value.is_boolean()) throw Problem("must be true or false, not " + shown(value));
    return value.get<bool>();
}

std::uint64_t numberOf(const Json& value, std::uint64_t lowest, std::uint64_t highest) {
    const std::string allowed = "a number " + std::to_string(lowest) + ".." + std::to_string(highest);
    if (!value.is_number_integer()) throw Problem("must be " + allowed + ", not " + shown(value));
    const bool negative = !value.is_number_unsigned() && value.get<std::int64_t>() < 0;
    if (negative || value.get<std::uint64_t>() < lowest || value.get<std::uint64_t>() > highest)
        throw Problem("must be " + allowed + ", not " + shown(value));
    return value.get<std::uint64_t>();
}

}  // namespace vorn_onu
