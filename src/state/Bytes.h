// Numbers and texts as bytes: little-endian, texts behind their length.
#ifndef STATE_BYTES_H
#define STATE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace state {

class ByteWriter {
public:
    // As many bytes as the number's type has.
    template <typename Number, std::enable_if_t<std::is_integral_v<Number>, int> = 0>
    ByteWriter& add(Number number) {
        auto rest = static_cast<std::make_unsigned_t<Number>>(number);
        char bytes[sizeof rest];
        for (char& byte : bytes) {
            byte = static_cast<char>(rest & 0xFF);
            if constexpr (sizeof rest > 1) rest = static_cast<decltype(rest)>(rest >> 8);
        }
        return addRaw({bytes, sizeof bytes});
    }
    ByteWriter& add(bool value) { return add(static_cast<std::uint8_t>(value ? 1 : 0)); }
    // At most 65535 bytes of it.
    ByteWriter& add(std::string_view text) {
        text = text.substr(0, 0xFFFF);
        add(static_cast<std::uint16_t>(text.size()));
        return addRaw(text);
    }
    ByteWriter& add(const char* text) { return add(std::string_view(text)); }
    ByteWriter& addRaw(std::string_view bytes) {
        if (bytes.size() > room_ - used_) grow(bytes.size());
        if (!bytes.empty()) std::memcpy(begin() + used_, bytes.data(), bytes.size());
        used_ += bytes.size();
        return *this;
    }
    void clear() { used_ = 0; }  // and keeps the room
    // Leaves the writer empty.
    std::string take() {
        std::string taken(bytes());
        clear();
        return taken;
    }
    std::string_view bytes() const { return {large_.empty() ? small_ : large_.data(), used_}; }

private:
    char* begin() { return large_.empty() ? small_ : large_.data(); }
    void grow(std::size_t more) {
        std::string larger(2 * (used_ + more), '\0');
        std::memcpy(larger.data(), begin(), used_);
        large_ = std::move(larger);
        room_ = large_.size();
    }

    // Keys and most values are composed in place, of many small pieces.
    char small_[120];
    std::string large_;  // in its place when it has become too small
    std::size_t room_ = sizeof small_;
    std::size_t used_ = 0;
};

// Reads what ByteWriter wrote. Behind the end every number is 0 and every text empty, and ok() is false.
class ByteReader {
public:
    explicit ByteReader(std::string_view bytes) : rest_(bytes) {}

    template <typename Number>
    Number number() {
        if (rest_.size() < sizeof(Number)) return fail<Number>();
        std::make_unsigned_t<Number> value = 0;
        for (std::size_t i = 0; i < sizeof value; ++i) {
            const auto byte = static_cast<std::make_unsigned_t<Number>>(static_cast<unsigned char>(rest_[i]));
            value = static_cast<decltype(value)>(value | static_cast<decltype(value)>(byte << (8 * i)));
        }
        rest_.remove_prefix(sizeof value);
        return static_cast<Number>(value);
    }
    std::uint8_t u8() { return number<std::uint8_t>(); }
    std::uint16_t u16() { return number<std::uint16_t>(); }
    std::uint32_t u32() { return number<std::uint32_t>(); }
    std::int32_t i32() { return number<std::int32_t>(); }
    // 0 or 1; another number is none.
    bool flag() {
        const std::uint8_t value = u8();
        if (value > 1) ok_ = false;
        return value == 1;
    }
    std::string_view raw(std::size_t size) {
        if (rest_.size() < size) return fail<std::string_view>();
        const std::string_view bytes = rest_.substr(0, size);
        rest_.remove_prefix(size);
        return bytes;
    }
    std::string text() { return std::string(raw(u16())); }

    bool ok() const { return ok_; }
    std::size_t left() const { return rest_.size(); }
    // Everything was there, and nothing is left over.
    bool done() const { return ok_ && rest_.empty(); }

private:
    template <typename Value>
    Value fail() {
        ok_ = false;
        rest_ = {};
        return Value{};
    }

    std::string_view rest_;
    bool ok_ = true;
};

}  // namespace state

#endif
