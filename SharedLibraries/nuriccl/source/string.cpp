#include <nuriccl/string.hpp>

#include <algorithm>
#include <bitset>
#include <cassert>
#include <cctype>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <locale>
#include <string_view>

namespace nuriccl::string {

const char END_OF_STRING_CHAR = '\0';
const char FORWARD_SLASH = '/';
const char NEW_LINE = '\n';
const char OPTION_END = '"';
const char OPTION_BEGIN = '"';
const char QUOTE_MARK = '"';
const char KEY_VALUE_SEPARATOR = '=';
const char LIST_SEPARATOR = ',';
const char WHITE_SPACE = ' ';

const std::string WHITESPACE = " \t\r\n";

namespace {

unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

// C `toupper` of a byte, as a byte; the C library wants a non-negative value.
char upper(char c) { return static_cast<char>(std::toupper(to_byte(c))); }

const char* or_empty(const char* text) { return text != nullptr ? text : ""; }

} // namespace

// Cropping and trimming

void crop_left(std::string& text, const std::string& set) {
    text.erase(0, text.find_first_not_of(set));
}

void crop_right(std::string& text, const std::string& set) {
    text.erase(text.find_last_not_of(set) + 1); // npos + 1 is 0: nothing but set characters
}

void crop_both(std::string& text, const std::string& set) {
    crop_left(text, set);
    crop_right(text, set);
}

std::string trim_left(const std::string& text, const std::string& set) {
    return text.substr(std::min(text.find_first_not_of(set), text.size()));
}

std::string trim_right(const std::string& text, const std::string& set) {
    return text.substr(0, text.find_last_not_of(set) + 1);
}

std::string trim_both(const std::string& text, const std::string& set) {
    const std::size_t first = std::min(text.find_first_not_of(set), text.size());
    return text.substr(first, text.find_last_not_of(set) + 1 - first);
}

// Search and replace

bool replace(std::string& text, const std::string& from, const std::string& to) {
    assert(!from.empty());
    std::size_t found = from.empty() ? std::string::npos : text.find(from);
    if (found == std::string::npos) {
        return false;
    }
    // A fresh text keeps the work linear, and the arguments intact when they alias the text.
    std::string result;
    std::size_t copied = 0;
    do {
        result.append(text, copied, found - copied).append(to);
        copied = found + from.size();
        found = text.find(from, copied);
    } while (found != std::string::npos);
    result.append(text, copied, std::string::npos);
    text = std::move(result);
    return true;
}

void SpanIncluding(std::string& text, std::string set) {
    text.erase(std::min(text.find_first_not_of(set), text.size()));
}

int ifind(const std::string& haystack, const std::string& needle) {
    if (needle.empty()) {
        return -1;
    }
    const std::locale locale;
    const auto& type = std::use_facet<std::ctype<char>>(locale);
    const auto found =
        std::search(haystack.begin(), haystack.end(), needle.begin(), needle.end(),
                    [&type](char a, char b) { return type.toupper(a) == type.toupper(b); });
    const auto position = found - haystack.begin();
    return found == haystack.end() || position > INT_MAX ? -1 : static_cast<int>(position);
}

// Comparison regardless of case

namespace {

int compare(std::string_view a, std::string_view b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t i = 0; i < common; ++i) {
        if (a[i] != b[i]) {
            const int difference = to_byte(upper(a[i])) - to_byte(upper(b[i]));
            if (difference != 0) {
                return difference;
            }
        }
    }
    return a.size() < b.size() ? -1 : a.size() > b.size();
}

} // namespace

int icompare(const std::string& a, const std::string& b) { return compare(a, b); }

int icompare(const char* a, const std::string& b) { return compare(or_empty(a), b); }

int icompare(const std::string& a, const char* b) { return compare(a, or_empty(b)); }

int icompare(const char* a, const char* b) { return compare(or_empty(a), or_empty(b)); }

bool CaseInsensitiveCompare::operator()(const std::string& a, const std::string& b) const {
    return compare(a, b) < 0;
}

void NormalizeNameCaseInsensitive(const std::string& source, std::string& destination) {
    destination.resize(source.size());
    std::transform(source.begin(), source.end(), destination.begin(), upper);
}

void NormalizeNameCaseInsensitive(std::string& text) noexcept {
    std::transform(text.begin(), text.end(), text.begin(), upper);
}

// Bounded C strings

char* strlcat(char* dst, const char* src, unsigned int size) {
    const std::size_t length = strnlen(dst, size);
    if (length < size) {
        src = or_empty(src);
        const std::size_t count = strnlen(src, size - 1 - length);
        std::memmove(dst + length, src, count); // `src` may lie inside `dst`
        dst[length + count] = '\0';
    }
    return dst;
}

char* strlcpy(char* dst, const char* src, unsigned int size) {
    if (size == 0) {
        return nullptr;
    }
    *dst = '\0';
    return strlcat(dst, src, size);
}

// Taking text apart

namespace {

constexpr char ESCAPE = '\\';
constexpr char BLANK = ' ';

bool is_space(char c) { return std::isspace(to_byte(c)) != 0; }

bool is_quote(char c) { return c == '"' || c == '\''; }

// Whether the text is an element of the list, which changes under it then.
bool holds(const std::vector<std::string>& list, const std::string& text) {
    const std::less<> before;
    return !before(&text, list.data()) && before(&text, list.data() + list.size());
}

// Appends the characters from `first` up to `last`.
void add_field(std::vector<std::string>& fields, const std::string& text, std::size_t first,
               std::size_t last) {
    fields.emplace_back(text, first, last - first);
}

} // namespace

bool unixshellstring_get_word(const char** cursor, std::string& word) {
    word.clear();
    if (cursor == nullptr || *cursor == nullptr) {
        return false;
    }
    const char* next = *cursor;
    while (is_space(*next)) {
        ++next;
    }
    bool escaped = false;
    char quote = 0; // the one that is open
    for (; *next != 0; ++next) {
        const char c = *next;
        if (escaped) {
            word += c;
            escaped = false;
        } else if (c == ESCAPE) {
            escaped = true;
        } else if (quote != 0) {
            if (c == quote) {
                quote = 0;
            } else {
                word += c;
            }
        } else if (is_quote(c)) {
            quote = c;
        } else if (is_space(c)) {
            break;
        } else if (c == KEY_VALUE_SEPARATOR) {
            if (word.empty()) {
                word = c;
                ++next;
            }
            break;
        } else {
            word += c;
        }
    }
    *cursor = next;
    return !word.empty();
}

int unixshellstring_get_keyed_values(const char* text, std::map<std::string, std::string>& pairs) {
    int count = 0;
    std::string previous;
    std::string key;
    bool value_follows = false;
    bool first = true;
    for (std::string word; unixshellstring_get_word(&text, word); previous.swap(word)) {
        if (first) {
            first = false;
        } else if (value_follows) {
            pairs.emplace(key, word);
            ++count;
            value_follows = false;
        } else if (word.size() == 1 && word[0] == KEY_VALUE_SEPARATOR) {
            key = previous;
            value_follows = true;
        }
    }
    return count;
}

void tokenize(const std::string& text, std::vector<std::string>& tokens,
              const std::string& delimiters) {
    if (holds(tokens, text) || holds(tokens, delimiters)) {
        return tokenize(std::string(text), tokens, std::string(delimiters));
    }
    tokens.clear();
    std::bitset<256> delimits;
    for (const char c : delimiters) {
        delimits.set(to_byte(c));
    }
    for (std::size_t start = 0, end; start < text.size(); start = end + 1) {
        for (end = start; end < text.size() && !delimits[to_byte(text[end])];) {
            ++end;
        }
        if (end != start) {
            add_field(tokens, text, start, end);
        }
    }
}

bool tokenizeQuoted(const std::string& text, std::vector<std::string>& tokens, char separator) {
    if (holds(tokens, text)) {
        return tokenizeQuoted(std::string(text), tokens, separator);
    }
    std::size_t start = 0; // of the token
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool at_quote = text[i] == QUOTE_MARK;
        const bool at_separator = text[i] == separator || text[i] == BLANK;
        if (!at_quote && (quoted || !at_separator)) {
            continue;
        }
        if (quoted || i > start) {
            add_field(tokens, text, start, i);
        }
        start = i + 1;
        quoted = quoted != at_quote;
    }
    if (!quoted && start < text.size()) {
        add_field(tokens, text, start, text.size());
    }
    return !quoted;
}

void tokenizeQuotedString(const std::string& text, std::vector<std::string>& fields) {
    if (holds(fields, text)) {
        return tokenizeQuotedString(std::string(text), fields);
    }
    fields.clear();
    const char between[] = {BLANK, LIST_SEPARATOR, END_OF_STRING_CHAR};
    for (std::size_t start = 0;
         (start = text.find_first_not_of(between, start)) != std::string::npos;) {
        const std::size_t end = std::min(text.find(LIST_SEPARATOR, start), text.size());
        const std::string_view field(text.data() + start, end - start);
        const std::size_t open = field.find(QUOTE_MARK);
        const std::size_t close = field.rfind(QUOTE_MARK);
        if (open != close) {
            fields.emplace_back(field.substr(open + 1, close - open - 1));
        } else {
            fields.emplace_back(field);
        }
        start = end;
    }
}

void split(const std::string& text, char separator, std::vector<std::string>& fields) {
    if (holds(fields, text)) {
        return split(std::string(text), separator, fields);
    }
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(separator, start)) != std::string::npos;
         start = end + 1) {
        add_field(fields, text, start, end);
    }
    add_field(fields, text, start, text.size());
}

// Formatting

namespace {

// Formats into `size` bytes at `place` and leaves the caller's list as it is.
int format_copy(char* place, std::size_t size, const char* format, va_list& arguments) {
    va_list copy;
    va_copy(copy, arguments);
    const int count = std::vsnprintf(place, size, format, copy);
    va_end(copy);
    return count;
}

} // namespace

int sprintfSafe(std::string& out, const char* format, va_list& arguments) {
    out.clear();
    format = or_empty(format);
    char buffer[1024];
    int count = format_copy(buffer, sizeof buffer, format, arguments);
    if (count < 0) {
        return count;
    }
    if (static_cast<std::size_t>(count) < sizeof buffer) {
        out = buffer;
        return count;
    }
    // Not straight into `out`: the arguments may point into it.
    std::string text(static_cast<std::size_t>(count), '\0');
    count = format_copy(text.data(), text.size() + 1, format, arguments);
    if (count >= 0) {
        text.resize(std::strlen(text.c_str()));
        out = std::move(text);
    }
    return count;
}

int sprintfSafe(std::string& out, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int count = sprintfSafe(out, format, arguments);
    va_end(arguments);
    return count;
}

std::string format_string(const char* format, ...) {
    std::string text;
    va_list arguments;
    va_start(arguments, format);
    sprintfSafe(text, format, arguments);
    va_end(arguments);
    return text;
}

// XML escaping

namespace {

// What stands for a character in XML text, empty where the character stays as it is.
template <class Char>
std::string_view xml_entity(Char c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    default:
        return {};
    }
}

// Replaces each character that `expansion` gives a text for. The text grows once and is filled from
// its end, so that every character moves once and nothing else is allocated.
template <class Char, class Expansion>
void expand(std::basic_string<Char>& text, Expansion expansion) {
    std::size_t growth = 0;
    for (const Char c : text) {
        if (const std::string_view replacement = expansion(c); !replacement.empty()) {
            growth += replacement.size() - 1;
        }
    }
    std::size_t from = text.size();
    std::size_t to = from + growth;
    text.resize(to);
    while (from != to) { // equal as soon as no character further left expands
        const Char c = text[--from];
        const std::string_view replacement = expansion(c);
        if (replacement.empty()) {
            text[--to] = c;
        } else {
            to -= replacement.size();
            std::copy(replacement.begin(), replacement.end(),
                      text.begin() + static_cast<std::ptrdiff_t>(to));
        }
    }
}

// Undoes the three entities in one pass: an entity holds no second '&' and what it stands for
// starts no entity that is undone later, so the order of the replacements cannot be told apart.
template <class Char>
void unescape(std::basic_string<Char>& text) {
    const auto stands_at = [&text](std::size_t position, std::string_view entity) {
        return text.size() - position >= entity.size() &&
               std::equal(entity.begin(), entity.end(),
                          text.begin() + static_cast<std::ptrdiff_t>(position));
    };
    std::size_t to = 0;
    for (std::size_t from = 0; from < text.size(); ++to) {
        Char c = text[from];
        std::size_t length = 1;
        if (c == '&') {
            for (const char plain : {'&', '<', '>'}) {
                const std::string_view entity = xml_entity(plain);
                if (stands_at(from, entity)) {
                    c = static_cast<Char>(plain);
                    length = entity.size();
                    break;
                }
            }
        }
        text[to] = c;
        from += length;
    }
    text.resize(to);
}

} // namespace

void xml_escape(std::string& text) { expand(text, xml_entity<char>); }

void xml_escape(std::wstring& text) { expand(text, xml_entity<wchar_t>); }

void xml_unescape(std::string& text) { unescape(text); }

void xml_unescape(std::wstring& text) { unescape(text); }

void utf8_to_xml(std::string& text) {
    char reference[] = "&#x00;";
    expand(text, [&reference](char c) -> std::string_view {
        const unsigned char byte = to_byte(c);
        const bool control = (byte >= 0x01 && byte <= 0x1f) || (byte >= 0x7f && byte <= 0x9f);
        if (!control) {
            return {};
        }
        reference[3] = "0123456789ABCDEF"[byte >> 4];
        reference[4] = "0123456789ABCDEF"[byte & 15];
        return reference;
    });
}

std::string utf8_to_xml(const std::string& text) {
    std::string result = text;
    utf8_to_xml(result);
    return result;
}

// Hex dump

namespace {

constexpr char HEX_DIGITS[] = "0123456789abcdef";
constexpr unsigned int DUMP_WIDTH = 16;
constexpr std::size_t DUMP_HEX_WIDTH = 2 * DUMP_WIDTH;

// The part of a line behind its offset; `count` bytes, 1 to DUMP_WIDTH, are left to show.
void append_dump_fields(std::string& out, const char* data, std::size_t count) {
    char hex[DUMP_HEX_WIDTH];
    char characters[DUMP_WIDTH];
    std::fill(std::begin(hex), std::end(hex), ' ');
    std::fill(std::begin(characters), std::end(characters), ' ');
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned char byte = to_byte(data[i]);
        hex[2 * i] = HEX_DIGITS[byte >> 4];
        hex[2 * i + 1] = HEX_DIGITS[byte & 15];
        const bool shown = std::isalnum(byte) != 0 || std::ispunct(byte) != 0 || byte == ' ';
        characters[i] = shown ? data[i] : '.';
    }
    out.append("  ").append(hex, sizeof hex);
    out.append(" ** ").append(characters, sizeof characters).append(" **\n");
}

// An offset in hexadecimal, at least four digits.
void append_dump_offset(std::string& out, unsigned int offset) {
    int shift = 12;
    while (shift < 28 && (offset >> shift) > 15) {
        shift += 4;
    }
    for (; shift >= 0; shift -= 4) {
        out += HEX_DIGITS[(offset >> shift) & 15];
    }
}

} // namespace

bool hex_dump(std::string& out, const char* data, int length, const char* title,
              const char* prefix) {
    std::string dump; // the title, the prefix and the data may lie inside `out`
    if (title != nullptr) {
        dump.append(title).append(1, NEW_LINE);
    }
    if (data != nullptr && length > 0) {
        const auto size = static_cast<unsigned int>(length);
        for (unsigned int offset = 0; offset < size; offset += DUMP_WIDTH) {
            if (prefix != nullptr) {
                dump.append(prefix).append(1, WHITE_SPACE);
            }
            append_dump_offset(dump, offset);
            append_dump_fields(dump, data + offset,
                               std::min<std::size_t>(DUMP_WIDTH, size - offset));
        }
    }
    out = std::move(dump);
    return true;
}

} // namespace nuriccl::string
