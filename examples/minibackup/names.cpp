#include "names.hpp"

#include <algorithm>
#include <nuriccl/CharacterEncoder.hpp>
#include <nuriccl/encoding.hpp>
#include <nuriccl/string.hpp>

namespace minibackup {

namespace {

namespace Encoding = nuriccl::Encoding;
using nuriccl::CharacterEncoder;

CharacterEncoder make_word_encoder() {
    CharacterEncoder encoder("%\x7f");
    for (char c = '\0'; c <= ' '; ++c) {
        encoder.protect(c);
    }
    return encoder;
}

const CharacterEncoder& word_encoder() {
    static const CharacterEncoder encoder = make_word_encoder();
    return encoder;
}

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

std::string escaped(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        text += nuriccl::string::format_string("\\x%02x", static_cast<unsigned char>(byte));
    }
    return text;
}

} // namespace

std::string encode_name(const std::string& name) { return word_encoder().encode(name); }

bool decode_name(std::string& name, std::string_view word) {
    const std::string encoded(word);
    name = word_encoder().decode(encoded); // which takes any word
    return encode_name(name) == encoded;
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
