#include "names.hpp"

#include <algorithm>
#include <new>
#include <nuriccl/Base64Wrapper.hpp>
#include <nuriccl/encoding.hpp>
#include <nuriccl/string.hpp>

namespace minibackup {

namespace {

namespace Encoding = nuriccl::Encoding;
using nuriccl::Base64Wrapper;

const std::string BASE64 = "base64:";

bool is_base64(const std::string& text) { return text.compare(0, BASE64.size(), BASE64) == 0; }

bool is_harmful(wchar_t character) {
    struct Range {
        wchar_t first;
        wchar_t last;
    };
    static constexpr Range HARMFUL[] = {{0x00, 0x1F},     {0x7F, 0x9F},     {0x061C, 0x061C},
                                        {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x206F}};
    return std::any_of(std::begin(HARMFUL), std::end(HARMFUL), [character](const Range& range) {
        return range.first <= character && character <= range.last;
    });
}

std::size_t utf8_length(wchar_t character) {
    return character < 0x80 ? 1 : character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
}

// Whether all bytes are UTF-8 of characters that do no harm.
bool is_harmless(const std::string& name) {
    const auto is_printable = [](char c) { return c >= ' ' && c < '\x7f'; };
    if (std::all_of(name.begin(), name.end(), is_printable)) {
        return true; // as most names are, without asking for more
    }
    std::wstring characters;
    return name.find('\0') == std::string::npos &&
           Encoding::toWideChar(name.data(), static_cast<unsigned int>(name.size()), characters,
                                Encoding::CP_UTF8) &&
           std::none_of(characters.begin(), characters.end(), is_harmful);
}

std::string escaped(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += nuriccl::string::format_string("\\x%02x", static_cast<unsigned char>(byte));
    }
    return text;
}

} // namespace

std::string encode_name(const std::string& name) {
    if (is_harmless(name) && !is_base64(name)) {
        return name;
    }
    std::string text;
    if (!Base64Wrapper::encode(name, text)) {
        throw std::bad_alloc();
    }
    return BASE64 + text;
}

bool decode_name(std::string& name, const std::string& text) {
    name = text;
    return (!is_base64(text) || Base64Wrapper::decode(text.substr(BASE64.size()), name)) &&
           encode_name(name) == text;
}

std::string readable(const std::string& name) {
    std::string shown;
    std::wstring characters;
    for (std::size_t at = 0; at < name.size();) {
        // The characters in front of the first byte that is none; nothing in front of a NUL.
        Encoding::toWideChar(name.data() + at, static_cast<unsigned int>(name.size() - at),
                             characters, Encoding::CP_UTF8);
        for (const wchar_t character : characters) {
            const std::string bytes = name.substr(at, utf8_length(character));
            shown += character == L'\\' ? "\\\\" : is_harmful(character) ? escaped(bytes) : bytes;
            at += bytes.size();
        }
        if (at < name.size()) {
            shown += escaped(name.substr(at++, 1));
        }
    }
    return shown;
}

} // namespace minibackup
