// The functions that take text apart, held against models that look at one character at a time.

#include "fuzz.hpp"
#include "support/words_model.hpp"

#include <nuriccl/string.hpp>

#include <cstring>

namespace {

namespace ns = nuriccl::string;

using words_model::Fields;
using words_model::Pairs;

// Word by word, of a text without NULs.
void check_words(const std::string& text) {
    const char* cursor = text.c_str();
    for (std::size_t position = 0;;) {
        std::string word = "before";
        const bool more = ns::unixshellstring_get_word(&cursor, word);
        const auto end = static_cast<std::size_t>(cursor - text.c_str());
        FUZZ_REQUIRE(
            (words_model::ShellWord{more, word, end} == words_model::word(text, position)));
        if (end == position) {
            break;
        }
        position = end;
    }
    FUZZ_REQUIRE(cursor == text.c_str() + text.size());
}

void check_keyed_values(const std::string& text) {
    Pairs pairs{{"a", "before"}};
    const auto expected = words_model::keyed_values(text, pairs);
    FUZZ_REQUIRE(ns::unixshellstring_get_keyed_values(text.c_str(), pairs) == expected.first);
    FUZZ_REQUIRE(pairs == expected.second);
}

// Fields as they are behind the one that was there.
Fields behind_first(const Fields& fields) {
    FUZZ_REQUIRE(!fields.empty() && fields.front() == "before");
    return {fields.begin() + 1, fields.end()};
}

void check_fields(const std::string& text, char separator, const std::string& delimiters) {
    Fields fields{"before"};
    ns::split(text, separator, fields);
    FUZZ_REQUIRE(behind_first(fields) == words_model::split(text, separator));

    fields = {"before"};
    const bool closed = ns::tokenizeQuoted(text, fields, separator);
    FUZZ_REQUIRE((words_model::Closed{closed, behind_first(fields)} ==
                  words_model::quoted_tokens(text, separator)));

    fields = {"before"};
    ns::tokenize(text, fields, delimiters);
    FUZZ_REQUIRE(fields == words_model::tokenize(text, delimiters));

    fields = {"before"};
    ns::tokenizeQuotedString(text, fields);
    FUZZ_REQUIRE(fields == words_model::list_fields(text));
}

// The text may be an element of the list that it is taken apart into.
void check_text_in_its_list(const std::string& text, char separator) {
    Fields fields{text};
    ns::split(fields[0], separator, fields);
    fields.erase(fields.begin());
    FUZZ_REQUIRE(fields == words_model::split(text, separator));

    fields = {text};
    ns::tokenizeQuotedString(fields[0], fields);
    FUZZ_REQUIRE(fields == words_model::list_fields(text));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const char separator = static_cast<char>(input.byte());
    std::string delimiters(input.byte() % 4U, '\0');
    for (char& c : delimiters) {
        c = static_cast<char>(input.byte());
    }
    const std::string text = input.rest();
    const std::string line = text.c_str(); // up to a NUL, where a C string ends
    check_words(line);
    check_keyed_values(line);
    check_fields(text, separator, delimiters);
    check_text_in_its_list(text, separator);
    return 0;
}
