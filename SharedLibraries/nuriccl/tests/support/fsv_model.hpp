#pragma once

/// @file
/// What a field-separated line has to be: one field written and one field read, a character and a
/// step at a time. Slow and simple; the tests and the fuzz target hold the library against it.

#include <cctype>
#include <cstddef>
#include <string>
#include <vector>

namespace fsv_model {

/// Whether the C string holds the character; no C string holds NUL, and null holds nothing.
inline bool holds(const char* set, char c) {
    for (; set != nullptr && *set != '\0'; ++set) {
        if (*set == c) {
            return true;
        }
    }
    return false;
}

inline std::string text_or_empty(const char* text) { return text != nullptr ? text : ""; }

/// How fields are written: the arguments of `QuoteStringCSV` in their order.
struct Writing {
    char quote = '"';
    const char* separator = ",";
    const char* specials = nullptr;
    char escape = 0;
    const char* escape_set = nullptr;
    bool quote_blank_ends = false;
    bool quote_always = false;

    bool escapes(char c) const {
        return escape != 0 && (c == '\0' || c == escape || holds(escape_set, c));
    }
};

/// What writing a field left behind.
struct Written {
    bool misused; ///< the length that was counted is too short; the line is as it was
    bool changed;
    std::string line;

    bool operator==(const Written& other) const {
        return misused == other.misused && changed == other.changed && line == other.line;
    }
};

/// What has to be known before a field is written.
struct Count {
    std::size_t quotes = 0;
    std::size_t escapes = 0;
    bool required = false; // quoting
};

inline Count count(const std::string& field, const Writing& writing) {
    const std::string separator = text_or_empty(writing.separator);
    Count count;
    bool non_blank_seen = false;
    bool ends_in_blank = false;
    for (std::size_t i = 0; i < field.size(); ++i) {
        const char c = field[i];
        if (writing.quote != 0 && c == writing.quote) {
            ++count.quotes;
            count.required = true;
            continue;
        }
        if (holds(writing.specials, c)) {
            count.required = true;
            continue;
        }
        if ((c == '\r' || c == '\n') && !writing.escapes(c)) {
            count.required = true;
            continue;
        }
        if (!separator.empty() && !count.required &&
            field.compare(i, separator.size(), separator) == 0) {
            count.required = true;
            continue;
        }
        if (writing.escapes(c)) {
            ++count.escapes;
        }
        if (std::isspace(static_cast<unsigned char>(c)) == 0) {
            non_blank_seen = true;
            ends_in_blank = false;
            continue;
        }
        if (!non_blank_seen && writing.quote_blank_ends && !writing.escapes(c)) {
            count.required = true;
        }
        ends_in_blank = true;
    }
    if (!count.required && ends_in_blank && !writing.escapes(field.back()) &&
        writing.quote_blank_ends) {
        count.required = true;
    } else if (!count.required) {
        count.required = writing.quote_always;
    }
    return count;
}

/// Space of a counted length that is filled from its end.
class Space {
public:
    explicit Space(std::size_t length) : text_(length, '?'), left_(length) {}

    void put(char c) {
        if (left_ == 0) {
            overrun_ = true;
        } else {
            text_[--left_] = c;
        }
    }

    bool overrun() const { return overrun_; }
    const std::string& text() const { return text_; }

private:
    std::string text_;
    std::size_t left_;
    bool overrun_ = false;
};

/// A field written at the end of the line `before`, or in place, where `before` is not looked at.
inline Written write(const std::string& field, const std::string& before, bool in_place,
                     const Writing& writing) {
    const Count counted = count(field, writing);
    std::string line;
    if (!in_place) {
        line = before;
        if (!line.empty()) {
            line += text_or_empty(writing.separator);
        }
    }
    if (counted.escapes == 0 && !counted.required) {
        return {false, false, line + field};
    }
    const bool quoted = counted.required && writing.quote != 0;
    Space space(field.size() + counted.escapes + counted.quotes + (quoted ? 2 : 0));
    if (quoted) {
        space.put(writing.quote);
    }
    for (std::size_t i = field.size(); i > 0; --i) {
        const char c = field[i - 1];
        if (writing.quote != 0 && c == writing.quote) {
            space.put(c);
            space.put(c);
        } else if (writing.escapes(c)) {
            space.put(c == '\0' ? '0' : c == '\n' ? 'n' : c == '\r' ? 'r' : c);
            space.put(writing.escape);
        } else {
            space.put(c);
        }
    }
    if (quoted) {
        space.put(writing.quote);
    }
    if (space.overrun()) {
        return {true, false, in_place ? field : before};
    }
    return {false, true, line + space.text()};
}

/// All fields as one line.
inline Written write_all(const std::vector<std::string>& fields, const Writing& writing) {
    Written written{false, false, ""};
    for (const std::string& field : fields) {
        written = write(field, written.line, false, writing);
        if (written.misused) {
            break;
        }
    }
    return written;
}

/// How fields are read.
struct Reading {
    char quote = '"';
    const char* separator = ",";
    char escape = 0;
    const char* terminators = nullptr;
    bool drop_plain = false;
};

/// A position behind which there is no field.
inline constexpr unsigned int NOWHERE = static_cast<unsigned int>(-1);

/// What reading a field found.
struct Read {
    std::string field;
    unsigned int next; ///< where the next field starts, or NOWHERE
    bool changed;

    bool operator==(const Read& other) const {
        return field == other.field && next == other.next && changed == other.changed;
    }
};

inline Read read(std::size_t start, const std::string& text, const Reading& reading) {
    const std::string separator = text_or_empty(reading.separator);
    bool outside = true;
    bool quote_seen = false;
    bool escaped = false;
    bool met_or_dropped = false;
    std::string field;
    std::size_t position = start;
    while (position < text.size()) {
        const char c = text[position];
        if (outside && holds(reading.terminators, c)) {
            if (position == start) {
                field += c;
                ++position;
            }
            break;
        }
        if (escaped) {
            const std::string codes = "nrt0";
            const std::size_t code = codes.find(c);
            field += code == std::string::npos ? c : "\n\r\t\0"[code];
            escaped = false;
        } else if (reading.quote != 0 && c == reading.quote) {
            met_or_dropped = true;
            if (outside) {
                outside = false;
            } else if (!quote_seen) {
                quote_seen = true;
            } else {
                quote_seen = false;
                field += c;
            }
        } else if (reading.escape != 0 && c == reading.escape) {
            met_or_dropped = true;
            escaped = true;
        } else {
            if (quote_seen) {
                quote_seen = false;
                outside = true;
            }
            if (outside && !separator.empty() &&
                text.compare(position, separator.size(), separator) == 0) {
                position += separator.size();
                break;
            }
            if (reading.drop_plain) {
                met_or_dropped = true;
            } else {
                field += c;
            }
        }
        ++position;
    }
    return {field, position >= text.size() ? NOWHERE : static_cast<unsigned int>(position),
            met_or_dropped};
}

/// All fields of a line.
inline std::vector<std::string> read_all(const std::string& text, const Reading& reading) {
    std::vector<std::string> fields;
    for (unsigned int position = text.empty() ? NOWHERE : 0; position != NOWHERE;) {
        const Read found = read(position, text, reading);
        fields.push_back(found.field);
        position = found.next;
    }
    return fields;
}

} // namespace fsv_model
