#include <nuriccl/CharacterEncoder.hpp>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <kernels/escape.hpp>
#include <kernels/scan.hpp>
#include <string_view>

namespace nuriccl {

const char* const CharacterEncoder::HEX_CHARS = "0123456789abcdef";

const char* const CharacterEncoder::DEFAULT_CHARS_TO_ENCODE = "\\/:*?<>|%\"";

const char* const CharacterEncoder::VMNAME_CHARS_TO_ENCODE = "\\/:;*?<>|%\",";

const char* const CharacterEncoder::UNPRINTABLE_CHARS_TO_ENCODE =
    "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c\x0d\x0e\x0f\x10"
    "\x11\x12\x13\x14\x15\x16\x17\x18\x19\x1a\x1b\x1c\x1d\x1e\x1f\",-/#^";

namespace {

using Set = kernels::ByteSet;

constexpr std::size_t ESCAPED = 3; // bytes of an escaped byte

unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

std::string_view text_or_empty(const char* text) {
    return text != nullptr ? std::string_view(text) : std::string_view();
}

void add(unsigned char (&set)[sizeof(Set)], char c) {
    set[to_byte(c) / 8] = static_cast<unsigned char>(set[to_byte(c) / 8] | 1 << to_byte(c) % 8);
}

Set to_set(const unsigned char (&set)[sizeof(Set)]) {
    Set copy;
    std::memcpy(copy.bits, set, sizeof set);
    return copy;
}

Set with(Set set, char c) {
    add(set.bits, c);
    return set;
}

// Up to three times the length of the text: more than a pointer of 32 bits can span.
std::uint64_t encoded_length(std::string_view text, const Set& set) {
    const std::size_t escaped = kernels::count_members(text.data(), text.size(), set);
    return text.size() + (ESCAPED - 1) * std::uint64_t{escaped};
}

// The length with its NUL, as far as an int holds it.
int size_for(std::uint64_t length) {
    return static_cast<int>(std::min<std::uint64_t>(length + 1, INT_MAX));
}

// The length as a size of memory; a std::string is refused the larger ones.
std::size_t to_size(std::uint64_t length) {
    return static_cast<std::size_t>(std::min<std::uint64_t>(length, SIZE_MAX));
}

// Writes the encoded text so that it ends at `end`. Going backwards it may overwrite the text
// itself, when both begin at the same place.
void encode_backwards(std::string_view text, char* end, const Set& set, char esc) {
    for (std::size_t i = text.size(); i-- > 0;) { // ends below 0
        const unsigned char byte = to_byte(text[i]);
        if (set.holds(text[i])) {
            *--end = CharacterEncoder::HEX_CHARS[byte & 15];
            *--end = CharacterEncoder::HEX_CHARS[byte >> 4];
            *--end = esc;
        } else {
            *--end = static_cast<char>(byte);
        }
    }
}

// Value of a hexadecimal digit; 0 for all else.
unsigned int digit(char c) {
    return c >= '0' && c <= '9'   ? static_cast<unsigned int>(c - '0')
           : c >= 'a' && c <= 'f' ? static_cast<unsigned int>(c - 'a' + 10)
           : c >= 'A' && c <= 'F' ? static_cast<unsigned int>(c - 'A' + 10)
                                  : 0;
}

// Value of a digit that is believed to be one.
int believed_digit(char c) {
    return c >= '0' && c <= '9' ? c - '0' : std::isupper(to_byte(c)) != 0 ? c - 55 : c - 87;
}

// Decodes in place from an escape character on.
// @return the end of the result
char* decode_from(char* escape, const char* end, char esc) {
    char* to = escape;
    const char* from = escape;
    while (from != end) {
        const auto rest = end - from;
        const unsigned int high = rest > 1 ? digit(from[1]) : 0;
        const unsigned int low = rest > 2 ? digit(from[2]) : 0;
        *to++ = static_cast<char>(high * 16 + low);
        from += std::min<std::ptrdiff_t>(rest, ESCAPED);
        const char* const next = std::find(from, end, esc);
        to = std::copy(from, next, to);
        from = next;
    }
    return to;
}

// Made byte by byte: a string of the set would allocate, in functions that must not fail.
CharacterEncoder make_unprintable_encoder() noexcept {
    CharacterEncoder encoder{std::string()};
    for (const char c : std::string_view(CharacterEncoder::UNPRINTABLE_CHARS_TO_ENCODE)) {
        encoder.protect(c);
    }
    return encoder;
}

const CharacterEncoder& unprintable_encoder() noexcept {
    static const CharacterEncoder encoder = make_unprintable_encoder();
    return encoder;
}

// What a sequence in the name of a virtual machine stands for; NUL when it stands for itself.
char vm_character(std::string_view sequence) {
    return sequence == "%25"                        ? '%'
           : sequence == "%2f" || sequence == "%2F" ? '/'
           : sequence == "%5c" || sequence == "%5C" ? '\\'
                                                    : '\0';
}

} // namespace

CharacterEncoder::CharacterEncoder(const std::string& characters) noexcept { protect(characters); }

void CharacterEncoder::protect(const std::string& characters) noexcept {
    for (const char c : characters) {
        protect(c);
    }
}

void CharacterEncoder::protect(char character) noexcept { add(set_, character); }

int CharacterEncoder::encoded_size(const std::string& text) const noexcept {
    return size_for(encoded_length(text, to_set(set_)));
}

int CharacterEncoder::encoded_size(const std::string& text, char esc) const noexcept {
    return size_for(encoded_length(text, with(to_set(set_), esc)));
}

std::string CharacterEncoder::encode(const std::string& text) const {
    const Set set = to_set(set_);
    const std::size_t length = to_size(encoded_length(text, set));
    std::string encoded;
    encoded.reserve(std::max(length, std::min(2 * text.size(), encoded.max_size())));
    encoded.resize(length);
    kernels::escape_members(text.data(), text.size(), set, '%', encoded.data());
    return encoded;
}

int CharacterEncoder::encode(const char* src, char* dst, int len, char esc) const noexcept {
    const std::string_view text = text_or_empty(src);
    const Set set = with(to_set(set_), esc);
    const std::uint64_t needed = encoded_length(text, set);
    const bool in_place = dst == src;
    const bool fits = len > 0 && needed < static_cast<unsigned int>(len);
    if (in_place ? !fits : dst == nullptr || len == 0) {
        return -size_for(needed);
    }
    const std::size_t length = to_size(needed);
    if (length == text.size()) { // nothing to escape
        if (!in_place) {
            text.copy(dst, length);
        }
        return 0;
    }
    if (in_place) {
        encode_backwards(text, dst + length, set, esc);
    } else {
        kernels::escape_members(text.data(), text.size(), set, esc, dst);
    }
    dst[length] = '\0';
    if (in_place) {
        dst[len - 1] = '\0';
    }
    return 1;
}

bool CharacterEncoder::encode(std::string& text, char esc) const {
    const Set set = with(to_set(set_), esc);
    const std::size_t before = text.size();
    const std::size_t length = to_size(encoded_length(text, set));
    if (length == before) {
        return false;
    }
    text.resize(length);
    encode_backwards(std::string_view(text.data(), before), text.data() + length, set, esc);
    return true;
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): a member for its callers
std::string CharacterEncoder::decode(const std::string& text) const {
    const kernels::Scan escapes({'%'});
    std::string decoded;
    decoded.reserve(text.size());
    decoded.resize(text.size());
    char* to = decoded.data();
    const char* from = text.data();
    const char* const end = from + text.size();
    while (from != end) {
        if (static_cast<std::size_t>(end - from) >= kernels::SCAN_WIDTH) { // there is as much room
            kernels::copy_16(to, from);
            const unsigned int found = escapes.matches(from);
            const int run =
                found != 0 ? __builtin_ctz(found) : static_cast<int>(kernels::SCAN_WIDTH);
            from += run;
            to += run;
            if (found == 0) {
                continue;
            }
        }
        if (*from != '%') {
            *to++ = *from++;
        } else if (end - from == 1) {
            break;
        } else { // the second digit may be the NUL behind the text
            const int byte = 16 * believed_digit(from[1]) + believed_digit(from[2]);
            *to++ = static_cast<char>(byte & 0xff);
            if (static_cast<std::size_t>(end - from) < ESCAPED) { // foreseen, unlike a minimum
                break;
            }
            from += ESCAPED;
        }
    }
    decoded.resize(static_cast<std::size_t>(to - decoded.data()));
    return decoded;
}

bool CharacterEncoder::decode(char* buf, char esc) noexcept {
    char* const end = buf + text_or_empty(buf).size();
    char* const first = std::find(buf, end, esc);
    if (first == end) {
        return false;
    }
    *decode_from(first, end, esc) = '\0';
    return true;
}

bool CharacterEncoder::decode(std::string& text, char esc) noexcept {
    const std::size_t first = text.find(esc);
    if (first == std::string::npos) {
        return false;
    }
    const char* const end = decode_from(text.data() + first, text.data() + text.size(), esc);
    text.resize(static_cast<std::size_t>(end - text.data()));
    return true;
}

int CharacterEncoder::encode_unprintable(char* buf, int len, char esc) noexcept {
    return unprintable_encoder().encode(buf, buf, len, esc);
}

bool CharacterEncoder::encode_unprintable(std::string& text, char esc) {
    return unprintable_encoder().encode(text, esc);
}

std::string CharacterEncoder::decode_unprintable(const std::string& text, char esc) {
    std::string decoded = text;
    decode(decoded, esc);
    return decoded;
}

std::string CharacterEncoder::encode_vSphereVM_name(const std::string& name) {
    static const CharacterEncoder encoder("%/\\");
    return encoder.encode(name);
}

std::string CharacterEncoder::decode_vSphereVM_name(const std::string& name) {
    std::string decoded;
    decoded.reserve(name.size());
    for (std::size_t i = 0; i < name.size();) {
        if (name[i] != '%' || name.size() - i < ESCAPED) {
            decoded += name[i++];
            continue;
        }
        const std::string_view sequence(name.data() + i, ESCAPED);
        if (const char c = vm_character(sequence)) {
            decoded += c;
        } else {
            decoded += sequence;
        }
        i += ESCAPED;
    }
    return decoded;
}

} // namespace nuriccl
