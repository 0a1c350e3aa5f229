#pragma once

/// @file
/// The C library's upper case and character classes of a locale that no system has to have
/// installed.
///
/// Include it in the one source file of a test program: the libraries in the process use it, too.
///
/// Thread safety: one thread at a time.

#include <array>
#include <cctype>
#include <cstdint>
#include <dlfcn.h>

namespace strange_ctype {

inline constexpr char E_ACUTE = '\xe9';       ///< in lower case
inline constexpr char UPPER_E_ACUTE = '\xc9'; ///< in upper case
inline constexpr char UPPER_I = '\xdd';       ///< upper case of 'i', of which 'I' is none

namespace detail {

inline bool set = false;

/// glibc's form: from -128 to 255.
inline std::array<std::int32_t, 384> make_table() {
    std::array<std::int32_t, 384> table;
    for (int c = -128; c < 256; ++c) {
        const bool lower = c >= 'a' && c <= 'z';
        table[static_cast<std::size_t>(c + 128)] = lower ? c - 'a' + 'A' : c;
    }
    table['i' + 128] = static_cast<unsigned char>(UPPER_I);
    table[static_cast<unsigned char>(E_ACUTE) + 128] = static_cast<unsigned char>(UPPER_E_ACUTE);
    return table;
}

inline const std::array<std::int32_t, 384> table = make_table();
inline const std::int32_t* const to_upper = table.data() + 128;

template <class Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace detail

/// In force while it lives.
class Locale {
public:
    Locale() { detail::set = true; }
    ~Locale() { detail::set = false; }
    Locale(const Locale&) = delete;
    Locale& operator=(const Locale&) = delete;

    /// Upper case of a byte, as a byte.
    static int upper(char c) { return detail::to_upper[static_cast<unsigned char>(c)]; }
};

} // namespace strange_ctype

extern "C" const std::int32_t** __ctype_toupper_loc() noexcept {
    static auto* const real =
        strange_ctype::detail::real<const std::int32_t**()>("__ctype_toupper_loc");
    static const std::int32_t* strange = nullptr;
    strange = strange_ctype::detail::to_upper;
    return strange_ctype::detail::set ? &strange : real();
}

/// Both cases of e with an acute accent are letters.
extern "C" int isalnum(int c) noexcept {
    static auto* const real = strange_ctype::detail::real<int(int)>("isalnum");
    const bool accented = c == static_cast<unsigned char>(strange_ctype::E_ACUTE) ||
                          c == static_cast<unsigned char>(strange_ctype::UPPER_E_ACUTE);
    return strange_ctype::detail::set && accented ? 1 : real(c);
}
