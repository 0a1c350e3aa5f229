#pragma once

/// @file
/// The grammar of schedules in another way than the library's: texts are cut at their separators,
/// the pieces are looked up, and a value belongs to an item when the arithmetic says so. Slow and
/// plain.
///
/// Thread safety: every function is re-entrant.

#include <nuriagent/schedule.hpp>

#include <algorithm>
#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

inline bool operator==(const cronblk& a, const cronblk& b) {
    return a.minutes_low == b.minutes_low && a.minutes_high == b.minutes_high &&
           a.hours == b.hours && a.days == b.days && a.months == b.months &&
           a.weekdays == b.weekdays;
}

inline bool operator!=(const cronblk& a, const cronblk& b) { return !(a == b); }

inline std::ostream& operator<<(std::ostream& stream, const cronblk& record) {
    const std::ios_base::fmtflags earlier =
        stream.setf(std::ios_base::hex, std::ios_base::basefield);
    stream << "minutes " << record.minutes_high << ':' << record.minutes_low << " hours "
           << record.hours << " days " << record.days << " months " << record.months << " weekdays "
           << record.weekdays;
    stream.flags(earlier);
    return stream;
}

namespace schedule_model {

/// Value v is bit v, in the minutes, too.
using Mask = std::uint64_t;

/// Minutes, hours, days, months and weekdays.
using Masks = std::array<Mask, 5>;

inline constexpr Mask EVERY = 0xffffffff;

inline Mask bit(unsigned int value) { return Mask{1} << value; }

/// The bits of `low` to `high`.
inline Mask bits_between(unsigned int low, unsigned int high) {
    Mask mask = 0;
    for (unsigned int value = low; value <= high; ++value) {
        mask |= bit(value);
    }
    return mask;
}

inline std::size_t count_of(Mask mask) { return std::bitset<64>(mask).count(); }

inline Masks masks_of(const cronblk& record) {
    return {Mask{record.minutes_high} << 32 | record.minutes_low, record.hours, record.days,
            record.months, record.weekdays};
}

inline cronblk record_of(const Masks& masks) {
    const auto word = [](Mask mask) { return static_cast<std::uint32_t>(mask & EVERY); };
    return {word(masks[0]), word(masks[0] >> 32), word(masks[1]),
            word(masks[2]), word(masks[3]),       word(masks[4])};
}

// Fields

struct Field {
    unsigned int low;
    unsigned int high;
    Mask star;                                  ///< what a lone star sets
    std::map<std::string, unsigned int> values; ///< by number without leading zeros, or by name
    unsigned int modulus = 64;                  ///< value v is bit v % modulus
    bool last_day = false;                      ///< has an item "L", which is bit 0

    /// The bits that stand for something.
    Mask meaning() const { return bits_between(low, high) | (last_day ? bit(0) : 0); }
};

/// A field of nothing but numbers.
inline Field numbers(unsigned int low, unsigned int high, Mask star) {
    Field field{low, high, star, {}};
    for (unsigned int value = low; value <= high; ++value) {
        field.values[std::to_string(value)] = value;
    }
    return field;
}

/// A field as `pln_ent2msk` reads it.
inline Field short_field(unsigned int low, unsigned int high) { return numbers(low, high, EVERY); }

/// A field as `pln_ent2msk64` reads it.
inline Field long_field(unsigned int count) {
    return numbers(0, count - 1, bits_between(0, count - 1));
}

inline std::array<Field, 5> make_fields() {
    std::array<Field, 5> fields{long_field(60), short_field(0, 23), short_field(1, 31),
                                short_field(1, 12), short_field(0, 6)};
    fields[2].last_day = true;
    unsigned int next = 1;
    for (const char* const name :
         {"jan", "feb", "mar", "apr", "may", "jun", "jul", "aug", "sep", "oct", "nov", "dec"}) {
        fields[3].values[name] = next++;
    }
    next = 0;
    for (const char* const name : {"sun", "mon", "tue", "wed", "thu", "fri", "sat"}) {
        fields[4].values[name] = next++;
    }
    fields[4].values["7"] = 7;
    fields[4].modulus = 7;
    return fields;
}

/// The five fields of a schedule in order.
inline const std::array<Field, 5>& fields() {
    static const std::array<Field, 5> FIELDS = make_fields();
    return FIELDS;
}

// Reading

/// The pieces between separators, one more than there are separators.
inline std::vector<std::string> pieces_of(const std::string& text, char separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find(separator, start)) != std::string::npos;
         start = end + 1) {
        pieces.push_back(text.substr(start, end - start));
    }
    pieces.push_back(text.substr(start));
    return pieces;
}

inline bool is_number(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

inline std::string without_leading_zeros(const std::string& number) {
    const std::size_t first = number.find_first_not_of('0');
    return first == std::string::npos ? "0" : number.substr(first);
}

inline std::string lower(std::string text) {
    static const std::string UPPER = "ABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (char& c : text) {
        const std::size_t letter = UPPER.find(c);
        c = letter == std::string::npos ? c : "abcdefghijklmnopqrstuvwxyz"[letter];
    }
    return text;
}

inline std::optional<unsigned int> value_of(const Field& field, const std::string& text) {
    const auto found =
        field.values.find(is_number(text) ? without_leading_zeros(text) : lower(text));
    return found == field.values.end() ? std::nullopt : std::optional(found->second);
}

/// One that is larger than every field is as good as any other such.
inline std::optional<unsigned int> step_of(const std::string& text) {
    const std::string digits = without_leading_zeros(text);
    if (!is_number(text) || digits == "0") {
        return {};
    }
    return digits.size() > 3 ? 1000U : static_cast<unsigned int>(std::stoul(digits));
}

inline Mask every(unsigned int step, unsigned int first, unsigned int last, const Field& field) {
    Mask mask = 0;
    for (unsigned int value = first; value <= last; ++value) {
        mask |= (value - first) % step == 0 ? bit(value % field.modulus) : 0;
    }
    return mask;
}

inline std::optional<Mask> read_item(const Field& field, const std::string& text) {
    if (field.last_day && lower(text) == "l") {
        return bit(0);
    }
    const std::vector<std::string> parts = pieces_of(text, '/');
    const bool stepped = parts.size() == 2;
    const std::optional<unsigned int> step = stepped ? step_of(parts[1]) : 1;
    if (parts.size() > 2 || !step) {
        return {};
    }
    if (parts[0] == "*") {
        return every(*step, field.low, field.high, field);
    }
    const std::vector<std::string> ends = pieces_of(parts[0], '-');
    const std::optional<unsigned int> first = value_of(field, ends.front());
    const std::optional<unsigned int> last = value_of(field, ends.back());
    if (ends.size() > 2 || !first || !last || *first > *last) {
        return {};
    }
    if (ends.size() == 2 || !stepped) {
        return every(*step, *first, *last, field);
    }
    // The end of the field is before a Sunday that is written as 7.
    return is_number(ends[0])
               ? std::optional(every(*step, *first, std::max(*first, field.high), field))
               : std::nullopt;
}

inline std::optional<Mask> read_field(const Field& field, const std::string& text) {
    if (text == "-" || text == "*") {
        return text == "*" ? field.star : 0;
    }
    Mask mask = 0;
    for (const std::string& piece : pieces_of(text, ',')) {
        const std::optional<Mask> item = read_item(field, piece);
        if (!item) {
            return {};
        }
        mask |= *item;
    }
    return mask;
}

inline std::optional<cronblk> read_schedule(std::string text) {
    std::replace(text.begin(), text.end(), '\t', ' ');
    std::vector<std::string> words = pieces_of(text, ' ');
    words.erase(std::remove(words.begin(), words.end(), std::string()), words.end());
    if (words.size() != fields().size()) {
        return {};
    }
    Masks masks{};
    for (std::size_t i = 0; i < masks.size(); ++i) {
        const std::optional<Mask> mask = read_field(fields()[i], words[i]);
        if (!mask) {
            return {};
        }
        masks[i] = *mask;
    }
    return record_of(masks);
}

// Printing

/// The mask that a printed field has to read back to.
inline Mask shown(const Field& field, Mask mask) {
    const bool every = (mask & field.star) == field.star;
    return every ? field.star : mask & field.meaning();
}

inline cronblk shown(const cronblk& record) {
    Masks masks = masks_of(record);
    for (std::size_t i = 0; i < masks.size(); ++i) {
        masks[i] = shown(fields()[i], masks[i]);
    }
    return record_of(masks);
}

/// The runs of three or more values, each as a range.
inline std::vector<std::string> long_runs_of(const Field& field, Mask mask) {
    std::vector<std::string> runs;
    unsigned int length = 0;
    for (unsigned int value = field.low; value <= field.high + 1; ++value) {
        if (value <= field.high && (mask & bit(value)) != 0) {
            ++length;
            continue;
        }
        if (length >= 3) {
            runs.push_back(std::to_string(value - length) + '-' + std::to_string(value - 1));
        }
        length = 0;
    }
    return runs;
}

/// Whether an item of a printed list has one of the forms for its values.
inline bool well_formed(const Field& field, const std::string& item, Mask values) {
    if (item.find_first_of("-/") != std::string::npos) {
        return count_of(values) >= 3;
    }
    return (field.last_day && values == bit(0)) ||
           (is_number(item) && item == without_leading_zeros(item));
}

/// What is wrong with a printed field; empty when nothing is.
inline std::string fault_in_field(const Field& field, Mask mask, const std::string& text) {
    const Mask expected = shown(field, mask);
    const bool every = expected == field.star;
    if (every || expected == 0 || text == "*" || text == "-") {
        return text == (every ? "*" : expected == 0 ? "-" : "a list") ? "" : "star or empty set";
    }
    if (text.find_first_not_of(field.last_day ? "0123456789,-*/L" : "0123456789,-*/") !=
        std::string::npos) {
        return "characters other than of numbers";
    }
    const std::vector<std::string> items = pieces_of(text, ',');
    Mask all = 0;
    std::size_t count = 0;
    for (const std::string& item : items) {
        const Mask values = read_item(field, item).value_or(0);
        if (!well_formed(field, item, values)) {
            return "form of item " + item;
        }
        all |= values;
        count += count_of(values);
    }
    for (const std::string& run : long_runs_of(field, expected)) {
        if (std::find(items.begin(), items.end(), run) == items.end()) {
            return "no range " + run;
        }
    }
    return all != expected ? "other values" : count != count_of(all) ? "values told twice" : "";
}

/// What is wrong with the text printed for a record; empty when nothing is.
inline std::string fault_in_text(const cronblk& record, const std::string& text) {
    const std::vector<std::string> words = pieces_of(text, ' ');
    if (words.size() != fields().size()) {
        return "not five fields with one blank between them: " + text;
    }
    const Masks masks = masks_of(record);
    for (std::size_t i = 0; i < masks.size(); ++i) {
        std::string fault = fault_in_field(fields()[i], masks[i], words[i]);
        if (!fault.empty()) {
            return fault.append(" in field ").append(words[i]).append(" of ").append(text);
        }
    }
    return "";
}

} // namespace schedule_model
