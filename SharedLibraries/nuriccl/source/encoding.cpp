#include <nuriccl/encoding.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <iconv.h>
#include <kernels/codepages.hpp>
#include <ostream>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <utility>

namespace nuriccl {

std::ostream& operator<<(std::ostream& stream, const Encoding::CodePage& codePage) {
    return stream << codePage.m_name;
}

namespace Encoding {

static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32");

// Code pages

namespace {

// NOLINTNEXTLINE(concurrency-mt-unsafe): callers do not change the locale meanwhile
const char* locale_name(int category) noexcept { return std::setlocale(category, nullptr); }

std::string iconv_name(CodePages_e codePage) {
    switch (codePage) {
    case CP_DEFAULT:
        return getDefaultCodePage().m_name;
    case CP_ANSI:
        return "MS-ANSI";
    case CP_UTF8:
        return "UTF-8";
    case CP_UTF16:
        return "UTF-16";
    case CP_UTF32:
        return "UTF-32";
    case CP_WIN1252:
        return "WINDOWS-1252";
    case CP_USASCII:
        return "US-ASCII";
    case CP_CUSTOM:
        return "";
    case CP_LOCALE:
        break;
    }
    return locale_name(LC_CTYPE);
}

[[gnu::always_inline]] inline bool is_default(const CodePage& cp) {
    if (cp.m_codePage == CP_DEFAULT || cp.m_codePage == CP_LOCALE) {
        return true;
    }
    const char* const name = cp.m_name.c_str();
    const char* const locale = locale_name(LC_CTYPE);
    return *name == *locale && std::strcmp(name, locale) == 0; // mostly told by the first character
}

} // namespace

CodePage::CodePage(CodePages_e codePage) { init(codePage); }

void CodePage::init(CodePages_e codePage) {
    std::string name = iconv_name(codePage);
    m_locale = locale_name(LC_ALL);
    m_codePage = codePage;
    m_number = 0;
    m_name = std::move(name);
}

void CodePage::init(unsigned int number) {
    if (m_codePage == CP_DEFAULT) {
        init(CP_CUSTOM);
    }
    m_number = number;
}

void CodePage::init(const char* name) {
    std::string copy = name != nullptr ? name : "";
    if (m_codePage == CP_DEFAULT) {
        init(CP_CUSTOM);
    }
    m_name = std::move(copy);
}

void CodePage::init(unsigned int number, const char* name) {
    init(name);
    m_number = number;
}

bool CodePage::isDefault() const noexcept { return is_default(*this); }

bool CodePage::operator==(const CodePage& other) const noexcept {
    if (this == &other) {
        return true;
    }
    if (m_codePage != other.m_codePage || m_codePage < CP_DEFAULT || m_codePage > CP_CUSTOM) {
        return false;
    }
    return m_codePage != CP_CUSTOM || (m_number == other.m_number && m_name == other.m_name);
}

CodePage getDefaultCodePage() { return {CP_UTF8}; }

const char* codePageToString(const CodePage& codePage) noexcept {
    switch (codePage.m_codePage) {
    case CP_UTF8:
        return "UTF8";
    case CP_UTF16:
        return "UTF16";
    case CP_UTF32:
        return "UTF32";
    case CP_WIN1252:
        return "WIN1252";
    case CP_USASCII:
        return "USASCII";
    default:
        return "ANSI";
    }
}

CodePage s_toCodePage(CP_UTF8);
const char* s_defaultChars = nullptr;
bool s_bestFitChars = false;
bool s_ignoreBadChars = false;

// Conversion by the C library

namespace {

using std::size_t;

constexpr auto FAILED = static_cast<size_t>(-1);
constexpr auto INCOMPLETE = static_cast<size_t>(-2);

bool to_locale(const wchar_t* src, size_t len, std::string& out, const char* replacement) {
    std::mbstate_t state{};
    std::array<char, MB_LEN_MAX> bytes;
    bool clean = true;
    for (const wchar_t* const end = src + len; src != end; ++src) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the state is this function's own
        const size_t count = std::wcrtomb(bytes.data(), *src, &state);
        if (count != FAILED) {
            out.append(bytes.data(), count);
        } else if (replacement != nullptr) {
            out += replacement;
            clean = false;
        } else {
            return false;
        }
    }
    return clean;
}

// The source moves past bad bytes only, so that the first good character stands for all that
// follows: callers rely on it.
bool from_locale(const char* src, size_t len, std::wstring& out, bool ignore_bad) {
    std::mbstate_t state{};
    const char* const end = src + len;
    bool clean = true;
    for (size_t consumed = 0; consumed < len;) {
        wchar_t character = 0;
        const auto rest = static_cast<size_t>(end - src);
        // NOLINTNEXTLINE(concurrency-mt-unsafe): the state is this function's own
        const size_t count = std::mbrtowc(&character, src, rest, &state);
        if (count != FAILED && count != INCOMPLETE) {
            out += character;
            consumed += std::max<size_t>(count, 1); // 0 is a NUL
        } else if (ignore_bad) {
            ++src;
            state = {};
            ++consumed;
            clean = false;
        } else {
            return false;
        }
    }
    return clean;
}

// Conversion by iconv

// Wide text in the machine's byte order. Given an order, iconv takes U+FEFF at the start for a
// character and not for a mark of the order.
const char WIDE[] = "UTF32LE";

class Converter {
public:
    Converter(const char* to, const char* from) noexcept
        : descriptor_(iconv_open(to, from)),
          open_(reinterpret_cast<std::uintptr_t>(descriptor_) != UINTPTR_MAX) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() { close(); }

    bool is_open() const noexcept { return open_; }

    bool close() noexcept { return !std::exchange(open_, false) || iconv_close(descriptor_) == 0; }

    /// Appends one buffer full of output, and moves past the input that it was made of. Without
    /// input that is what iconv holds back: characters that could have been continued, and the way
    /// back to the initial shift state.
    /// @return 0 when all is converted, E2BIG when there is more, otherwise why iconv stopped
    template <class Unit>
    int step(char** in, size_t* left, std::basic_string<Unit>& out) {
        std::array<Unit, BUFFER_BYTES<Unit> / sizeof(Unit)> buffer;
        char* const start = reinterpret_cast<char*>(buffer.data());
        char* end = start;
        size_t room = BUFFER_BYTES<Unit>;
        const int error = iconv(descriptor_, in, left, &end, &room) != FAILED ? 0 : errno;
        out.append(buffer.data(), static_cast<size_t>(end - start) / sizeof(Unit));
        return error == E2BIG && end == start ? EILSEQ : error; // a buffer holds any character
    }

private:
    template <class Unit>
    static constexpr size_t BUFFER_BYTES = sizeof(Unit) == 1 ? 1024 : 4096;

    iconv_t descriptor_;
    bool open_;
};

// The code pages of most names have conversions that need no iconv. They give what it gives, and
// stop at what it would refuse or what they do not cover, which is left to it: it decides what
// becomes of bad characters.

struct Shortcut {
    std::string_view name; // as iconv knows it
    kernels::Decode* decode;
    kernels::Encode* encode;
};

constexpr Shortcut UTF8{"UTF-8", kernels::decode_utf8, kernels::encode_utf8};
constexpr Shortcut WINDOWS{"WINDOWS-1252", kernels::decode_windows_1252,
                           kernels::encode_windows_1252};
constexpr Shortcut ANSI{"MS-ANSI", kernels::decode_windows_1252, kernels::encode_windows_1252};
constexpr Shortcut ASCII{"US-ASCII", kernels::decode_ascii, kernels::encode_ascii};

// None for the default code pages. The names are compared without a call, as the length of each is
// known.
[[gnu::always_inline]] inline const Shortcut* find_shortcut(const CodePage& cp) {
    const std::string_view name = cp.m_name;
    const Shortcut* const found = name == UTF8.name      ? &UTF8
                                  : name == WINDOWS.name ? &WINDOWS
                                  : name == ANSI.name    ? &ANSI
                                  : name == ASCII.name   ? &ASCII
                                                         : nullptr;
    return found != nullptr && !is_default(cp) ? found : nullptr;
}

// Whether a text starts in the string.
template <class Char, class Unit>
bool holds(const std::basic_string<Char>& string, const Unit* text) {
    const auto start = reinterpret_cast<std::uintptr_t>(string.data());
    return reinterpret_cast<std::uintptr_t>(text) - start <= string.size() * sizeof(Char);
}

constexpr size_t SHORT = 1024; // units
constexpr size_t LONGEST = 4;  // bytes of a character

// Has a string grow to `size` as far as that takes no memory.
// @return whether it did
template <class Char>
[[gnu::noinline]] bool grow_in_place(std::basic_string<Char>& string, size_t size) {
    const size_t room = std::min(string.capacity(), size);
    if (room <= string.size()) {
        return false;
    }
    string.resize(room);
    return true;
}

// Converts a short text right into the room that `out` has. To append what was written elsewhere
// would take as long again for a name.
// @return false when the room may be too small or is, or the kernel does not cover all of the text;
//         `out` may hold anything then
template <class From, class To, class Kernel>
bool convert_in_place(Kernel* kernel, const From* src, size_t len, std::basic_string<To>& out) {
    constexpr bool WIDENS = sizeof(To) > sizeof(From);
    const size_t least = WIDENS ? len / LONGEST : len;
    const size_t most = WIDENS ? len : len * LONGEST;
    if (len > SHORT || (out.size() < least && out.capacity() < len) || holds(out, src)) {
        return false;
    }
    const From* const end = src + len;
    do {
        const auto stop = kernel(src, end, out.data(), out.data() + out.size());
        if (stop.from == end) {
            out.erase(static_cast<size_t>(stop.to - out.data()));
            return true;
        }
    } while (grow_in_place(out, most));
    return false;
}

// Appends what the kernel covers, and moves past it. The pieces keep the output from being filled
// with zeros first.
template <class From, class To, class Kernel>
void convert_start(Kernel* kernel, const From*& src, size_t& len, std::basic_string<To>& out) {
    std::array<To, 1024> piece;
    const From* const end = src + len;
    const From* start = nullptr;
    do {
        start = src;
        const auto stop = kernel(start, end, piece.data(), piece.data() + piece.size());
        out.append(piece.data(), static_cast<size_t>(stop.to - piece.data()));
        src = stop.from;
    } while (src != end && src != start);
    len = static_cast<size_t>(end - src);
}

// Converts `size` bytes. A bad character, which takes `bad_size` bytes, is replaced; it ends the
// conversion when the replacement is null.
template <class Unit>
bool convert(const char* to, const char* from, const void* src, size_t size, size_t bad_size,
             std::basic_string<Unit>& out, const Unit* replacement) {
    Converter converter(to, from);
    if (!converter.is_open()) {
        return false;
    }
    char* in = const_cast<char*>(static_cast<const char*>(src)); // iconv only reads it
    bool clean = true;
    while (size != 0) {
        const int error = converter.step(&in, &size, out);
        if (error == 0 || error == E2BIG) {
            continue;
        }
        clean = false;
        if (replacement == nullptr) {
            break;
        }
        const size_t skipped = std::min(bad_size, size);
        in += skipped;
        size -= skipped;
        out += replacement;
    }
    int error = E2BIG;
    while (error == E2BIG) {
        error = converter.step<Unit>(nullptr, nullptr, out);
    }
    return converter.close() && error == 0 && clean;
}

// The conversions, for texts of any length

template <class Unit>
bool is_empty(const Unit* src, size_t len) {
    return src == nullptr || len == 0 || *src == 0;
}

// Out of line: a name that is converted in place has fewer registers to save.

[[gnu::noinline]] bool to_multibyte_in_pieces(const Shortcut* shortcut, const wchar_t* src,
                                              size_t len, std::string& out, const CodePage& cp,
                                              const char* replacement) {
    const bool by_locale = shortcut == nullptr && cp.isDefault();
    // The name and the replacement may be in `out`.
    const std::string name = by_locale || shortcut != nullptr ? "" : cp.m_name;
    std::string copy;
    if (holds(out, replacement)) {
        copy = replacement;
        replacement = copy.c_str();
    }
    out.clear();
    if (is_empty(src, len)) {
        return true;
    }
    if (by_locale) {
        return to_locale(src, len, out, replacement);
    }
    if (shortcut != nullptr) {
        convert_start(shortcut->encode, src, len, out);
        if (len == 0) {
            return true;
        }
    }
    return convert(shortcut != nullptr ? shortcut->name.data() : name.c_str(), WIDE, src,
                   len * sizeof(wchar_t), sizeof(wchar_t), out, replacement);
}

[[gnu::noinline]] bool to_wide_in_pieces(const Shortcut* shortcut, const char* src, size_t len,
                                         std::wstring& out, const CodePage& cp,
                                         bool ignoreBadChars) {
    out.clear();
    if (is_empty(src, len)) {
        return true;
    }
    if (shortcut != nullptr) {
        convert_start(shortcut->decode, src, len, out);
        if (len == 0) {
            return true;
        }
    } else if (cp.isDefault()) {
        return from_locale(src, len, out, ignoreBadChars);
    }
    return convert(WIDE, cp.m_name.c_str(), src, len, 1, out, ignoreBadChars ? L"" : nullptr);
}

bool to_multibyte(const wchar_t* src, size_t len, std::string& out, const CodePage& cp,
                  const char* defaultChars) {
    const Shortcut* const shortcut = find_shortcut(cp);
    return (shortcut != nullptr && !is_empty(src, len) && !holds(out, defaultChars) &&
            convert_in_place(shortcut->encode, src, len, out)) ||
           to_multibyte_in_pieces(shortcut, src, len, out, cp, defaultChars);
}

bool to_wide(const char* src, size_t len, std::wstring& out, const CodePage& cp,
             bool ignoreBadChars) {
    const Shortcut* const shortcut = find_shortcut(cp);
    return (shortcut != nullptr && !is_empty(src, len) &&
            convert_in_place(shortcut->decode, src, len, out)) ||
           to_wide_in_pieces(shortcut, src, len, out, cp, ignoreBadChars);
}

} // namespace

bool toMultibyte(const wchar_t* src, unsigned int len, std::string& out, const CodePage& cp,
                 const char* defaultChars, bool) {
    return to_multibyte(src, len, out, cp, defaultChars);
}

bool toWideChar(const char* src, unsigned int len, std::wstring& out, const CodePage& cp,
                bool ignoreBadChars) {
    return to_wide(src, len, out, cp, ignoreBadChars);
}

// Case conversion

ToUpperCase::ToUpperCase(const std::locale& locale)
    : locale_(locale), type_(&std::use_facet<std::ctype<wchar_t>>(locale_)) {}

ToLowerCase::ToLowerCase(const std::locale& locale)
    : locale_(locale), type_(&std::use_facet<std::ctype<wchar_t>>(locale_)) {}

namespace {

template <class Functor, class String>
bool transform_in_environment(const String& in, String& out) {
    std::locale locale;
    try {
        locale = std::locale("");
    } catch (const std::runtime_error&) {
        return false; // there is no such locale
    }
    return transformString(in, out, Functor(locale));
}

} // namespace

bool toUpperCase(const std::string& in, std::string& out) {
    return transform_in_environment<ToUpperCase>(in, out);
}

bool toUpperCase(const std::wstring& in, std::wstring& out) {
    return transform_in_environment<ToUpperCase>(in, out);
}

bool toLowerCase(const std::string& in, std::string& out) {
    return transform_in_environment<ToLowerCase>(in, out);
}

bool toLowerCase(const std::wstring& in, std::wstring& out) {
    return transform_in_environment<ToLowerCase>(in, out);
}

} // namespace Encoding

template <class Functor>
bool transformString(const std::string& in, std::string& out, const Functor& functor) {
    std::wstring wide;
    if (!Encoding::to_wide(in.data(), in.size(), wide, Encoding::s_toCodePage, false)) {
        return false;
    }
    std::transform(wide.begin(), wide.end(), wide.begin(), functor);
    return Encoding::to_multibyte(wide.data(), wide.size(), out, Encoding::s_toCodePage,
                                  Encoding::s_defaultChars);
}

template <class Functor>
bool transformString(const std::wstring& in, std::wstring& out, const Functor& functor) {
    const std::size_t count = in.size(); // `in` may be `out`
    out.reserve(out.size() + count);
    for (std::size_t i = 0; i < count; ++i) {
        out += functor(in[i]);
    }
    return true;
}

template bool transformString(const std::string&, std::string&, const Encoding::ToUpperCase&);
template bool transformString(const std::string&, std::string&, const Encoding::ToLowerCase&);
template bool transformString(const std::wstring&, std::wstring&, const Encoding::ToUpperCase&);
template bool transformString(const std::wstring&, std::wstring&, const Encoding::ToLowerCase&);

} // namespace nuriccl
