// Base64 with AVX-512, where a lookup in 64 or 128 bytes is one instruction.

#include "base64.hpp"

#include <cstdint>
#include <immintrin.h>

namespace kernels {

namespace {

constexpr std::size_t GROUPS = 16; // of a vector

constexpr __mmask64 GROUP_BYTES = 0xffffffffffff; // the 48 bytes of so many groups

struct Bytes64 {
    alignas(64) char bytes[64];
};

__m512i load(const Bytes64& table) { return _mm512_load_si512(table.bytes); }

constexpr Bytes64 ALPHABET = {{'A', 'B', 'C', 'D', 'E', 'F', 'G', 'H', 'I', 'J', 'K', 'L', 'M',
                               'N', 'O', 'P', 'Q', 'R', 'S', 'T', 'U', 'V', 'W', 'X', 'Y', 'Z',
                               'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h', 'i', 'j', 'k', 'l', 'm',
                               'n', 'o', 'p', 'q', 'r', 's', 't', 'u', 'v', 'w', 'x', 'y', 'z',
                               '0', '1', '2', '3', '4', '5', '6', '7', '8', '9', '+', '/'}};

constexpr char NO_DIGIT = -128;

// Values of the characters from `first` on.
constexpr Bytes64 values_from(int first) {
    Bytes64 values{};
    for (char& value : values.bytes) {
        value = NO_DIGIT;
    }
    for (int i = 0; i < 64; ++i) {
        const int place = ALPHABET.bytes[i] - first;
        if (place >= 0 && place < 64) {
            values.bytes[place] = static_cast<char>(i);
        }
    }
    return values;
}

constexpr Bytes64 LOW_VALUES = values_from(0);
constexpr Bytes64 HIGH_VALUES = values_from(64);

// Each group as the word b a c b, in which every digit is a run of bits.
constexpr Bytes64 make_spread() {
    Bytes64 places{};
    for (int group = 0; group < 16; ++group) {
        const int order[] = {1, 0, 2, 1};
        for (int i = 0; i < 4; ++i) {
            places.bytes[group * 4 + i] = static_cast<char>(group * 3 + order[i]);
        }
    }
    return places;
}

// The three bytes of each word, the highest one first.
constexpr Bytes64 make_gather() {
    Bytes64 places{};
    for (int i = 0; i < 48; ++i) {
        places.bytes[i] = static_cast<char>(i / 3 * 4 + 2 - i % 3);
    }
    return places;
}

constexpr Bytes64 SPREAD = make_spread();
constexpr Bytes64 GATHER = make_gather();

__m512i values_of(__m512i text) {
    return _mm512_permutex2var_epi8(load(LOW_VALUES), text, load(HIGH_VALUES));
}

__m512i encode(__m512i bytes) {
    // Where the digits of two words begin: at bit 10, 4, 22, 16 of each.
    const __m512i shifts = _mm512_set1_epi64(0x3036242a1016040a);
    const __m512i spread = _mm512_permutexvar_epi8(load(SPREAD), bytes);
    return _mm512_permutexvar_epi8(_mm512_multishift_epi64_epi8(shifts, spread), load(ALPHABET));
}

// Adds the characters that are no digits to `bad`, where they leave the highest bit of a byte.
__m512i add_bad_digits(__m512i bad, __m512i text) {
    constexpr int OR_OF_THREE = 0xfe;
    return _mm512_ternarylogic_epi64(bad, text, values_of(text), OR_OF_THREE);
}

__m512i decode(__m512i text) {
    const __m512i halves = _mm512_maddubs_epi16(values_of(text), _mm512_set1_epi32(0x01400140));
    const __m512i words = _mm512_madd_epi16(halves, _mm512_set1_epi32(0x00011000));
    return _mm512_permutexvar_epi8(load(GATHER), words);
}

} // namespace

// What comes last is done in a vector that ends where the text ends, and repeats some of what was
// done.

void base64_encode_vbmi(const unsigned char* bytes, std::size_t groups, char* text) noexcept {
    if (groups < GROUPS) {
        return base64_encode_avx2(bytes, groups, text);
    }
    const unsigned char* const last = bytes + (groups - GROUPS) * 3;
    char* const last_text = text + (groups - GROUPS) * 4;
    for (; bytes < last; bytes += GROUPS * 3, text += GROUPS * 4) {
        _mm512_storeu_si512(text, encode(_mm512_maskz_loadu_epi8(GROUP_BYTES, bytes)));
    }
    _mm512_storeu_si512(last_text, encode(_mm512_maskz_loadu_epi8(GROUP_BYTES, last)));
}

bool base64_check_vbmi(const char* text, std::size_t length) noexcept {
    if (length < 64) {
        return base64_check_avx2(text, length);
    }
    const char* const last = text + length - 64;
    __m512i bad = add_bad_digits(_mm512_setzero_si512(), _mm512_loadu_si512(last));
    for (; text < last; text += 64) {
        bad = add_bad_digits(bad, _mm512_loadu_si512(text));
    }
    return _mm512_movepi8_mask(bad) == 0;
}

void base64_decode_vbmi(const char* text, std::size_t groups, unsigned char* bytes) noexcept {
    if (groups < GROUPS) {
        return base64_decode_avx2(text, groups, bytes);
    }
    const char* const last = text + (groups - GROUPS) * 4;
    unsigned char* const last_bytes = bytes + (groups - GROUPS) * 3;
    const __m512i last_digits = _mm512_loadu_si512(last); // before bytes are written there
    for (; text < last; text += GROUPS * 4, bytes += GROUPS * 3) {
        _mm512_mask_storeu_epi8(bytes, GROUP_BYTES, decode(_mm512_loadu_si512(text)));
    }
    _mm512_mask_storeu_epi8(last_bytes, GROUP_BYTES, decode(last_digits));
}

} // namespace kernels
