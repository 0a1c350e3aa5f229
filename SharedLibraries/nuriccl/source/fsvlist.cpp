#include <nuriccl/fsvlist.hpp>

#include <kernels/scan.hpp>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <string_view>

namespace nuriccl {

char FSVList::CSV_QuoteChar = '"';
std::string FSVList::CSV_SpecialChars = ",";

namespace {

using std::size_t;

const char DEFAULT_SEPARATOR[] = ",";

// Flags of characters
constexpr unsigned char NOTABLE = 1;    // is neither plain nor what follows
constexpr unsigned char SPECIAL = 2;    // has a field quoted
constexpr unsigned char ESCAPABLE = 4;  // is written with the escape character
constexpr unsigned char TERMINATOR = 8; // ends a field that is read

unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

const char* or_empty(const char* text) { return text != nullptr ? text : ""; }

// What each character is to the writer or the reader, as flags; a plain one has none.
class Kinds {
public:
    using Few = char[4];

    /// @param few       characters that are not plain
    /// @param no_other  whether they are the only ones
    Kinds(const Few& few, bool no_other) : scan_(few), scan_finds_all_(no_other) {
        add({few, std::size(few)}, NOTABLE);
    }

    void add(std::string_view characters, unsigned char flag) {
        for (const char c : characters) {
            flags_[to_byte(c)] |= flag;
        }
    }

    void add_to_all(unsigned char flag) {
        for (unsigned char& flags : flags_) {
            flags |= flag;
        }
    }

    bool is(char c, unsigned char flag) const { return (flags_[to_byte(c)] & flag) != 0; }

    /// The first character from `position` on that is not plain, or the end of the text.
    size_t after_plain(const std::string& text, size_t position) const;

private:
    std::array<unsigned char, 256> flags_{};
    kernels::Scan<std::size(Few{})> scan_;
    bool scan_finds_all_;
};

size_t Kinds::after_plain(const std::string& text, size_t position) const {
    if (scan_finds_all_) {
        for (; text.size() - position >= kernels::SCAN_WIDTH; position += kernels::SCAN_WIDTH) {
            if (const unsigned int found = scan_.matches(text.data() + position)) {
                return position + static_cast<size_t>(__builtin_ctz(found));
            }
        }
    }
    while (position < text.size() && flags_[to_byte(text[position])] == 0) {
        ++position;
    }
    return position;
}

bool is_blank(char c) { return std::isspace(to_byte(c)) != 0; }

bool is_line_break(char c) { return c == '\n' || c == '\r'; }

// What is the same for all fields of a line. Each set is that of the characters of a C string.

char first_of(std::string_view separator, char otherwise) {
    return separator.empty() ? otherwise : separator.front();
}

struct Writing {
    Writing(char quote_mark, std::string_view between, std::string_view specials,
            char escape_character, std::string_view escape_set, bool blank_ends);

    char quote;
    std::string_view separator;
    char escape;
    bool quote_blank_ends;
    Kinds kinds;
};

Writing::Writing(char quote_mark, std::string_view between, std::string_view specials,
                 char escape_character, std::string_view escape_set, bool blank_ends)
    : quote(quote_mark), separator(between), escape(escape_character), quote_blank_ends(blank_ends),
      kinds({quote, first_of(separator, quote), '\n', '\r'},
            specials.empty() && escape == 0 && !blank_ends) {
    kinds.add(specials, SPECIAL);
    if (escape != 0) {
        kinds.add(escape_set, ESCAPABLE);
        kinds.add({&escape, 1}, ESCAPABLE);
        kinds.add({"\0", 1}, ESCAPABLE);
    }
    if (quote_blank_ends) {
        kinds.add_to_all(NOTABLE);
    }
}

struct Reading {
    Reading(char quote_mark, std::string_view between, char escape_character,
            std::string_view terminators, bool drop);

    char quote;
    std::string_view separator;
    char escape;
    bool drop_plain;
    Kinds kinds;
};

Reading::Reading(char quote_mark, std::string_view between, char escape_character,
                 std::string_view terminators, bool drop)
    : quote(quote_mark), separator(between), escape(escape_character), drop_plain(drop),
      kinds({quote, escape, first_of(separator, quote), quote}, terminators.empty()) {
    kinds.add(terminators, TERMINATOR);
}

bool stands_at(const std::string& text, size_t position, std::string_view separator) {
    return !separator.empty() && text.compare(position, separator.size(), separator) == 0;
}

// Writing

struct Need {
    size_t doubled = 0; // characters that take two places
    bool quotes = false;
    bool misused = false; // a character is to be escaped and has the field quoted
};

Need need_of(const std::string& field, const Writing& writing) {
    Need need;
    bool only_blanks = true;
    bool ends_in_blank = false;
    for (size_t i = writing.kinds.after_plain(field, 0); i < field.size();
         i = writing.kinds.after_plain(field, i + 1)) {
        const char c = field[i];
        const bool escapable = writing.kinds.is(c, ESCAPABLE);
        if (writing.quote != 0 && c == writing.quote) {
            ++need.doubled;
            need.quotes = true;
        } else if (writing.kinds.is(c, SPECIAL) ||
                   (!need.quotes && stands_at(field, i, writing.separator))) {
            need.quotes = true;
            need.misused = need.misused || escapable;
        } else if (is_line_break(c) && !escapable) {
            need.quotes = true;
        } else {
            need.doubled += escapable ? 1 : 0;
            const bool blank = is_blank(c);
            need.quotes =
                need.quotes || (writing.quote_blank_ends && blank && only_blanks && !escapable);
            only_blanks = only_blanks && blank;
            ends_in_blank = blank && !escapable;
        }
    }
    need.quotes = need.quotes || (writing.quote_blank_ends && ends_in_blank);
    return need;
}

char escape_code(char c) { return c == 0 ? '0' : c == '\n' ? 'n' : c == '\r' ? 'r' : c; }

// Writes a field so that it fills the room from `start` to `end`. Going backwards it may overwrite
// the field itself, when both begin at the same place.
void write_between(char* start, char* end, std::string_view field, const Writing& writing,
                   bool quoted) {
    char* const first = start + (quoted ? 1 : 0);
    if (quoted) {
        *--end = writing.quote;
    }
    size_t left = field.size();
    while (static_cast<size_t>(end - first) != left) { // something takes two places
        const char c = field[--left];
        if (writing.quote != 0 && c == writing.quote) {
            *--end = c;
            *--end = c;
        } else if (writing.kinds.is(c, ESCAPABLE)) {
            *--end = escape_code(c);
            *--end = writing.escape;
        } else {
            *--end = c;
        }
    }
    std::char_traits<char>::move(first, field.data(), left);
    if (quoted) {
        *start = writing.quote;
    }
}

bool write_field(const std::string& field, std::string& out, const Writing& writing,
                 bool quote_always) {
    const Need need = need_of(field, writing);
    if (need.misused) {
        throw std::out_of_range(
            "FSVList: a field holds a character that the escape set has in common "
            "with the separator or the special characters");
    }
    const bool in_place = &field == &out;
    const bool quotes = need.quotes || quote_always;
    const bool quoted = quotes && writing.quote != 0;
    const size_t length = field.size();
    const size_t written = length + need.doubled + (quoted ? 2 : 0);
    const std::string_view separator =
        in_place || out.empty() ? std::string_view() : writing.separator;
    const size_t start = in_place ? 0 : out.size() + separator.size();
    const bool changed = quotes || need.doubled != 0;
    if (in_place && !changed) {
        return false;
    }
    out.resize(start + written);
    char* const place = out.data() + start;
    separator.copy(place - separator.size(), separator.size());
    write_between(place, place + written, {field.data(), length}, writing, quoted);
    return changed;
}

// Reading

char unescaped(char c) {
    return c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c == '0' ? '\0' : c;
}

// Where the characters of a field go: behind each other into another string or, in place, to where
// the field starts.
class Taker {
public:
    Taker(const std::string& text, std::string& out, size_t start)
        : out_(out), in_place_(&text == &out), start_(start) {
        if (!in_place_) {
            out.clear();
        }
    }

    void take(char c) { take(&c, 1); }

    void take(const char* characters, size_t count) {
        if (in_place_) {
            std::char_traits<char>::move(out_.data() + start_ + taken_, characters, count);
            taken_ += count;
        } else {
            out_.append(characters, count);
        }
    }

    // The number of characters taken in place.
    size_t taken() const { return taken_; }

private:
    std::string& out_;
    const bool in_place_;
    const size_t start_;
    size_t taken_ = 0;
};

struct Field {
    size_t next;   // where the next one starts; npos at the end of the text
    size_t length; // of what was written in place
    bool changed;
};

Field read_field(size_t start, const std::string& text, std::string& out, const Reading& reading) {
    enum class State { OUTSIDE, INSIDE, QUOTE_SEEN } state = State::OUTSIDE;
    Taker taker(text, out, start);
    bool escaped = false;
    bool changed = false;
    size_t i = start;
    while (i < text.size()) {
        const char c = text[i];
        if (state == State::OUTSIDE && reading.kinds.is(c, TERMINATOR)) {
            if (i == start) {
                taker.take(c);
                ++i;
            }
            break;
        }
        size_t count = 1; // how many characters are used up
        if (escaped) {
            taker.take(unescaped(c));
            escaped = false;
        } else if (reading.quote != 0 && c == reading.quote) {
            changed = true;
            if (state == State::QUOTE_SEEN) {
                taker.take(c);
            }
            state = state == State::INSIDE ? State::QUOTE_SEEN : State::INSIDE;
        } else if (reading.escape != 0 && c == reading.escape) {
            changed = true;
            escaped = true;
        } else {
            state = state == State::INSIDE ? State::INSIDE : State::OUTSIDE;
            if (state == State::OUTSIDE && stands_at(text, i, reading.separator)) {
                i += reading.separator.size();
                break;
            }
            count = reading.kinds.after_plain(text, i + 1) - i;
            if (reading.drop_plain) {
                changed = true;
            } else {
                taker.take(text.data() + i, count);
            }
        }
        i += count;
    }
    return {i < text.size() ? i : std::string::npos, taker.taken(), changed};
}

// How many fields there are room for at once. Quotes may hold any number of separators, so there is
// a limit in proportion to the text.
size_t likely_count(const std::string& text, char separator) {
    const size_t separators = kernels::Scan<1>({separator}).count(text.data(), text.size());
    return std::min(separators + 1, text.size() / 8 + 8);
}

} // namespace

FSVList::FSVList(const std::string& separator) { field_separator(separator); }

FSVList& FSVList::field_separator(const std::string& separator) {
    separator_ = !separator.empty() ? separator : DEFAULT_SEPARATOR;
    return *this;
}

FSVList& FSVList::parse(const std::string& text, bool literal_quotes) {
    const Reading reading(literal_quotes ? '\0' : quote_, separator_.c_str(), escape_,
                          specials_.c_str(), drop_plain_);
    std::vector<std::string> fields;
    fields.reserve(likely_count(text, separator_.front()));
    for (size_t position = text.empty() ? std::string::npos : 0; position != std::string::npos;) {
        position = read_field(position, text, fields.emplace_back(), reading).next;
    }
    fields_.swap(fields);
    return *this;
}

std::string FSVList::to_str(bool quote_all) const {
    const Writing writing(quote_, separator_.c_str(), specials_.c_str(), escape_,
                          escape_set_.c_str(), quote_blank_ends_);
    size_t likely_size = 0;
    for (const std::string& field : fields_) {
        likely_size += field.size() + separator_.size() + (quote_all ? 2 : 0);
    }
    std::string line;
    line.reserve(likely_size);
    for (const std::string& field : fields_) {
        write_field(field, line, writing, quote_all);
    }
    return line;
}

std::vector<std::string> FSVList::to_list() const { return fields_; }

bool FSVList::QuoteStringCSV(const std::string& field, std::string& out, char quote,
                             const char* separator, const char* specials, char escape,
                             const char* escape_set, bool quote_blank_ends, bool quote_always) {
    const std::string between = or_empty(separator); // it may stand in `out`
    const Writing writing(quote, between, or_empty(specials), escape, or_empty(escape_set),
                          quote_blank_ends);
    return write_field(field, out, writing, quote_always);
}

bool FSVList::DequoteStringCSV(unsigned int& position, const std::string& text, std::string& out,
                               unsigned int* field_start, unsigned int* field_length, char quote,
                               const char* separator, char escape, const char* terminators,
                               bool drop_plain) {
    const std::string between = or_empty(separator); // it may stand in `out`
    const Reading reading(quote, between, escape, or_empty(terminators), drop_plain);
    const unsigned int start = position;
    const Field field = read_field(start, text, out, reading);
    if (field_start != nullptr) {
        *field_start = start;
    }
    if (field_length != nullptr) {
        *field_length = static_cast<unsigned int>(field.length);
    }
    position = static_cast<unsigned int>(field.next);
    return field.changed;
}

} // namespace nuriccl
