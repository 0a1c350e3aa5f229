#include <nuriccl/string.hpp>

#include <algorithm>
#include <bitset>
#include <cassert>
#include <cctype>
#include <climits>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <kernels/dump.hpp>
#include <kernels/ignorecase.hpp>
#include <kernels/scan.hpp>
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
    return text.substr(0, text.find_last_not_of(set) + 1); // npos + 1 is 0
}

std::string trim_both(const std::string& text, const std::string& set) {
    const std::size_t first = std::min(text.find_first_not_of(set), text.size());
    // Of nothing but set characters none are left: 0 - first wraps, and first is the end.
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

// The table of the locale "C", of which there is one. Before it is set no locale counts as that
// one.
const std::int32_t* const CLASSIC_UPPER_CASE =
    newlocale(LC_CTYPE_MASK, "C", nullptr)->__ctype_toupper;

// Whether the locale gives the letters of ASCII the upper case that everybody expects. It need not:
// in Turkish the upper case of i has a dot, too, and is a byte of its own in some character sets.
bool has_plain_upper_case(const std::int32_t* to_upper) {
    if (to_upper == CLASSIC_UPPER_CASE) {
        return true;
    }
    bool plain = true;
    for (int i = 0; i < 26; ++i) {
        plain &= to_upper['a' + i] == 'A' + i;
        plain &= to_upper['A' + i] == 'A' + i;
    }
    return plain;
}

// Compares from position `i` on, up to which there is no difference.
int compare_from(std::size_t i, std::string_view a, std::string_view b,
                 const std::int32_t* to_upper) {
    const auto upper_of = [to_upper](char c) {
        return to_byte(static_cast<char>(to_upper[to_byte(c)]));
    };
    const std::size_t common = std::min(a.size(), b.size());
    for (; i < common; ++i) {
        if (a[i] != b[i]) {
            const int difference = upper_of(a[i]) - upper_of(b[i]);
            if (difference != 0) {
                return difference;
            }
        }
    }
    return a.size() < b.size() ? -1 : a.size() > b.size();
}

int compare(std::string_view a, std::string_view b) {
    const std::size_t common = std::min(a.size(), b.size());
    constexpr std::size_t LONG = 16;
    const std::size_t same =
        common >= LONG ? kernels::same_but_case(a.data(), b.data(), common) : 0;
    const std::int32_t* const to_upper = *__ctype_toupper_loc(); // what toupper uses
    return compare_from(same != 0 && has_plain_upper_case(to_upper) ? same : 0, a, b, to_upper);
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
    const kernels::Scan separators({separator});
    const std::size_t needed = fields.size() + separators.count(text.data(), text.size()) + 1;
    if (needed > fields.capacity()) { // at least twice, or many small calls would take square time
        fields.reserve(std::max(needed, 2 * fields.capacity()));
    }
    std::size_t start = 0;
    separators.for_each(text.data(), text.size(), [&](std::size_t end) {
        add_field(fields, text, start, end);
        start = end + 1;
    });
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

// As expand() does it, with the characters between two entities moved together.
void xml_escape(std::string& text) {
    constexpr auto WIDTH = static_cast<std::ptrdiff_t>(kernels::SCAN_WIDTH);
    const kernels::Scan markup({'&', '<', '>'});
    const kernels::Scan ampersand({'&'});
    const std::size_t size = text.size();
    const std::size_t growth =
        3 * markup.count(text.data(), size) + ampersand.count(text.data(), size); // "&amp;" has 5
    text.resize(size + growth);
    const char* const start = text.data();
    const char* from = start + size;
    char* to = text.data() + size + growth;
    while (from != to) {
        if (from - start >= WIDTH) {
            const unsigned int found = markup.matches(from - WIDTH);
            const std::ptrdiff_t run = found != 0 ? __builtin_clz(found << WIDTH) : WIDTH;
            if (run == WIDTH || to - from >= WIDTH) { // also over what is not read any more
                kernels::copy_16(to - WIDTH, from - WIDTH);
            } else {
                std::memmove(to - run, from - run, static_cast<std::size_t>(run));
            }
            from -= run;
            to -= run;
            if (run == WIDTH) {
                continue;
            }
        }
        const char c = *--from;
        const std::string_view entity = xml_entity(c);
        if (entity.empty()) {
            *--to = c;
        } else {
            to -= entity.size();
            entity.copy(to, entity.size());
        }
    }
}

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

// The part of a line behind its offset: both columns full of blanks, and where they begin.
constexpr char DUMP_FIELDS[] = "                                   **                  **\n";
constexpr std::size_t DUMP_DIGITS = 2;
constexpr std::size_t DUMP_CHARACTERS = 38;
static_assert(sizeof DUMP_FIELDS - 1 == DUMP_CHARACTERS + kernels::DUMP_WIDTH + 4);

bool is_shown(char c) {
    return std::isalnum(to_byte(c)) != 0 || std::ispunct(to_byte(c)) != 0 || c == WHITE_SPACE;
}

// Whether the locale has bytes beyond ASCII to show.
bool shows_more_than_ascii() {
    for (int byte = 0x80; byte <= 0xff; ++byte) {
        if (is_shown(static_cast<char>(byte))) {
            return true;
        }
    }
    return false;
}

// Puts the columns of DUMP_WIDTH bytes into a line.
void fill_dump_columns(char* fields, const char* data, bool only_ascii) {
    kernels::dump_digits(data, fields + DUMP_DIGITS);
    char* const characters = fields + DUMP_CHARACTERS;
    unsigned int others = kernels::dump_characters(data, characters);
    for (others = only_ascii ? 0 : others; others != 0; others &= others - 1) {
        const int i = __builtin_ctz(others);
        if (is_shown(data[i])) {
            characters[i] = data[i];
        }
    }
}

// `count` bytes, 1 to DUMP_WIDTH, are left to show.
void append_dump_fields(std::string& out, const char* data, std::size_t count, bool only_ascii) {
    char fields[sizeof DUMP_FIELDS];
    std::memcpy(fields, DUMP_FIELDS, sizeof fields);
    if (count == kernels::DUMP_WIDTH) {
        fill_dump_columns(fields, data, only_ascii);
    } else {
        char last[kernels::DUMP_WIDTH] = {};
        std::memcpy(last, data, count);
        fill_dump_columns(fields, last, only_ascii);
        std::fill(fields + DUMP_DIGITS + 2 * count, fields + DUMP_DIGITS + 2 * kernels::DUMP_WIDTH,
                  WHITE_SPACE);
        std::fill(fields + DUMP_CHARACTERS + count, fields + DUMP_CHARACTERS + kernels::DUMP_WIDTH,
                  WHITE_SPACE);
    }
    out.append(fields, sizeof fields - 1);
}

constexpr std::size_t DUMP_OFFSET = 8; // characters at most

// An offset in hexadecimal, at least four digits.
void append_dump_offset(std::string& out, unsigned int offset) {
    int shift = 12;
    while (shift < 28 && (offset >> shift) > 15) {
        shift += 4;
    }
    char digits[DUMP_OFFSET];
    char* end = digits;
    for (; shift >= 0; shift -= 4) {
        *end++ = HEX_DIGITS[(offset >> shift) & 15];
    }
    out.append(digits, end);
}

} // namespace

bool hex_dump(std::string& out, const char* data, int length, const char* title,
              const char* prefix) {
    const std::string_view title_line = or_empty(title);
    const std::string_view line_prefix = or_empty(prefix);
    const unsigned int size = data != nullptr && length > 0 ? static_cast<unsigned int>(length) : 0;
    const std::uint64_t lines =
        (std::uint64_t{size} + kernels::DUMP_WIDTH - 1) / kernels::DUMP_WIDTH;
    const std::uint64_t expected =
        title_line.size() + 1 + lines * (line_prefix.size() + 1 + DUMP_OFFSET + sizeof DUMP_FIELDS);
    std::string dump;
    const auto lies_apart = [&out](const char* text) {
        const std::less<> before;
        return text == nullptr || before(text, out.data()) ||
               before(out.data() + out.capacity(), text);
    };
    if (expected <= out.capacity() && lies_apart(data) && lies_apart(title) && lies_apart(prefix)) {
        dump.swap(out); // nothing can fail any more
        dump.clear();
    } else if (expected <= dump.max_size()) {
        dump.reserve(static_cast<std::size_t>(expected));
    }
    constexpr unsigned int LARGE = 512; // bytes, for which it pays to ask beforehand
    const bool only_ascii = size >= LARGE && !shows_more_than_ascii();
    if (title != nullptr) {
        dump.append(title_line).append(1, NEW_LINE);
    }
    for (unsigned int offset = 0; offset < size; offset += kernels::DUMP_WIDTH) {
        if (prefix != nullptr) {
            dump.append(line_prefix).append(1, WHITE_SPACE);
        }
        append_dump_offset(dump, offset);
        append_dump_fields(dump, data + offset,
                           std::min<std::size_t>(kernels::DUMP_WIDTH, size - offset), only_ascii);
    }
    out = std::move(dump);
    return true;
}

} // namespace nuriccl::string
