#include <nuriccl/fsvlist.hpp>

#include <bitset>
#include <cctype>
#include <cstddef>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace nuriccl {

char FSVList::CSV_QuoteChar = '"';
std::string FSVList::CSV_SpecialChars = ",";

namespace {

using std::size_t;
using Set = std::bitset<256>;

const char DEFAULT_SEPARATOR[] = ",";

unsigned char to_byte(char c) { return static_cast<unsigned char>(c); }

const char* or_empty(const char* text) { return text != nullptr ? text : ""; }

Set set_of(std::string_view characters) {
    Set set;
    for (const char c : characters) {
        set.set(to_byte(c));
    }
    return set;
}

bool is_blank(char c) { return std::isspace(to_byte(c)) != 0; }

bool is_line_break(char c) { return c == '\n' || c == '\r'; }

// What is the same for all fields of a line. Each set is that of the characters of a C string.

struct Writing {
    Writing(char quote_mark, std::string_view between, const char* special_characters,
            char escape_character, const char* escape_set, bool blank_ends);

    char quote;
    std::string_view separator;
    Set specials;
    char escape;
    Set escapable;
    bool quote_blank_ends;
    Set plain; // needs no second look
};

Writing::Writing(char quote_mark, std::string_view between, const char* special_characters,
                 char escape_character, const char* escape_set, bool blank_ends)
    : quote(quote_mark), separator(between), specials(set_of(special_characters)),
      escape(escape_character), quote_blank_ends(blank_ends) {
    if (escape != 0) {
        escapable = set_of(escape_set).set(0).set(to_byte(escape));
    }
    if (!quote_blank_ends) {
        plain = ~(specials | escapable | set_of("\n\r") | set_of(separator.substr(0, 1)));
        plain.reset(to_byte(quote));
    }
}

struct Reading {
    Reading(char quote_mark, std::string_view between, char escape_character,
            const char* terminating, bool drop);

    char quote;
    std::string_view separator;
    char escape;
    Set terminators;
    bool drop_plain;
    Set plain; // belongs to a field in every state
};

Reading::Reading(char quote_mark, std::string_view between, char escape_character,
                 const char* terminating, bool drop)
    : quote(quote_mark), separator(between), escape(escape_character),
      terminators(set_of(terminating)), drop_plain(drop) {
    plain = ~(terminators | set_of(separator.substr(0, 1)));
    plain.reset(to_byte(quote)).reset(to_byte(escape));
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
    for (size_t i = 0; i < field.size(); ++i) {
        const char c = field[i];
        if (writing.plain[to_byte(c)]) {
            continue;
        }
        const bool escapable = writing.escapable[to_byte(c)];
        if (writing.quote != 0 && c == writing.quote) {
            ++need.doubled;
            need.quotes = true;
        } else if (writing.specials[to_byte(c)] ||
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

// Writes the field so that it ends at `end`. Going backwards it may overwrite the field itself, when
// both begin at the same place.
void write_backwards(std::string_view field, char* end, const Writing& writing, bool quoted) {
    if (quoted) {
        *--end = writing.quote;
    }
    for (size_t i = field.size(); i-- > 0;) {
        const char c = field[i];
        if (writing.quote != 0 && c == writing.quote) {
            *--end = c;
            *--end = c;
        } else if (writing.escapable[to_byte(c)]) {
            *--end = escape_code(c);
            *--end = writing.escape;
        } else {
            *--end = c;
        }
    }
    if (quoted) {
        *--end = writing.quote;
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
    out.reserve(start + written);
    out += separator;
    if (!quotes && need.doubled == 0) {
        if (!in_place) {
            out += field;
        }
        return false;
    }
    out.resize(start + written);
    write_backwards({field.data(), length}, out.data() + start + written, writing, quoted);
    return true;
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
        if (state == State::OUTSIDE && reading.terminators[to_byte(c)]) {
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
            while (i + count < text.size() && reading.plain[to_byte(text[i + count])]) {
                ++count;
            }
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
    for (size_t position = text.empty() ? std::string::npos : 0; position != std::string::npos;) {
        std::string field;
        position = read_field(position, text, field, reading).next;
        fields.push_back(std::move(field));
    }
    fields_.swap(fields);
    return *this;
}

std::string FSVList::to_str(bool quote_all) const {
    const Writing writing(quote_, separator_.c_str(), specials_.c_str(), escape_,
                          escape_set_.c_str(), quote_blank_ends_);
    std::string line;
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
