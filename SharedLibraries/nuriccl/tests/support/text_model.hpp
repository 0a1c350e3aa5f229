#pragma once

/// @file
/// What the utilities for text have to give, one character at a time. Slow and simple; the tests
/// and the fuzz targets hold the library against it.

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>
#include <utility>

namespace text_model {

inline unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

inline bool contains(const std::string& set, char c) { return set.find(c) != std::string::npos; }

inline std::string crop_left(std::string text, const std::string& set) {
    while (!text.empty() && contains(set, text.front())) {
        text.erase(0, 1);
    }
    return text;
}

inline std::string crop_right(std::string text, const std::string& set) {
    while (!text.empty() && contains(set, text.back())) {
        text.pop_back();
    }
    return text;
}

inline std::string crop_both(const std::string& text, const std::string& set) {
    return crop_right(crop_left(text, set), set);
}

/// Left to right, one position at a time.
inline std::pair<bool, std::string> replace(const std::string& text, const std::string& from,
                                            const std::string& to) {
    bool found = false;
    std::string result;
    for (std::size_t position = 0; position < text.size();) {
        if (text.compare(position, from.size(), from) == 0) {
            found = true;
            result += to;
            position += from.size();
        } else {
            result += text[position++];
        }
    }
    return {found, result};
}

/// ASCII only, as in the classic locale.
inline char upper(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

inline std::string upper(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) { return upper(c); });
    return text;
}

inline int ifind(const std::string& haystack, const std::string& needle) {
    for (std::size_t start = 0; start < haystack.size() && !needle.empty(); ++start) {
        std::size_t matched = 0;
        while (matched < needle.size() && start + matched < haystack.size() &&
               upper(haystack[start + matched]) == upper(needle[matched])) {
            ++matched;
        }
        if (matched == needle.size()) {
            return static_cast<int>(start);
        }
    }
    return -1;
}

/// One replacement after the other over the whole text, each search going on behind what it
/// replaced. In either character width.
template <class Text>
void replace_all(Text& text, const std::string& from, const std::string& to) {
    const Text old(from.begin(), from.end());
    const Text fresh(to.begin(), to.end());
    for (std::size_t position = 0; (position = text.find(old, position)) != Text::npos;
         ++position) {
        text.replace(position, old.size(), fresh);
    }
}

template <class Text>
Text xml_escape(Text text) {
    replace_all(text, "&", "&amp;");
    replace_all(text, "<", "&lt;");
    replace_all(text, ">", "&gt;");
    return text;
}

template <class Text>
Text xml_unescape(Text text) {
    replace_all(text, "&gt;", ">");
    replace_all(text, "&lt;", "<");
    replace_all(text, "&amp;", "&");
    return text;
}

inline std::string reference(char c) {
    const unsigned int byte = to_byte(c);
    if ((byte >= 0x01 && byte <= 0x1f) || (byte >= 0x7f && byte <= 0x9f)) {
        char reference[16];
        std::snprintf(reference, sizeof reference, "&#x%.2X;", byte);
        return reference;
    }
    return std::string(1, c);
}

inline std::string hex_dump(const std::string& data, const char* title, const char* prefix) {
    std::string out;
    if (title != nullptr) {
        out = std::string(title) + '\n';
    }
    for (std::size_t offset = 0; offset < data.size(); offset += 16) {
        std::string digits;
        std::string characters;
        for (std::size_t i = offset; i < offset + 16; ++i) {
            if (i >= data.size()) {
                digits += "  ";
                characters += ' ';
                continue;
            }
            const unsigned int byte = to_byte(data[i]);
            digits += "0123456789abcdef"[byte / 16];
            digits += "0123456789abcdef"[byte % 16];
            characters += byte >= 0x20 && byte <= 0x7e ? data[i] : '.';
        }
        if (prefix != nullptr) {
            out += std::string(prefix) + ' ';
        }
        char line[128];
        std::snprintf(line, sizeof line, "%04x  %s ** %s **\n", static_cast<unsigned int>(offset),
                      digits.c_str(), characters.c_str());
        out += line;
    }
    return out;
}

} // namespace text_model
