#include "running/io/JsonCheck.h"

#include <algorithm>
#include <set>

#include <nlohmann/json.hpp>

namespace vorn_onu {

namespace {

using nlohmann::json;

// Where a byte is, for people: "line 3, column 7".
std::string placeOf(const std::string& text, std::size_t byte) {
    const auto end = text.begin() + static_cast<std::ptrdiff_t>(std::min(byte > 0 ? byte - 1 : 0, text.size()));
    const auto line = 1 + std::count(text.begin(), end, '\n');
    const auto lineStart = std::find(std::make_reverse_iterator(end), text.rend(), '\n').base();
    return "line " + std::to_string(line) + ", column " + std::to_string(end - lineStart + 1);
}

// Gets each part of the text in turn; false ends the reading.
class Checker : public nlohmann::json_sax<json> {
public:
    explicit Checker(const std::string& text) : text_(text) {}
    std::optional<JsonFault> found() const { return fault_; }

    bool null() override { return value(); }
    bool boolean(bool) override { return value(); }
    bool number_integer(number_integer_t) override { return value(); }
    bool number_unsigned(number_unsigned_t) override { return value(); }
    bool number_float(number_float_t, const string_t&) override { return value(); }
    bool string(string_t&) override { return value(); }
    bool binary(binary_t&) override { return value(); }
    bool start_object(std::size_t) override { return begin(true); }
    bool start_array(std::size_t) override { return begin(false); }
    bool end_object() override { return end(); }
    bool end_array() override { return end(); }

    bool key(string_t& key) override {
        Level& level = levels_.back();
        level.key = key;
        if (!level.keys.insert(key).second) return fail({"occurs twice", path()});
        if (level.keys.size() > kMaxJsonKeys)
            return fail({"has an object with more than " + std::to_string(kMaxJsonKeys) + " fields", {}});
        return true;
    }

    bool parse_error(std::size_t byte, const std::string&, const json::exception& error) override {
        constexpr int kNumberTooLarge = 406;
        if (error.id == kNumberTooLarge) return fail({"holds a number that is too large for any field", {}});
        return fail({placeOf(text_, byte) + ": is not JSON: " +
                         (byte > text_.size() ? "the file ends too early" : "a character that does not belong here"),
                     {}});
    }

private:
    struct Level {
        bool isObject = false;
        std::size_t values = 0;  // of a list, so far
        std::string key;         // of an object, the last one
        std::set<std::string> keys;
    };

    bool value() {
        if (!levels_.empty()) ++levels_.back().values;
        return true;
    }
    bool begin(bool isObject) {
        value();
        if (levels_.size() == kMaxJsonDepth)
            return fail({"is nested deeper than " + std::to_string(kMaxJsonDepth) + " levels", {}});
        levels_.emplace_back();
        levels_.back().isObject = isObject;
        return true;
    }
    bool end() {
        levels_.pop_back();
        return true;
    }
    std::vector<std::string> path() const {
        std::vector<std::string> parts;
        for (const Level& level : levels_)
            parts.push_back(level.isObject ? level.key : "[" + std::to_string(level.values - 1) + "]");
        return parts;
    }
    bool fail(JsonFault fault) {
        fault_ = std::move(fault);
        return false;
    }

    const std::string& text_;
    std::vector<Level> levels_;
    std::optional<JsonFault> fault_;
};

}  // namespace

std::optional<JsonFault> checkJson(const std::string& text) {
    Checker checker(text);
    json::sax_parse(text, &checker);
    return checker.found();
}

}  // namespace vorn_onu
