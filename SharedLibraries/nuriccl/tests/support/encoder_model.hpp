#pragma once

/// @file
/// What encoding and decoding names has to give, one character at a time; the tests and the fuzz
/// target hold the library against it.

#include <cctype>
#include <cstddef>
#include <ios>
#include <sstream>
#include <string>

namespace encoder_model {

inline unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

inline bool contains(const std::string& set, char c) { return set.find(c) != std::string::npos; }

inline std::string encode(const std::string& text, const std::string& set, char esc) {
    const std::string digits = "0123456789abcdef";
    std::string encoded;
    for (const char c : text) {
        if (contains(set, c)) {
            encoded += {esc, digits[to_byte(c) / 16], digits[to_byte(c) % 16]};
        } else {
            encoded += c;
        }
    }
    return encoded;
}

inline unsigned int digit(char c) {
    const std::size_t lower = std::string("0123456789abcdef").find(c);
    const std::size_t upper = std::string("0123456789ABCDEF").find(c);
    return static_cast<unsigned int>(lower != std::string::npos   ? lower
                                     : upper != std::string::npos ? upper
                                                                  : 0);
}

/// Decoding in place; what lies behind the end is a digit of value 0.
inline std::string decode_in_place(const std::string& text, char esc) {
    const std::string padded = text + std::string(2, '\0');
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (padded[i] == esc) {
            decoded += static_cast<char>(digit(padded[i + 1]) * 16 + digit(padded[i + 2]));
            i += 2;
        } else {
            decoded += padded[i];
        }
    }
    return decoded;
}

/// The digits of decode(text), which are not validated.
inline int believed_digit(char c) {
    if (contains("0123456789", c)) {
        return c - '0';
    }
    return std::isupper(to_byte(c)) != 0 ? c - 55 : c - 87;
}

inline std::string decode(const std::string& text) {
    std::string decoded;
    std::size_t i = 0;
    while (i < text.size()) {
        if (text[i] != '%') {
            decoded += text[i++];
            continue;
        }
        if (i + 2 > text.size()) {
            break;
        }
        const char second = i + 2 < text.size() ? text[i + 2] : '\0';
        const int value = believed_digit(text[i + 1]) * 16 + believed_digit(second);
        decoded += static_cast<char>(static_cast<unsigned int>(value) % 256);
        i += 3;
    }
    return decoded;
}

inline std::string decode_vm_name(const std::string& name) {
    std::string decoded;
    for (std::size_t i = 0; i < name.size();) {
        if (name[i] != '%' || i + 3 > name.size()) {
            decoded += name[i++];
            continue;
        }
        std::istringstream digits(name.substr(i + 1, 2));
        int value = 0;
        if (digits >> std::hex >> value && (value == 37 || value == 47 || value == 92)) {
            decoded += static_cast<char>(value);
        } else {
            decoded += name.substr(i, 3);
        }
        i += 3;
    }
    return decoded;
}

} // namespace encoder_model
