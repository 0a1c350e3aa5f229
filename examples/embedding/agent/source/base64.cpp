#include <nuriagent/base64.hpp>

#include <cstddef>
#include <string_view>

namespace base64 {

namespace {

constexpr std::string_view ALPHABET =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

void report(Results* results, int status) {
    if (results != nullptr) {
        results->status = status;
    }
}

// Whether there is room, which is reported either way.
bool has_room(const void* destination, unsigned long long size, unsigned long long needed,
              Results* results) {
    const bool room = destination != nullptr && size >= needed;
    report(results, room ? Results::DONE : Results::SIZE_REPORTED);
    return room;
}

// The value of a digit; for any other character, what is no value.
std::size_t value_of(char digit) { return ALPHABET.find(digit); }

bool is_base64(const char* text, unsigned long long length, unsigned long long digits) {
    bool good = length % 4 == 0;
    for (unsigned long long i = 0; good && i < digits; ++i) {
        good = value_of(text[i]) != std::string_view::npos;
    }
    return good;
}

} // namespace

Base64& Base64::GetInstance() noexcept {
    static Base64 instance;
    return instance;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): nuriccl calls an object
unsigned long long Base64::Encode(const void* source, unsigned long long length, char* destination,
                                  unsigned long long size, Results* results) const noexcept {
    length = source != nullptr ? length : 0;
    const unsigned long long needed = (length + 2) / 3 * 4;
    if (!has_room(destination, size, needed, results)) {
        return needed;
    }
    const auto* const bytes = static_cast<const unsigned char*>(source);
    for (unsigned long long at = 0; at < length; at += 3) {
        const unsigned long long left = length - at;
        const unsigned int group = static_cast<unsigned int>(bytes[at]) << 16 |
                                   (left > 1 ? static_cast<unsigned int>(bytes[at + 1]) << 8 : 0) |
                                   (left > 2 ? bytes[at + 2] : 0U);
        *destination++ = ALPHABET[group >> 18];
        *destination++ = ALPHABET[group >> 12 & 63];
        *destination++ = left > 1 ? ALPHABET[group >> 6 & 63] : '=';
        *destination++ = left > 2 ? ALPHABET[group & 63] : '=';
    }
    return needed;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
unsigned long long Base64::Decode(const char* source, unsigned long long length, void* destination,
                                  unsigned long long size, Results* results) const noexcept {
    length = source != nullptr ? length : 0;
    unsigned long long digits = length;
    for (int padding = 0; padding < 2 && digits != 0 && source[digits - 1] == '='; ++padding) {
        --digits;
    }
    if (!is_base64(source, length, digits)) {
        report(results, Results::MALFORMED);
        return 0;
    }
    const unsigned long long needed = digits * 3 / 4;
    if (!has_room(destination, size, needed, results)) {
        return needed;
    }
    auto* bytes = static_cast<unsigned char*>(destination);
    unsigned int bits = 0;
    for (unsigned long long i = 0; i < digits; ++i) {
        bits = bits << 6 | static_cast<unsigned int>(value_of(source[i]));
        if (i % 4 != 0) {
            *bytes++ = static_cast<unsigned char>(bits >> (6 - 2 * (i % 4)));
        }
    }
    return needed;
}

} // namespace base64
