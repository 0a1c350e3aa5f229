#include "escape.hpp"

namespace kernels {

std::size_t count_members_portable(const char* text, std::size_t length,
                                   const ByteSet& set) noexcept {
    std::size_t count = 0;
    for (std::size_t i = 0; i < length; ++i) {
        count += set.holds(text[i]) ? 1 : 0;
    }
    return count;
}

void escape_members_portable(const char* text, std::size_t length, const ByteSet& set, char escape,
                             char* to) noexcept {
    for (std::size_t i = 0; i < length; ++i) {
        if (set.holds(text[i])) {
            to = write_escaped(to, escape, text[i]);
        } else {
            *to++ = text[i];
        }
    }
}

std::size_t count_members(const char* text, std::size_t length, const ByteSet& set) noexcept {
    static constexpr Variant<CountMembers> VARIANTS[] = {{SSSE3, count_members_ssse3},
                                                         {SSE2, count_members_portable}};
    static CountMembers* const best = best_of(VARIANTS);
    return best(text, length, set);
}

void escape_members(const char* text, std::size_t length, const ByteSet& set, char escape,
                    char* to) noexcept {
    static constexpr Variant<EscapeMembers> VARIANTS[] = {{SSSE3, escape_members_ssse3},
                                                          {SSE2, escape_members_portable}};
    static EscapeMembers* const best = best_of(VARIANTS);
    best(text, length, set, escape, to);
}

} // namespace kernels
