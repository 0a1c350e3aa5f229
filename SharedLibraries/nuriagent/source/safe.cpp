#include <nuriagent/safe.hpp>

#include <charconv>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace safe {

void MemoryCopy(void* destination, unsigned int destination_size, const void* source,
                unsigned int count) {
    if (count > destination_size) {
        throw std::range_error("Cannot copy " + std::to_string(count) + " bytes into a space of " +
                               std::to_string(destination_size) + " bytes.");
    }
    if (count != 0) {
        std::memcpy(destination, source, count);
    }
}

std::int32_t StringToInt32(const std::string& text) noexcept {
    const char* first = text.data();
    const char* const last = first + text.size();
    while (first != last && *first == ' ') {
        ++first;
    }
    // from_chars knows the minus sign but not the plus sign.
    const bool negative = first != last && *first == '-';
    if (first != last && *first == '+') {
        ++first;
        if (first != last && *first == '-') {
            return 0;
        }
    }
    std::int32_t value = 0;
    if (std::from_chars(first, last, value).ec == std::errc::result_out_of_range) {
        using limits = std::numeric_limits<std::int32_t>;
        return negative ? limits::min() : limits::max();
    }
    return value;
}

} // namespace safe
