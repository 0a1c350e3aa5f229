#include "base64.hpp"

#include <array>
#include <cstdint>

namespace kernels {

namespace {

constexpr char ALPHABET[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

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

} // namespace

void base64_encode_portable(const unsigned char* bytes, std::size_t groups, char* text) noexcept {
    for (; groups != 0; --groups, bytes += 3, text += 4) {
        text[0] = ALPHABET[bytes[0] >> 2];
        text[1] = ALPHABET[(bytes[0] & 3) << 4 | bytes[1] >> 4];
        text[2] = ALPHABET[(bytes[1] & 15) << 2 | bytes[2] >> 6];
        text[3] = ALPHABET[bytes[2] & 63];
    }
}

bool base64_check_portable(const char* text, std::size_t length) noexcept {
    unsigned char all = 0; // a digit has 6 bits
    for (std::size_t i = 0; i < length; ++i) {
        all = static_cast<unsigned char>(all | value_of(text[i]));
    }
    return all < 64;
}

void base64_decode_portable(const char* text, std::size_t groups, unsigned char* bytes) noexcept {
    for (; groups != 0; --groups, text += 4, bytes += 3) {
        const auto bits =
            static_cast<std::uint32_t>(value_of(text[0]) << 18 | value_of(text[1]) << 12 |
                                       value_of(text[2]) << 6 | value_of(text[3]));
        bytes[0] = static_cast<unsigned char>(bits >> 16);
        bytes[1] = static_cast<unsigned char>(bits >> 8);
        bytes[2] = static_cast<unsigned char>(bits);
    }
}

void base64_encode(const unsigned char* bytes, std::size_t groups, char* text) noexcept {
    static constexpr Variant<Base64Encode> VARIANTS[] = {{VBMI, base64_encode_vbmi},
                                                         {AVX2, base64_encode_avx2},
                                                         {SSSE3, base64_encode_ssse3},
                                                         {SSE2, base64_encode_portable}};
    static Base64Encode* const best = best_of(VARIANTS);
    best(bytes, groups, text);
}

bool base64_check(const char* text, std::size_t length) noexcept {
    static constexpr Variant<Base64Check> VARIANTS[] = {{VBMI, base64_check_vbmi},
                                                        {AVX2, base64_check_avx2},
                                                        {SSSE3, base64_check_ssse3},
                                                        {SSE2, base64_check_portable}};
    static Base64Check* const best = best_of(VARIANTS);
    return best(text, length);
}

void base64_decode(const char* text, std::size_t groups, unsigned char* bytes) noexcept {
    static constexpr Variant<Base64Decode> VARIANTS[] = {{VBMI, base64_decode_vbmi},
                                                         {AVX2, base64_decode_avx2},
                                                         {SSSE3, base64_decode_ssse3},
                                                         {SSE2, base64_decode_portable}};
    static Base64Decode* const best = best_of(VARIANTS);
    best(text, groups, bytes);
}

} // namespace kernels
