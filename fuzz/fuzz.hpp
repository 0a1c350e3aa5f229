#pragma once

/// @file
/// What the fuzz targets share: the entry point, called by libFuzzer and by the replay of the
/// corpus, and the check of a property.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

/// Tells which property does not hold and ends the process, which libFuzzer reports with the input.
[[noreturn]] inline void property_failed(const char* file, int line, const char* property) {
    std::cerr << file << ':' << line << ": does not hold: " << property << std::endl;
    std::abort();
}

/// Checks a property of the input. Not `assert`: that is off in the optimised builds in which the
/// corpus is replayed.
#define FUZZ_REQUIRE(property)                                                                     \
    ((property) ? void() : property_failed(__FILE__, __LINE__, #property))

/// The input as text.
inline std::string text_of(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// The text with most bytes made to stand for one of a few characters, of which there are less than
/// 224: so that a target meets what it looks for.
template <std::size_t SIZE>
std::string spelled(std::string text, const char (&characters)[SIZE]) {
    for (char& c : text) {
        const auto byte = static_cast<unsigned char>(c);
        c = byte < 0xE0 ? characters[byte % (SIZE - 1)] : c;
    }
    return text;
}

/// A literal in either character width.
template <class Text>
Text widened(const char* text) {
    const std::string narrow = text;
    return Text(narrow.begin(), narrow.end());
}

/// Reads an input piece by piece; past its end it reads as zeros.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

    bool empty() const { return next_ == end_; }

    std::uint8_t byte() { return empty() ? std::uint8_t{0} : *next_++; }

    /// A character, now and then one that is none. Of four bytes a character would hardly ever come
    /// out as one that a code page has.
    wchar_t wide_character() {
        const unsigned int first = byte();
        if (first < 0x80) {
            return static_cast<wchar_t>(first);
        }
        switch (first % 8) {
        case 0: // two bytes in UTF-8
            return static_cast<wchar_t>(0x80 + number(2) % 0x780);
        case 1: // combining
            return static_cast<wchar_t>(0x300 + byte() % 0x70);
        case 2: // Chinese
            return static_cast<wchar_t>(0x4e00 + number(2) % 0x5200);
        case 3:
            return static_cast<wchar_t>(number(2));
        case 4:
            return static_cast<wchar_t>(0x10000 + number(3) % 0x100000);
        case 5: // a surrogate
            return static_cast<wchar_t>(0xd800 + number(2) % 0x800);
        case 6: // a tag
            return static_cast<wchar_t>(0xe0000 + byte() % 0x80);
        default:
            return static_cast<wchar_t>(number(4));
        }
    }

    /// What has not been read yet, as characters.
    std::wstring wide_rest() {
        std::wstring text;
        while (!empty()) {
            text += wide_character();
        }
        return text;
    }

    /// What has not been read yet.
    std::string rest() const { return text_of(next_, static_cast<std::size_t>(end_ - next_)); }

private:
    std::uint32_t number(int bytes) {
        std::uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) {
            value = value << 8 | byte();
        }
        return value;
    }

    const std::uint8_t* next_;
    const std::uint8_t* end_;
};
