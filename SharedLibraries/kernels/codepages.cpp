#include "codepages.hpp"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

namespace kernels {

namespace {

static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32");

std::uint32_t value_of(char c) { return static_cast<unsigned char>(c); }

std::uint32_t value_of(wchar_t c) { return static_cast<std::uint32_t>(c); }

// ASCII. Both functions convert COUNT characters, which are 16, 8 or 4.
// @return a bit for each of them, the first one lowest: set for what is not ASCII, which becomes
// anything

template <int COUNT>
unsigned int convert_ascii(const char* from, wchar_t* to) {
    const __m128i bytes = COUNT == 16  ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(from))
                          : COUNT == 8 ? _mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))
                                       : _mm_loadu_si32(from);
    const __m128i zero = _mm_setzero_si128();
    auto* const place = reinterpret_cast<__m128i*>(to);
    const __m128i low = _mm_unpacklo_epi8(bytes, zero);
    _mm_storeu_si128(place, _mm_unpacklo_epi16(low, zero));
    if constexpr (COUNT >= 8) {
        _mm_storeu_si128(place + 1, _mm_unpackhi_epi16(low, zero));
    }
    if constexpr (COUNT == 16) {
        const __m128i high = _mm_unpackhi_epi8(bytes, zero);
        _mm_storeu_si128(place + 2, _mm_unpacklo_epi16(high, zero));
        _mm_storeu_si128(place + 3, _mm_unpackhi_epi16(high, zero));
    }
    return static_cast<unsigned int>(_mm_movemask_epi8(bytes));
}

template <int COUNT>
unsigned int convert_ascii(const wchar_t* from, char* to) {
    const auto load = [from](int i) {
        return i < COUNT ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i))
                         : _mm_setzero_si128();
    };
    const __m128i low = _mm_packs_epi32(load(0), load(4));
    const __m128i high = _mm_packs_epi32(load(8), load(12));
    // Saturation makes bytes beyond ASCII of what is larger, and 0 of what is negative.
    const __m128i bytes = _mm_packus_epi16(low, high);
    if constexpr (COUNT == 16) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
    } else if constexpr (COUNT == 8) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to), bytes);
    } else {
        _mm_storeu_si32(to, bytes);
    }
    const __m128i signs = _mm_or_si128(bytes, _mm_packs_epi16(low, high));
    return static_cast<unsigned int>(_mm_movemask_epi8(signs));
}

// Converts ASCII as far as it goes, COUNT characters at a time. The last step takes some once more
// that are done; when there are too few for one step, smaller ones do it.
template <int COUNT = 16, class From, class To>
[[gnu::always_inline]] inline Progress<From, To> convert_run(Progress<From, To> at, const From* end,
                                                             const To* to_end) {
    std::ptrdiff_t left = std::min(end - at.from, to_end - at.to);
    if (left < COUNT) {
        if constexpr (COUNT > 4) {
            return convert_run<COUNT / 2>(at, end, to_end);
        } else {
            for (; left != 0 && value_of(*at.from) < 0x80; --left) {
                *at.to++ = static_cast<To>(*at.from++);
            }
            return at;
        }
    }
    while (left > 0) {
        const std::ptrdiff_t back = left < COUNT ? COUNT - left : 0;
        at.from -= back;
        at.to -= back;
        const unsigned int others = convert_ascii<COUNT>(at.from, at.to);
        const int count = others != 0 ? __builtin_ctz(others) : COUNT;
        at.from += count;
        at.to += count;
        if (others != 0) {
            break;
        }
        left -= COUNT;
    }
    return at;
}

// Calls `convert` for one character after the other as long as it finds one that it covers.
template <class From, class To, class Convert>
Progress<From, To> convert_all(Progress<From, To> at, const From* end, To* to_end,
                               Convert convert) {
    while (at.from != end && at.to != to_end) {
        if (value_of(*at.from) < 0x80) {
            at = convert_run(at, end, to_end);
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
    if ((value & 0xfffff800) == 0xd800 || value > 0x10ffff) {
        return false;
    }
    // All four bytes that there can be, the first one lowest. Those in front of the lead are
    // dropped.
    const std::uint32_t all = 0x80808080 | value >> 18 | (value >> 12 & 0x3f) << 8 |
                              (value >> 6 & 0x3f) << 16 | (value & 0x3f) << 24;
    const int length = value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
    const std::uint32_t bytes = all >> 8 * (4 - length) | (0xf00 >> length & 0xff);
    const std::ptrdiff_t room = to_end - at.to;
    if (room >= 4) {
        std::memcpy(at.to, &bytes, 4);
    } else if (room >= length) {
        for (int i = 0; i < length; ++i) {
            at.to[i] = static_cast<char>(bytes >> 8 * i);
        }
    } else {
        return false;
    }
    at.to += length;
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
    return convert_run(Progress<char, wchar_t>{from, to}, end, to_end);
}

Progress<wchar_t, char> encode_ascii(const wchar_t* from, const wchar_t* end, char* to,
                                     char* to_end) noexcept {
    return convert_run(Progress<wchar_t, char>{from, to}, end, to_end);
}

Progress<char, wchar_t> decode_utf8(const char* from, const char* end, wchar_t* to,
                                    wchar_t* to_end) noexcept {
    return convert_all(Progress<char, wchar_t>{from, to}, end, to_end,
                       [end](auto& at) { return decode_sequence(at, end); });
}

Progress<wchar_t, char> encode_utf8(const wchar_t* from, const wchar_t* end, char* to,
                                    char* to_end) noexcept {
    return convert_all(Progress<wchar_t, char>{from, to}, end, to_end,
                       [to_end](auto& at) { return encode_sequence(at, to_end); });
}

Progress<char, wchar_t> decode_windows_1252(const char* from, const char* end, wchar_t* to,
                                            wchar_t* to_end) noexcept {
    return convert_all(Progress<char, wchar_t>{from, to}, end, to_end,
                       [](auto& at) { return decode_byte(at); });
}

Progress<wchar_t, char> encode_windows_1252(const wchar_t* from, const wchar_t* end, char* to,
                                            char* to_end) noexcept {
    return convert_all(Progress<wchar_t, char>{from, to}, end, to_end,
                       [](auto& at) { return encode_byte(at); });
}

} // namespace kernels
