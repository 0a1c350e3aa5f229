#pragma once

/// @file
/// Texts that exhaust a small space.

#include "sanitized.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace texts {

/// Every text of up to `longest` of the parts, one right after the other, the shorter ones first.
/// With a sanitizer, one in seven of those that have as many as that, when it is more than two.
template <class Text, class Parts>
std::vector<Text> joined(const Parts& parts, std::size_t longest) {
    std::vector<Text> texts{Text()};
    std::size_t first = 0;
    std::size_t made = 0;
    for (std::size_t length = 0; length < longest; ++length) {
        const std::size_t stride = length + 1 == longest && longest > 2 ? AFFORDABLE_STRIDE : 1;
        for (const std::size_t last = texts.size(); first < last; ++first) {
            for (const auto& part : parts) {
                if (made++ % stride == 0) {
                    texts.push_back(texts[first] + part);
                }
            }
        }
    }
    return texts;
}

/// Every text of up to `longest` characters of `alphabet`, the shorter ones first; see `joined`.
template <class String>
std::vector<String> over(const String& alphabet, std::size_t longest) {
    return joined<String>(alphabet, longest);
}

/// All of many; with a sanitizer, one in seven.
template <class Many>
Many affordable(const Many& all) {
    Many some;
    for (std::size_t i = 0; i < all.size(); i += AFFORDABLE_STRIDE) {
        some.push_back(all[i]);
    }
    return some;
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
