#include "names.hpp"

#include <charconv>

namespace minibackup {

namespace {

unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

bool is_control(char c) { return to_byte(c) < 0x20 || c == 0x7F; }

void append_escaped(std::string& text, char c) {
    static const char digits[] = "0123456789ABCDEF";
    text += '%';
    text += digits[to_byte(c) >> 4];
    text += digits[to_byte(c) & 15];
}

} // namespace

std::string encode_name(const std::string& name) {
    std::string word;
    word.reserve(name.size());
    for (const char c : name) {
        if (is_control(c) || c == ' ' || c == '%') {
            append_escaped(word, c);
        } else {
            word += c;
        }
    }
    return word;
}

bool decode_name(std::string& name, std::string_view word) {
    name.clear();
    for (std::size_t i = 0; i < word.size(); ++i) {
        if (word[i] != '%') {
            name += word[i];
            continue;
        }
        const std::string_view digits = word.substr(i + 1, 2);
        unsigned char byte = 0;
        const char* const end = digits.data() + digits.size();
        if (digits.size() != 2 || std::from_chars(digits.data(), end, byte, 16).ptr != end) {
            return false;
        }
        name += static_cast<char>(byte);
        i += 2;
    }
    return true;
}

std::string readable(const std::string& name) {
    std::string shown;
    char before = 0;
    for (const char c : name) {
        // C2 80 to C2 9F are the control characters U+0080 to U+009F in UTF-8.
        const bool c1 = before == '\xC2' && to_byte(c) >= 0x80 && to_byte(c) <= 0x9F;
        if (is_control(c) || c1) {
            append_escaped(shown, c);
        } else {
            shown += c;
        }
        before = c;
    }
    return shown;
}

} // namespace minibackup
