#include "benchmark.hpp"
#include "data.hpp"

#include <nuriccl/encoding.hpp>

#include <array>
#include <boost/locale/encoding_utf.hpp>
#include <clocale>
#include <cstring>
#include <cwchar>
#include <iconv.h>
#include <stdexcept>
#include <string_view>
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
#include <glib.h>
#endif

namespace {

using namespace benchmarks;
using nuriccl::Encoding::CodePage;

// A conversion by iconv between two kinds of characters, into room that is kept.
class Iconv {
public:
    Iconv(const char* to, const char* from) : descriptor_(iconv_open(to, from)) {
        if (reinterpret_cast<std::intptr_t>(descriptor_) == -1) {
            throw std::runtime_error(std::string("no iconv from ") + from + " to " + to);
        }
    }
    Iconv(const Iconv&) = delete;
    Iconv& operator=(const Iconv&) = delete;
    ~Iconv() { iconv_close(descriptor_); }

    template <class To, class From>
    void convert(const std::basic_string<From>& text, std::basic_string<To>& out, To* room,
                 std::size_t size) const {
        out.assign(room, convert_into(text, room, size));
    }

    /// @return the number of characters written
    template <class To, class From>
    std::size_t convert_into(const std::basic_string<From>& text, To* room,
                             std::size_t size) const {
        char* in = reinterpret_cast<char*>(const_cast<From*>(text.data()));
        std::size_t left = text.size() * sizeof(From);
        char* end = reinterpret_cast<char*>(room);
        std::size_t space = size * sizeof(To);
        iconv(descriptor_, &in, &left, &end, &space);
        return size - space / sizeof(To);
    }

private:
    iconv_t descriptor_;
};

// What the C library calls wide text in the machine's order. The last one is the quickest, it is
// how the library holds all text inside.
constexpr char UTF32[] = "UTF32LE";
constexpr char WCHAR[] = "WCHAR_T";

void to_wide(const std::string& text, std::wstring& out, const CodePage& page) {
    nuriccl::Encoding::toWideChar(text.data(), static_cast<unsigned int>(text.size()), out, page);
}

void to_bytes(const std::wstring& text, std::string& out, const CodePage& page) {
    nuriccl::Encoding::toMultibyte(text.data(), static_cast<unsigned int>(text.size()), out, page);
}

// Names

constexpr std::size_t COUNT = 16;
template <class Char>
using Names = std::array<std::basic_string<Char>, COUNT>;

// Converts all the names, so that branches that depend on a name are not foreseen.
template <class To, class From, class Convert>
auto each(const Names<From>& names, Names<To>& out, const Convert& convert) {
    return [&names, &out, &convert]() -> const Names<To>& {
        for (std::size_t i = 0; i < COUNT; ++i) {
            convert(names[i], out[i]);
        }
        return out;
    };
}

Names<wchar_t> widened(const Names<char>& names, const CodePage& page) {
    Names<wchar_t> wide;
    for (std::size_t i = 0; i < COUNT; ++i) {
        to_wide(names[i], wide[i], page);
    }
    return wide;
}

constexpr std::size_t ROOM = 256;

void compare_names_to_wide(const std::string& id, const Names<char>& names, const CodePage& page) {
    const char* const from = page.m_name.c_str();
    Names<wchar_t> wide;
    const auto by_nuriccl = [&](const std::string& in, std::wstring& out) {
        to_wide(in, out, page);
    };
    Row row(id, each(names, wide, by_nuriccl));
    std::array<wchar_t, ROOM> room;
    const auto opened = [&](const std::string& in, std::wstring& out) {
        Iconv(WCHAR, from).convert(in, out, room.data(), room.size());
    };
    row.peer("iconv opened per call", each(names, wide, opened));
    const Iconv cached(WCHAR, from);
    const auto by_cached = [&](const std::string& in, std::wstring& out) {
        cached.convert(in, out, room.data(), room.size());
    };
    row.peer("cached iconv", each(names, wide, by_cached));
    const Iconv utf32(UTF32, from);
    const auto by_utf32 = [&](const std::string& in, std::wstring& out) {
        utf32.convert(in, out, room.data(), room.size());
    };
    row.peer("cached iconv, UTF32LE", each(names, wide, by_utf32));
    if (page.m_codePage != nuriccl::Encoding::CP_UTF8) {
        return;
    }
    const auto by_boost = [](const std::string& in, std::wstring& out) {
        out = boost::locale::conv::utf_to_utf<wchar_t>(in);
    };
    row.peer("Boost", each(names, wide, by_boost));
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const auto by_glib = [](const std::string& in, std::wstring& out) {
        glong count = 0;
        gunichar* const text =
            g_utf8_to_ucs4(in.data(), static_cast<glong>(in.size()), nullptr, &count, nullptr);
        out.assign(reinterpret_cast<const wchar_t*>(text), static_cast<std::size_t>(count));
        g_free(text);
    };
    row.peer("GLib", each(names, wide, by_glib));
#endif
}

void compare_names_to_bytes(const std::string& id, const Names<char>& names, const CodePage& page) {
    const char* const to = page.m_name.c_str();
    const Names<wchar_t> wide = widened(names, page);
    Names<char> bytes;
    const auto by_nuriccl = [&](const std::wstring& in, std::string& out) {
        to_bytes(in, out, page);
    };
    Row row(id, each(wide, bytes, by_nuriccl));
    REQUIRE(bytes == names);
    std::array<char, ROOM> room;
    const auto opened = [&](const std::wstring& in, std::string& out) {
        Iconv(to, WCHAR).convert(in, out, room.data(), room.size());
    };
    row.peer("iconv opened per call", each(wide, bytes, opened));
    const Iconv cached(to, WCHAR);
    const auto by_cached = [&](const std::wstring& in, std::string& out) {
        cached.convert(in, out, room.data(), room.size());
    };
    row.peer("cached iconv", each(wide, bytes, by_cached));
    const Iconv utf32(to, UTF32);
    const auto by_utf32 = [&](const std::wstring& in, std::string& out) {
        utf32.convert(in, out, room.data(), room.size());
    };
    row.peer("cached iconv, UTF32LE", each(wide, bytes, by_utf32));
    if (page.m_codePage != nuriccl::Encoding::CP_UTF8) {
        return;
    }
    const auto by_boost = [](const std::wstring& in, std::string& out) {
        out = boost::locale::conv::utf_to_utf<char>(in);
    };
    row.peer("Boost", each(wide, bytes, by_boost));
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    const auto by_glib = [](const std::wstring& in, std::string& out) {
        glong count = 0;
        gchar* const text = g_ucs4_to_utf8(reinterpret_cast<const gunichar*>(in.data()),
                                           static_cast<glong>(in.size()), nullptr, &count, nullptr);
        out.assign(text, static_cast<std::size_t>(count));
        g_free(text);
    };
    row.peer("GLib", each(wide, bytes, by_glib));
#endif
}

// Long texts

// Mixed as the text of a person: words of several scripts between blanks and line ends.
std::string mixed_text(std::size_t size) {
    static const char* const words[] = {
        "backup",
        "volume",
        "the",
        "of",
        "caf\xc3\xa9",
        "m\xc3\xa9nage",
        "h\xc3\xb6her",
        "\xd0\xbe\xd1\x82\xd1\x87\xd0\xb5\xd1\x82",
        "\xce\xb1\xce\xb2\xce\xb3",
        "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e",
        "2026-11-21",
        "\xf0\x9f\x93\x81",
    };
    Sequence sequence;
    std::string text;
    while (text.size() < size) {
        text += words[sequence.below(std::size(words))];
        text += sequence.below(8) == 0 ? '\n' : ' ';
    }
    return text;
}

// The C library's own conversion, in a locale of UTF-8 that is the thread's while one lives.
class Utf8Locale {
public:
    Utf8Locale() : locale_(newlocale(LC_ALL_MASK, "C.UTF-8", nullptr)) {
        if (locale_ == nullptr) {
            throw std::runtime_error("no locale C.UTF-8");
        }
        before_ = uselocale(locale_);
    }
    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;
    ~Utf8Locale() {
        uselocale(before_);
        freelocale(locale_);
    }

private:
    locale_t locale_;
    locale_t before_;
};

void compare_to_wide(const std::string& id, const std::string& text) {
    const CodePage page(nuriccl::Encoding::CP_UTF8);
    std::wstring wide;
    Row row(id, [&]() -> const std::wstring& {
        to_wide(text, wide, page);
        return wide;
    });
    std::wstring room(text.size() + 1, L'\0');
    const std::wstring_view written(room.data(), wide.size());
    const auto by = [&](const Iconv& converter) {
        return written.substr(0, converter.convert_into(text, room.data(), room.size()));
    };
    const Iconv cached(WCHAR, "UTF-8");
    row.peer("cached iconv", [&] { return by(cached); });
    const Iconv utf32(UTF32, "UTF-8");
    row.peer("cached iconv, UTF32LE", [&] { return by(utf32); });
    {
        const Utf8Locale locale;
        row.peer("mbsrtowcs", [&] {
            const char* from = text.c_str();
            std::mbstate_t state{};
            return written.substr(0, std::mbsrtowcs(room.data(), &from, room.size(), &state));
        });
    }
    row.peer("Boost", [&] { return boost::locale::conv::utf_to_utf<wchar_t>(text); });
#ifdef NURICCL_BENCHMARK_64_BIT_PEERS
    std::wstring by_glib;
    const auto glib = [&] {
        return g_utf8_to_ucs4(text.data(), static_cast<glong>(text.size()), nullptr, nullptr,
                              nullptr);
    };
    gunichar* const once = glib();
    const bool same = wide == reinterpret_cast<const wchar_t*>(once);
    g_free(once);
    REQUIRE(same);
    row.reference("GLib", [&] { g_free(glib()); });
#endif
    row.limit("memcpy of the result", [&] {
        std::memcpy(room.data(), wide.data(), wide.size() * sizeof(wchar_t));
        return written;
    });
}

void compare_to_bytes(const std::string& id, const std::string& text) {
    const CodePage page(nuriccl::Encoding::CP_UTF8);
    std::wstring wide;
    to_wide(text, wide, page);
    std::string bytes;
    Row row(id, [&]() -> const std::string& {
        to_bytes(wide, bytes, page);
        return bytes;
    });
    REQUIRE(bytes == text);
    std::string room(text.size() + 1, '\0');
    const std::string_view written(room.data(), text.size());
    const auto by = [&](const Iconv& converter) {
        return written.substr(0, converter.convert_into(wide, room.data(), room.size()));
    };
    const Iconv cached("UTF-8", WCHAR);
    row.peer("cached iconv", [&] { return by(cached); });
    const Iconv utf32("UTF-8", UTF32);
    row.peer("cached iconv, UTF32LE", [&] { return by(utf32); });
    {
        const Utf8Locale locale;
        row.peer("wcsrtombs", [&] {
            const wchar_t* from = wide.c_str();
            std::mbstate_t state{};
            return written.substr(0, std::wcsrtombs(room.data(), &from, room.size(), &state));
        });
    }
    row.peer("Boost", [&] { return boost::locale::conv::utf_to_utf<char>(wide); });
    row.limit("memcpy of the result", [&] {
        std::memcpy(room.data(), text.data(), text.size());
        return written;
    });
}

} // namespace

TEST_CASE("Names", "[encoding]") {
    const CodePage utf8(nuriccl::Encoding::CP_UTF8);
    compare_names_to_wide("encoding.name.wide", mixed_names(), utf8);
    compare_names_to_bytes("encoding.name.back", mixed_names(), utf8);
    compare_names_to_wide("encoding.ascii_name.wide", ascii_names(), utf8);
    compare_names_to_bytes("encoding.ascii_name.back", ascii_names(), utf8);
    const CodePage windows(nuriccl::Encoding::CP_WIN1252);
    compare_names_to_wide("encoding.windows_name.wide", windows_names(), windows);
    compare_names_to_bytes("encoding.windows_name.back", windows_names(), windows);
}

TEST_CASE("Long texts", "[encoding]") {
    const std::string ascii = source_text(MIB);
    compare_to_wide("encoding.ascii.wide", ascii);
    compare_to_bytes("encoding.ascii.back", ascii);
    const std::string mixed = mixed_text(MIB);
    compare_to_wide("encoding.mixed.wide", mixed);
    compare_to_bytes("encoding.mixed.back", mixed);
}
