#pragma once

/// @file
/// Texts that exhaust a small space.

#include <cstddef>
#include <string>
#include <vector>

namespace texts {

/// Every text of up to `longest` of the parts, one right after the other, the shorter ones first.
template <class Text, class Parts>
std::vector<Text> joined(const Parts& parts, std::size_t longest) {
    std::vector<Text> texts{Text()};
    std::size_t first = 0;
    for (std::size_t length = 0; length < longest; ++length) {
        for (const std::size_t last = texts.size(); first < last; ++first) {
            for (const auto& part : parts) {
                texts.push_back(texts[first] + part);
            }
        }
    }
    return texts;
}

/// Every text of up to `longest` characters of `alphabet`, the shorter ones first.
template <class String>
std::vector<String> over(const String& alphabet, std::size_t longest) {
    return joined<String>(alphabet, longest);
}

/// The 256 bytes in order, NUL first.
inline std::string all_bytes() {
    std::string bytes;
    for (int byte = 0; byte <= 255; ++byte) {
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

} // namespace texts
