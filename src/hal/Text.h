// Bounded text for names, commands and printed lines.
#ifndef HAL_TEXT_H
#define HAL_TEXT_H

#include <cstdarg>
#include <cstddef>
#include <cstdio>

// What a printed %s shows for a pointer that may be null.
inline const char* printable(const char* text) {
    return text != nullptr ? text : "(null)";
}

// A zero-filled text of a fixed size, formatted like printf and cut where it does not fit.
template <std::size_t Size>
class FixedText {
public:
    FixedText() = default;
    __attribute__((format(printf, 2, 3))) explicit FixedText(const char* format, ...) {
        va_list values;
        va_start(values, format);
        cut_ = std::vsnprintf(text_, Size, format, values) >= static_cast<int>(Size);
        va_end(values);
    }
    const char* get() const { return text_; }
    char* get() { return text_; }
    bool cut() const { return cut_; }  // the text did not fit

private:
    char text_[Size] = {};
    bool cut_ = false;
};

using DeviceName = FixedText<32>;     // bridge and device names
using CommandText = FixedText<1024>;  // shell commands

#endif
