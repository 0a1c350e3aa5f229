#include <nuriagent/schedule.hpp>

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace {

using Mask = std::uint64_t;

constexpr std::uint32_t EVERY = 0xffffffff;

// What a field may hold.
struct Field {
    unsigned int low;
    unsigned int high;
    const char* names = "";      // three letters each, for the values from `low` on
    bool last_day = false;       // takes 'L', which is bit 0
    unsigned int also_first = 0; // a number above `high` that stands for bit 0
};

constexpr Field MINUTE = {0, 59};
constexpr Field HOUR = {0, 23};
constexpr Field DAY = {1, 31, "", true};
constexpr Field MONTH = {1, 12, "janfebmaraprmayjunjulaugsepoctnovdec"};
constexpr Field WEEKDAY = {0, 6, "sunmontuewedthufrisat", false, 7};

constexpr Mask bit(unsigned int value) { return Mask{1} << value; }

// Reading

char to_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// Takes the text apart from left to right.
class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool at_end() const { return rest_.empty(); }

    bool take(char c) {
        const bool there = !rest_.empty() && rest_[0] == c;
        rest_.remove_prefix(there ? 1 : 0);
        return there;
    }

    // A decimal number of any length; a large one is larger than any field takes.
    std::optional<unsigned int> number() {
        constexpr unsigned int LARGE = 1000000;
        std::optional<unsigned int> value;
        while (!rest_.empty() && rest_[0] >= '0' && rest_[0] <= '9') {
            const auto digit = static_cast<unsigned int>(rest_[0] - '0');
            value = std::min(value.value_or(0) * 10 + digit, LARGE);
            rest_.remove_prefix(1);
        }
        return value;
    }

    // The position among names of three letters, in either case.
    std::optional<unsigned int> name(std::string_view names) {
        std::array<char, 3> letters;
        if (rest_.size() < letters.size()) {
            return {};
        }
        std::transform(rest_.begin(), rest_.begin() + letters.size(), letters.begin(), to_lower);
        const std::string_view word(letters.data(), letters.size());
        for (std::size_t i = 0; i < names.size(); i += word.size()) {
            if (names.substr(i, word.size()) == word) {
                rest_.remove_prefix(word.size());
                return static_cast<unsigned int>(i / word.size());
            }
        }
        return {};
    }

private:
    std::string_view rest_;
};

struct Value {
    unsigned int number;
    bool named;
};

std::optional<Value> read_value(Reader& reader, const Field& field) {
    if (const auto number = reader.number()) {
        const bool in_range = *number >= field.low && *number <= field.high;
        const bool also = field.also_first != 0 && *number == field.also_first;
        return in_range || also ? std::optional<Value>({*number, false}) : std::nullopt;
    }
    if (const auto position = reader.name(field.names)) {
        return Value{field.low + *position, true};
    }
    return {};
}

// The bits of every `step`-th value.
Mask bits_of(unsigned int first, unsigned int last, unsigned int step, const Field& field) {
    Mask mask = 0;
    for (unsigned int value = first; value <= last; value += step) {
        mask |= bit(value > field.high ? 0 : value);
    }
    return mask;
}

// A star, a value or a range.
struct Range {
    unsigned int first;
    unsigned int last;
    unsigned int last_step; // where steps end
    bool may_have_step = true;
};

std::optional<Range> read_range(Reader& reader, const Field& field) {
    if (reader.take('*')) {
        return Range{field.low, field.high, field.high};
    }
    const auto first = read_value(reader, field);
    if (!first) {
        return {};
    }
    if (!reader.take('-')) {
        const unsigned int last_step = std::max(first->number, field.high);
        return Range{first->number, first->number, last_step, !first->named};
    }
    const auto last = read_value(reader, field);
    if (!last || last->number < first->number) {
        return {};
    }
    return Range{first->number, last->number, last->number};
}

std::optional<Mask> read_item(Reader& reader, const Field& field) {
    if (field.last_day && (reader.take('L') || reader.take('l'))) {
        return bit(0);
    }
    auto range = read_range(reader, field);
    unsigned int step = 1;
    if (range && reader.take('/')) {
        step = reader.number().value_or(0);
        if (step == 0 || !range->may_have_step) {
            return {};
        }
        range->last = range->last_step;
    }
    return range ? std::optional(bits_of(range->first, range->last, step, field)) : std::nullopt;
}

std::optional<Mask> read_field(std::string_view text, const Field& field) {
    if (text == "-") {
        return 0;
    }
    Reader reader(text);
    Mask mask = 0;
    do {
        const auto item = read_item(reader, field);
        if (!item) {
            return {};
        }
        mask |= *item;
    } while (reader.take(','));
    return reader.at_end() ? std::optional(mask) : std::nullopt;
}

// The same for a mask of 32 bits, where a lone star is more than all values.
std::optional<std::uint32_t> read_short_field(std::string_view text, const Field& field) {
    if (text == "*") {
        return EVERY;
    }
    const auto mask = read_field(text, field);
    return mask ? std::optional(static_cast<std::uint32_t>(*mask)) : std::nullopt;
}

std::vector<std::string_view> words_of(std::string_view text) {
    std::vector<std::string_view> words;
    for (std::size_t start = 0;
         (start = text.find_first_not_of(" \t", start)) != std::string_view::npos;) {
        const std::size_t end = std::min(text.find_first_of(" \t", start), text.size());
        words.push_back(text.substr(start, end - start));
        start = end;
    }
    return words;
}

// Writing

std::vector<unsigned int> values_of(Mask mask, const Field& field) {
    std::vector<unsigned int> values;
    for (unsigned int value = field.low; value <= field.high; ++value) {
        if ((mask & bit(value)) != 0) {
            values.push_back(value);
        }
    }
    return values;
}

std::string range_text(unsigned int first, unsigned int last) {
    return std::to_string(first) + '-' + std::to_string(last);
}

// The values as one item with a step of 2 or more; empty when they are not evenly spaced.
std::string stepped_text(const std::vector<unsigned int>& values, const Field& field) {
    const unsigned int step = values.size() < 3 ? 1 : values[1] - values[0];
    const auto other_gap = [step](unsigned int a, unsigned int b) { return b - a != step; };
    if (step == 1 || std::adjacent_find(values.begin(), values.end(), other_gap) != values.end()) {
        return "";
    }
    const bool whole_field = values.front() == field.low && values.back() + step > field.high;
    return (whole_field ? "*" : range_text(values.front(), values.back())) + '/' +
           std::to_string(step);
}

// The values as a list, in which runs of three or more are ranges.
std::string list_text(const std::vector<unsigned int>& values) {
    std::string text;
    for (std::size_t i = 0; i < values.size();) {
        std::size_t end = i + 1;
        while (end < values.size() && values[end] == values[end - 1] + 1) {
            ++end;
        }
        end = end - i < 3 ? i + 1 : end;
        text += text.empty() ? "" : ",";
        text += end - i == 1 ? std::to_string(values[i]) : range_text(values[i], values[end - 1]);
        i = end;
    }
    return text;
}

std::string field_text(Mask mask, const Field& field) {
    const std::vector<unsigned int> values = values_of(mask, field);
    std::string text = stepped_text(values, field);
    if (text.empty()) {
        text = list_text(values);
    }
    if (field.last_day && (mask & bit(0)) != 0) {
        text += text.empty() ? "L" : ",L";
    }
    return text.empty() ? "-" : text;
}

std::string short_field_text(std::uint32_t mask, const Field& field) {
    return mask == EVERY ? "*" : field_text(mask, field);
}

} // namespace

int pln_str2crn(cronblk* record, const std::string& text) {
    const std::vector<std::string_view> words = words_of(text);
    if (record == nullptr || words.size() != 5) {
        return 0;
    }
    const auto minutes = read_field(words[0], MINUTE);
    const auto hours = read_short_field(words[1], HOUR);
    const auto days = read_short_field(words[2], DAY);
    const auto months = read_short_field(words[3], MONTH);
    const auto weekdays = read_short_field(words[4], WEEKDAY);
    if (!minutes || !hours || !days || !months || !weekdays) {
        return 0;
    }
    *record = {static_cast<std::uint32_t>(*minutes),
               static_cast<std::uint32_t>(*minutes >> 32),
               *hours,
               *days,
               *months,
               *weekdays};
    return 1;
}

std::string pln_crn2str(const cronblk* record) {
    if (record == nullptr) {
        return "";
    }
    const Mask minutes = Mask{record->minutes_high} << 32 | record->minutes_low;
    const Mask every_minute = bit(MINUTE.high + 1) - 1;
    return ((minutes & every_minute) == every_minute ? "*" : field_text(minutes, MINUTE)) + ' ' +
           short_field_text(record->hours, HOUR) + ' ' + short_field_text(record->days, DAY) + ' ' +
           short_field_text(record->months, MONTH) + ' ' +
           short_field_text(record->weekdays, WEEKDAY);
}

int pln_ent2msk(unsigned int* mask, const std::string& field, unsigned int low, unsigned int high,
                bool) {
    if (mask == nullptr || low > high || high > 31) {
        return 0;
    }
    const auto read = read_short_field(field, {low, high});
    *mask = read.value_or(*mask);
    return read ? 1 : 0;
}

int pln_ent2msk64(unsigned int* low_word, unsigned int* high_word, const std::string& field,
                  unsigned int count) {
    if (low_word == nullptr || high_word == nullptr || count == 0 || count > 64) {
        return 0;
    }
    const auto mask = read_field(field, {0, count - 1});
    if (!mask) {
        return 0;
    }
    *low_word = static_cast<unsigned int>(*mask);
    *high_word = static_cast<unsigned int>(*mask >> 32);
    return 1;
}
