#include <nuriagent/base64.hpp>

#include <array>
#include <cstdint>
#include <cstring>

namespace base64 {

namespace {

constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char PADDING = '=';

constexpr unsigned char NO_DIGIT = 0xff;

// Value of each character as a digit.
constexpr std::array<unsigned char, 256> make_values() {
    std::array<unsigned char, 256> values{};
    for (unsigned char& value : values) {
        value = NO_DIGIT;
    }
    for (unsigned char i = 0; i < 64; ++i) {
        values[static_cast<unsigned char>(ALPHABET[i])] = i;
    }
    return values;
}

constexpr std::array<unsigned char, 256> VALUES = make_values();

unsigned char value_of(char c) { return VALUES[static_cast<unsigned char>(c)]; }

void report(Results* results, int status) {
    if (results != nullptr) {
        results->status = status;
    }
}

void encode_group(const unsigned char* bytes, char* out) {
    out[0] = ALPHABET[bytes[0] >> 2];
    out[1] = ALPHABET[(bytes[0] & 3) << 4 | bytes[1] >> 4];
    out[2] = ALPHABET[(bytes[1] & 15) << 2 | bytes[2] >> 6];
    out[3] = ALPHABET[bytes[2] & 63];
}

void decode_group(const char* text, unsigned char* out) {
    const auto bits = static_cast<std::uint32_t>(value_of(text[0]) << 18 | value_of(text[1]) << 12 |
                                                 value_of(text[2]) << 6 | value_of(text[3]));
    out[0] = static_cast<unsigned char>(bits >> 16);
    out[1] = static_cast<unsigned char>(bits >> 8);
    out[2] = static_cast<unsigned char>(bits);
}

// Number of padding characters at the end; 3 or more is not asked for.
unsigned int padding_of(const char* text, unsigned long long length) {
    return length == 0 || text[length - 1] != PADDING ? 0 : text[length - 2] != PADDING ? 1 : 2;
}

// Whether all characters are digits.
bool are_digits(const char* text, unsigned long long length) {
    unsigned char all = 0; // a digit has 6 bits
    for (unsigned long long i = 0; i < length; ++i) {
        all = static_cast<unsigned char>(all | value_of(text[i]));
    }
    return all < 64;
}

} // namespace

Base64& Base64::GetInstance() noexcept {
    static Base64 instance;
    return instance;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): codecs in its place have a state
unsigned long long Base64::Encode(const void* source, unsigned long long length, char* destination,
                                  unsigned long long size, Results* results) const noexcept {
    if (source == nullptr) {
        length = 0;
    }
    const unsigned long long groups = length / 3;
    const auto rest = static_cast<std::size_t>(length % 3);
    const unsigned long long needed = (groups + (rest != 0 ? 1 : 0)) * 4;
    if (destination == nullptr || size < needed) {
        report(results, Results::SIZE_REPORTED);
        return needed;
    }
    const auto* bytes = static_cast<const unsigned char*>(source);
    for (unsigned long long i = 0; i < groups; ++i, bytes += 3, destination += 4) {
        encode_group(bytes, destination);
    }
    if (rest != 0) {
        unsigned char last[3] = {};
        std::memcpy(last, bytes, rest);
        encode_group(last, destination);
        std::memset(destination + 1 + rest, PADDING, 3 - rest);
    }
    report(results, Results::DONE);
    return needed;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static)
unsigned long long Base64::Decode(const char* source, unsigned long long length, void* destination,
                                  unsigned long long size, Results* results) const noexcept {
    if (source == nullptr) {
        length = 0;
    }
    const unsigned int padding = length % 4 == 0 ? padding_of(source, length) : 0;
    if (length % 4 != 0 || !are_digits(source, length - padding)) {
        report(results, Results::MALFORMED);
        return 0;
    }
    const unsigned long long needed = length / 4 * 3 - padding;
    if (destination == nullptr || size < needed) {
        report(results, Results::SIZE_REPORTED);
        return needed;
    }
    auto* bytes = static_cast<unsigned char*>(destination);
    const unsigned long long whole = length / 4 - (padding != 0 ? 1 : 0);
    for (unsigned long long i = 0; i < whole; ++i, source += 4, bytes += 3) {
        decode_group(source, bytes);
    }
    if (padding != 0) {
        char text[4] = {ALPHABET[0], ALPHABET[0], ALPHABET[0], ALPHABET[0]};
        std::memcpy(text, source, 4 - padding);
        unsigned char last[3];
        decode_group(text, last);
        std::memcpy(bytes, last, 3 - padding);
    }
    report(results, Results::DONE);
    return needed;
}

} // namespace base64
