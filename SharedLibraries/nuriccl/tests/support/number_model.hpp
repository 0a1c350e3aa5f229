#pragma once

/// @file
/// What numbers have to look like as text, and what texts have to mean as numbers, a digit at a
/// time; the tests and the fuzz target hold the library against it.

#include <limits>
#include <string>
#include <utility>

namespace number_model {

/// The digits of `bits`, one division at a time.
inline std::string digits_of(unsigned long long bits, unsigned int radix) {
    std::string digits;
    do {
        digits.insert(digits.begin(), "0123456789abcdef"[bits % radix]);
        bits /= radix;
    } while (bits != 0);
    return digits;
}

inline unsigned int digit_value(char c) {
    if (c >= '0' && c <= '9') {
        return static_cast<unsigned int>(c - '0');
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<unsigned int>(c - 'a' + 10);
    }
    return c >= 'A' && c <= 'F' ? static_cast<unsigned int>(c - 'A' + 10) : 16;
}

/// Whether there is a number at the start of a text that is not empty, and what is stored: the
/// number, 0 where there is none, and the highest one for all beyond.
template <class Unsigned>
std::pair<bool, Unsigned> number(const std::string& text, unsigned int radix) {
    constexpr unsigned long long highest = std::numeric_limits<Unsigned>::max();
    std::size_t position = text.find_first_not_of(" \t\n\v\f\r");
    if (position == std::string::npos) {
        return {false, Unsigned{0}};
    }
    const bool negative = text[position] == '-';
    if (negative || text[position] == '+') {
        ++position;
    }
    const std::string prefix = text.substr(position, 2);
    if (radix == 16 && (prefix == "0x" || prefix == "0X")) {
        position += 2;
    }
    bool found = false;
    bool beyond = false;
    unsigned long long value = 0;
    for (; position < text.size() && digit_value(text[position]) < radix; ++position) {
        const unsigned int digit = digit_value(text[position]);
        found = true;
        beyond = beyond || value > (highest - digit) / radix;
        value = value * radix + digit;
    }
    if (beyond) {
        return {false, static_cast<Unsigned>(highest)};
    }
    return {found, static_cast<Unsigned>(negative ? 0 - value : value)};
}

} // namespace number_model
