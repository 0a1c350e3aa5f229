#pragma once

/// @file
/// Base64 (RFC 4648, section 4) by way of a text of bits. Slow and simple; the tests and the fuzz
/// target hold the codec against it.

#include <cstddef>
#include <optional>
#include <string>

namespace base64_model {

inline const std::string DIGITS =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The lowest `count` bits of a value, the highest of them first, as '0' and '1'.
inline std::string bits_of(std::size_t value, int count) {
    std::string bits;
    while (count-- > 0) {
        bits += (value >> count) % 2 != 0 ? '1' : '0';
    }
    return bits;
}

inline std::size_t value_of(const std::string& bits) {
    std::size_t value = 0;
    for (const char bit : bits) {
        value = value * 2 + (bit == '1' ? 1 : 0);
    }
    return value;
}

inline std::string encode(const std::string& bytes) {
    std::string bits;
    for (const char byte : bytes) {
        bits += bits_of(static_cast<unsigned char>(byte), 8);
    }
    while (bits.size() % 6 != 0) {
        bits += '0';
    }
    std::string text;
    for (std::size_t i = 0; i < bits.size(); i += 6) {
        text += DIGITS[value_of(bits.substr(i, 6))];
    }
    while (text.size() % 4 != 0) {
        text += '=';
    }
    return text;
}

/// The bytes, or nothing when the text is malformed. Bits that fill up the last digit may be
/// anything.
inline std::optional<std::string> decode(const std::string& text) {
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::size_t padding = 0;
    while (padding < text.size() && text[text.size() - 1 - padding] == '=') {
        ++padding;
    }
    if (padding > 2) {
        return std::nullopt;
    }
    std::string bits;
    for (std::size_t i = 0; i < text.size() - padding; ++i) {
        const std::size_t digit = DIGITS.find(text[i]);
        if (digit == std::string::npos) {
            return std::nullopt;
        }
        bits += bits_of(digit, 6);
    }
    std::string bytes;
    for (std::size_t i = 0; i + 8 <= bits.size(); i += 8) {
        bytes += static_cast<char>(value_of(bits.substr(i, 8)));
    }
    return bytes;
}

} // namespace base64_model
