// Field-separated lists under any settings: writing and reading agree with models that take one
// step at a time, in place and not, and what is written comes back where the settings allow it.

#include "fuzz.hpp"
#include "support/fsv_model.hpp"

#include <nuriccl/fsvlist.hpp>

#include <cstring>
#include <stdexcept>
#include <vector>

namespace {

using fsv_model::holds;
using fsv_model::Read;
using fsv_model::Reading;
using fsv_model::Writing;
using fsv_model::Written;
using nuriccl::FSVList;

using Fields = std::vector<std::string>;

// Most bytes stand for one of a few characters, so that texts and settings have some in common.
char next_character(FuzzInput& input) {
    static const std::string common("aab  ,,;;\"\"\"\\\\\\\n\r\tnrt0|\0", 24);
    const std::uint8_t byte = input.byte();
    return byte < 0xC0 ? common[byte % common.size()] : static_cast<char>(byte);
}

std::string next_text(FuzzInput& input, unsigned int longest) {
    std::string text(input.byte() % (longest + 1), '\0');
    for (char& c : text) {
        c = next_character(input);
    }
    return text;
}

// A list whose settings are anything.
class Settable : public FSVList {
public:
    explicit Settable(FuzzInput& input) {
        const std::uint8_t flags = input.byte();
        drop_plain_ = flags % 8 == 1;
        quote_blank_ends_ = (flags & 8) != 0;
        quote_ = (flags & 16) != 0 ? '"' : next_character(input);
        escape_ = (flags & 32) != 0 ? '\0' : next_character(input);
        field_separator(next_text(input, 3));
        specials_ = next_text(input, 2);
        escape_set_ = next_text(input, 4);
    }

    void set_fields(const Fields& fields) { fields_ = fields; }

    Writing writing(bool quote_all) const {
        return {quote_,   separator_.c_str(),  specials_.c_str(),
                escape_,  escape_set_.c_str(), quote_blank_ends_,
                quote_all};
    }

    Reading reading(bool literal_quotes) const {
        return {literal_quotes ? '\0' : quote_, separator_.c_str(), escape_, specials_.c_str(),
                drop_plain_};
    }

    // Whether all lists come back that are written with every field in quotes. What stands in
    // quotes is lost when quotes and escapes cannot be told apart, and when the letters of escapes
    // are escaped.
    bool keeps_quoted_fields() const {
        const char separator = *separator_.c_str();
        const char* const letters = "nrt0";
        bool escapes_are_plain = escape_ != quote_ && !holds(letters, escape_);
        for (const char c : escape_set_) {
            escapes_are_plain = escapes_are_plain && !holds(letters, c);
        }
        return quote_ != 0 && !drop_plain_ && separator != 0 && separator != quote_ &&
               !holds(specials_.c_str(), quote_) &&
               (escape_ == 0 || (escapes_are_plain && separator != escape_));
    }

    // Whether the others come back, too, but for empty ones at the ends of the list. The start of a
    // long separator may be mistaken for the end of a field, and an escape for a terminator.
    bool keeps_bare_fields() const {
        const char* const specials = specials_.c_str();
        return keeps_quoted_fields() && std::strlen(separator_.c_str()) == 1 &&
               !holds(specials, separator_[0]) &&
               (escape_ == 0 || (!holds(specials, escape_) && !holds(specials, 'n') &&
                                 !holds(specials, 'r') && !holds(specials, '0')));
    }
};

Written outcome(const std::string& field, std::string& line, const Writing& writing) {
    try {
        const bool changed = FSVList::QuoteStringCSV(
            field, line, writing.quote, writing.separator, writing.specials, writing.escape,
            writing.escape_set, writing.quote_blank_ends, writing.quote_always);
        return {false, changed, line};
    } catch (const std::out_of_range&) {
        return {true, false, line};
    }
}

void check_writing(const std::string& field, const std::string& before, const Writing& writing) {
    std::string line = before;
    FUZZ_REQUIRE(outcome(field, line, writing) == fsv_model::write(field, before, false, writing));
    line = field;
    FUZZ_REQUIRE(outcome(line, line, writing) == fsv_model::write(field, "", true, writing));
}

void check_reading(const std::string& text, unsigned int start, const Reading& reading) {
    const Read expected = fsv_model::read(start, text, reading);
    const auto dequote = [&](unsigned int& position, const std::string& from, std::string& out,
                             unsigned int& field_start, unsigned int& length) {
        return FSVList::DequoteStringCSV(position, from, out, &field_start, &length, reading.quote,
                                         reading.separator, reading.escape, reading.terminators,
                                         reading.drop_plain);
    };
    unsigned int position = start;
    unsigned int field_start = ~start;
    unsigned int length = 1;
    std::string out = "before";
    const bool changed = dequote(position, text, out, field_start, length);
    FUZZ_REQUIRE((Read{out, position, changed} == expected));
    FUZZ_REQUIRE(field_start == start && length == 0);

    position = start;
    std::string line = text;
    FUZZ_REQUIRE(dequote(position, line, line, field_start, length) == expected.changed);
    FUZZ_REQUIRE(position == expected.next);
    FUZZ_REQUIRE(field_start == start && length == expected.field.size());
    std::string expected_line = text;
    FUZZ_REQUIRE(line ==
                 (length == 0 ? text : expected_line.replace(start, length, expected.field)));
}

Fields without_lost(Fields fields) {
    while (!fields.empty() && fields.front().empty()) {
        fields.erase(fields.begin());
    }
    if (!fields.empty() && fields.back().empty()) {
        fields.pop_back();
    }
    return fields;
}

void check_list(Settable list, const Fields& fields, bool quote_all) {
    list.set_fields(fields);
    const Writing writing = list.writing(quote_all);
    const Written expected = fsv_model::write_all(fields, writing);
    std::string line;
    bool misused = false;
    try {
        line = list.to_str(quote_all);
    } catch (const std::out_of_range&) {
        misused = true;
    }
    FUZZ_REQUIRE(misused == expected.misused);
    FUZZ_REQUIRE(list.to_list() == fields);
    if (!misused) {
        FUZZ_REQUIRE(line == expected.line);
        if (quote_all && list.keeps_quoted_fields()) {
            FUZZ_REQUIRE(list.parse(line).to_list() == fields);
        } else if (list.keeps_bare_fields()) {
            FUZZ_REQUIRE(list.parse(line).to_list() == without_lost(fields));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    Settable list(input);
    Fields fields(input.byte() % 5U);
    for (std::string& field : fields) {
        field = next_text(input, 20);
    }
    const unsigned int start = input.byte() % 10U;
    std::string text;
    while (!input.empty()) {
        text += next_character(input);
    }
    for (const bool flag : {false, true}) {
        check_writing(text, fields.empty() ? "" : fields[0], list.writing(flag));
        check_reading(text, start, list.reading(flag));
        FUZZ_REQUIRE(list.parse(text, flag).to_list() ==
                     fsv_model::read_all(text, list.reading(flag)));
        fields.push_back(text);
        check_list(list, fields, flag);
    }
    return 0;
}
