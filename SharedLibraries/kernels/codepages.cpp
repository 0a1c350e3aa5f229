#include "codepages.hpp"

#include <cstddef>
#include <cstdint>
#include <emmintrin.h>

namespace kernels {

namespace {

static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32");

constexpr std::ptrdiff_t STEP = 16;
constexpr std::ptrdiff_t HALF_STEP = 8;

std::uint32_t value_of(char c) { return static_cast<unsigned char>(c); }

std::uint32_t value_of(wchar_t c) { return static_cast<std::uint32_t>(c); }

// ASCII, 16 characters at a time as long as there are so many and room for them, and then perhaps 8. They
// may be written beyond the place that is returned.

Progress<char, wchar_t> decode_run(const char* from, const char* end, wchar_t* to,
                                   wchar_t* to_end) {
    while (end - from >= STEP && to_end - to >= STEP) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i zero = _mm_setzero_si128();
        const __m128i low = _mm_unpacklo_epi8(bytes, zero);
        const __m128i high = _mm_unpackhi_epi8(bytes, zero);
        auto* const place = reinterpret_cast<__m128i*>(to);
        _mm_storeu_si128(place, _mm_unpacklo_epi16(low, zero));
        _mm_storeu_si128(place + 1, _mm_unpackhi_epi16(low, zero));
        _mm_storeu_si128(place + 2, _mm_unpacklo_epi16(high, zero));
        _mm_storeu_si128(place + 3, _mm_unpackhi_epi16(high, zero));
        const int others = _mm_movemask_epi8(bytes);
        if (others != 0) {
            const int count = __builtin_ctz(static_cast<unsigned int>(others));
            return {from + count, to + count};
        }
        from += STEP;
        to += STEP;
    }
    if (end - from >= HALF_STEP && to_end - to >= HALF_STEP) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from));
        const __m128i zero = _mm_setzero_si128();
        const __m128i low = _mm_unpacklo_epi8(bytes, zero);
        auto* const place = reinterpret_cast<__m128i*>(to);
        _mm_storeu_si128(place, _mm_unpacklo_epi16(low, zero));
        _mm_storeu_si128(place + 1, _mm_unpackhi_epi16(low, zero));
        const int others = _mm_movemask_epi8(bytes);
        const auto count =
            others != 0 ? __builtin_ctz(static_cast<unsigned int>(others)) : HALF_STEP;
        from += count;
        to += count;
    }
    return {from, to};
}

Progress<wchar_t, char> encode_run(const wchar_t* from, const wchar_t* end, char* to,
                                   char* to_end) {
    while (end - from >= STEP && to_end - to >= STEP) {
        const auto* const place = reinterpret_cast<const __m128i*>(from);
        const __m128i a = _mm_loadu_si128(place);
        const __m128i b = _mm_loadu_si128(place + 1);
        const __m128i c = _mm_loadu_si128(place + 2);
        const __m128i d = _mm_loadu_si128(place + 3);
        // Saturation makes bytes beyond ASCII of what is positive, and 0 of what is not.
        const __m128i bytes = _mm_packus_epi16(_mm_packs_epi32(a, b), _mm_packs_epi32(c, d));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
        const __m128i all = _mm_or_si128(_mm_or_si128(a, b), _mm_or_si128(c, d));
        if (_mm_movemask_epi8(_mm_cmpeq_epi32(_mm_and_si128(all, _mm_set1_epi32(~0x7f)),
                                              _mm_setzero_si128())) != 0xffff) {
            int count = 0;
            while (value_of(from[count]) < 0x80) {
                ++count;
            }
            return {from + count, to + count};
        }
        from += STEP;
        to += STEP;
    }
    return {from, to};
}

// Calls `convert` for one character after the other as long as it finds one that it covers, and the
// vector loop of ASCII where a run of it begins.
template <class From, class To, class Run, class Convert>
Progress<From, To> convert_all(Progress<From, To> at, const From* end, To* to_end, Run run,
                               Convert convert) {
    while (at.from != end && at.to != to_end) {
        if (value_of(*at.from) < 0x80) {
            const Progress<From, To> before = at;
            at = run(at.from, end, at.to, to_end);
            if (at.from == before.from) { // near an end, or in front of something else
                *at.to++ = static_cast<To>(*at.from++);
            }
        } else if (!convert(at)) {
            break;
        }
    }
    return at;
}

// UTF-8

bool is_continuation(std::uint32_t byte) { return (byte & 0xc0) == 0x80; }

// One character of two to four bytes, if it is whole and well-formed.
bool decode_sequence(Progress<char, wchar_t>& at, const char* end) {
    const std::uint32_t lead = value_of(*at.from);
    const std::ptrdiff_t left = end - at.from;
    const auto next = [&at](int i) { return value_of(at.from[i]); };
    std::uint32_t value = 0;
    int length = 0;
    if (lead >= 0xc2 && lead < 0xe0) {
        if (left < 2 || !is_continuation(next(1))) {
            return false;
        }
        length = 2;
        value = (lead & 0x1f) << 6 | (next(1) & 0x3f);
    } else if ((lead & 0xf0) == 0xe0) {
        if (left < 3 || !is_continuation(next(1)) || !is_continuation(next(2))) {
            return false;
        }
        length = 3;
        value = (lead & 0x0f) << 12 | (next(1) & 0x3f) << 6 | (next(2) & 0x3f);
        if (value < 0x800 || (value & 0xfffff800) == 0xd800) {
            return false; // too long, or half a surrogate pair
        }
    } else if (lead >= 0xf0 && lead < 0xf5) {
        if (left < 4 || !is_continuation(next(1)) || !is_continuation(next(2)) ||
            !is_continuation(next(3))) {
            return false;
        }
        length = 4;
        value =
            (lead & 0x07) << 18 | (next(1) & 0x3f) << 12 | (next(2) & 0x3f) << 6 | (next(3) & 0x3f);
        if (value < 0x10000 || value > 0x10ffff) {
            return false;
        }
    } else {
        return false;
    }
    at.from += length;
    *at.to++ = static_cast<wchar_t>(value);
    return true;
}

bool encode_sequence(Progress<wchar_t, char>& at, const char* to_end) {
    const std::uint32_t value = value_of(*at.from);
    const std::ptrdiff_t room = to_end - at.to;
    const auto put = [&at](std::uint32_t byte) { *at.to++ = static_cast<char>(byte); };
    if (value < 0x800) {
        if (room < 2) {
            return false;
        }
        put(0xc0 | value >> 6);
    } else if (value < 0x10000) {
        if (room < 3 || (value & 0xfffff800) == 0xd800) {
            return false;
        }
        put(0xe0 | value >> 12);
        put(0x80 | (value >> 6 & 0x3f));
    } else {
        if (room < 4 || value > 0x10ffff) {
            return false;
        }
        put(0xf0 | value >> 18);
        put(0x80 | (value >> 12 & 0x3f));
        put(0x80 | (value >> 6 & 0x3f));
    }
    put(0x80 | (value & 0x3f));
    ++at.from;
    return true;
}

// Windows-1252

// The characters of the bytes 0x80 to 0x9f; 0 where there is none. All others are Latin-1.
constexpr std::uint16_t WINDOWS_1252[] = {
    0x20ac, 0,      0x201a, 0x0192, 0x201e, 0x2026, 0x2020, 0x2021, //
    0x02c6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017d, 0,      //
    0,      0x2018, 0x2019, 0x201c, 0x201d, 0x2022, 0x2013, 0x2014, //
    0x02dc, 0x2122, 0x0161, 0x203a, 0x0153, 0,      0x017e, 0x0178,
};

bool decode_byte(Progress<char, wchar_t>& at) {
    const std::uint32_t byte = value_of(*at.from);
    const std::uint32_t value = byte < 0xa0 ? WINDOWS_1252[byte - 0x80] : byte;
    if (value == 0) {
        return false;
    }
    ++at.from;
    *at.to++ = static_cast<wchar_t>(value);
    return true;
}

bool encode_byte(Progress<wchar_t, char>& at) {
    const std::uint32_t value = value_of(*at.from);
    std::uint32_t byte = value;
    if (value < 0xa0 || value > 0xff) {
        byte = 0x80;
        while (byte < 0xa0 && WINDOWS_1252[byte - 0x80] != value) {
            ++byte;
        }
        if (byte == 0xa0) {
            return false;
        }
    }
    ++at.from;
    *at.to++ = static_cast<char>(byte);
    return true;
}

} // namespace

Progress<char, wchar_t> decode_ascii(const char* from, const char* end, wchar_t* to,
                                     wchar_t* to_end) noexcept {
    return convert_all(Progress<char, wchar_t>{from, to}, end, to_end, decode_run,
                       [](const auto&) { return false; });
}

Progress<wchar_t, char> encode_ascii(const wchar_t* from, const wchar_t* end, char* to,
                                     char* to_end) noexcept {
    return convert_all(Progress<wchar_t, char>{from, to}, end, to_end, encode_run,
                       [](const auto&) { return false; });
}

Progress<char, wchar_t> decode_utf8(const char* from, const char* end, wchar_t* to,
                                    wchar_t* to_end) noexcept {
    return convert_all(Progress<char, wchar_t>{from, to}, end, to_end, decode_run,
                       [end](auto& at) { return decode_sequence(at, end); });
}

Progress<wchar_t, char> encode_utf8(const wchar_t* from, const wchar_t* end, char* to,
                                    char* to_end) noexcept {
    return convert_all(Progress<wchar_t, char>{from, to}, end, to_end, encode_run,
                       [to_end](auto& at) { return encode_sequence(at, to_end); });
}

Progress<char, wchar_t> decode_windows_1252(const char* from, const char* end, wchar_t* to,
                                            wchar_t* to_end) noexcept {
    return convert_all(Progress<char, wchar_t>{from, to}, end, to_end, decode_run,
                       [](auto& at) { return decode_byte(at); });
}

Progress<wchar_t, char> encode_windows_1252(const wchar_t* from, const wchar_t* end, char* to,
                                            char* to_end) noexcept {
    return convert_all(Progress<wchar_t, char>{from, to}, end, to_end, encode_run,
                       [](auto& at) { return encode_byte(at); });
}

} // namespace kernels
