// The tokenizers, held against models that look at one character at a time.

#include "fuzz.hpp"

#include <nuriccl/string.hpp>

#include <cctype>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

namespace {

namespace ns = nuriccl::string;

using Fields = std::vector<std::string>;
using Pairs = std::map<std::string, std::string>;

bool is_space(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

// Shell words.

struct Word {
    std::string text;
    std::size_t end; // where reading stopped

    bool operator==(const Word& other) const { return text == other.text && end == other.end; }
};

// The characters of `text` up to its end or its first NUL.
Word next_word(const std::string& text, std::size_t position) {
    const std::string line = text.substr(0, text.find('\0'));
    while (position < line.size() && is_space(line[position])) {
        ++position;
    }
    std::string word;
    bool escaped = false;
    char open = 0;
    for (; position < line.size(); ++position) {
        const char c = line[position];
        const bool literal = escaped || (open != 0 && c != open);
        if (is_space(c)) {
            if (!literal) {
                break;
            }
            word += c;
            escaped = false;
        } else if (c == '\\') {
            if (escaped) {
                word += c;
            }
            escaped = !escaped;
        } else if (c == '\'' || c == '"') {
            if (literal) {
                word += c;
                escaped = false;
            } else {
                open = open == 0 ? c : '\0';
            }
        } else if (c == '=') {
            if (!literal) {
                if (word.empty()) {
                    return {"=", position + 1};
                }
                break;
            }
            word += c;
            escaped = false;
        } else {
            word += c;
            escaped = false;
        }
    }
    return {word, position};
}

void check_words(const std::string& text) {
    const char* cursor = text.c_str();
    for (std::size_t position = 0;;) {
        const Word expected = next_word(text, position);
        std::string word = "before";
        const bool more = ns::unixshellstring_get_word(&cursor, word);
        const auto end = static_cast<std::size_t>(cursor - text.c_str());
        FUZZ_REQUIRE((Word{word, end} == expected));
        FUZZ_REQUIRE(more == !word.empty());
        if (end == position) {
            break;
        }
        position = end;
    }
    FUZZ_REQUIRE(cursor == text.c_str() + std::strlen(text.c_str()));
}

// All words up to the first empty one, and then what follows an "=" that is not the first word and
// not a value itself.
void check_keyed_values(const std::string& text) {
    Fields words;
    for (Word word = next_word(text, 0); !word.text.empty(); word = next_word(text, word.end)) {
        words.push_back(word.text);
    }
    Pairs expected{{"a", "before"}};
    int count = 0;
    for (std::size_t i = 1; i + 1 < words.size(); ++i) {
        if (words[i] == "=") {
            expected.insert({words[i - 1], words[i + 1]});
            ++count;
            ++i;
        }
    }
    Pairs pairs{{"a", "before"}};
    FUZZ_REQUIRE(ns::unixshellstring_get_keyed_values(text.c_str(), pairs) == count);
    FUZZ_REQUIRE(pairs == expected);
}

// Separated fields.

Fields split_at(const std::string& text, char separator) {
    Fields fields(1);
    for (const char c : text) {
        if (c == separator) {
            fields.emplace_back();
        } else {
            fields.back() += c;
        }
    }
    return fields;
}

void check_split(const std::string& text, char separator) {
    Fields fields{"before"};
    ns::split(text, separator, fields);
    FUZZ_REQUIRE(fields.front() == "before");
    fields.erase(fields.begin());
    FUZZ_REQUIRE(fields == split_at(text, separator));
}

void check_tokenize(std::string text, const std::string& delimiters) {
    Fields tokens{"before"};
    ns::tokenize(text, tokens, delimiters);

    Fields expected;
    bool inside = false;
    for (const char c : text) {
        const bool delimits = delimiters.find(c) != std::string::npos;
        if (!delimits && !inside) {
            expected.emplace_back();
        }
        if (!delimits) {
            expected.back() += c;
        }
        inside = !delimits;
    }
    FUZZ_REQUIRE(tokens == expected);
}

std::string without_leading_blanks(std::string text) {
    while (!text.empty() && text[0] == ' ') {
        text.erase(0, 1);
    }
    return text;
}

void check_comma_list(const std::string& text) {
    Fields expected;
    for (const std::string& piece : split_at(text, ',')) {
        const std::string field = without_leading_blanks(piece);
        const Fields parts = split_at(field, '"');
        if (parts.size() > 2) {
            const std::size_t first = parts.front().size() + 1;
            const std::size_t last = field.size() - parts.back().size() - 1;
            expected.push_back(field.substr(first, last - first));
        } else if (!field.empty()) {
            expected.push_back(field);
        }
    }
    Fields fields{"before"};
    ns::tokenizeQuotedString(text, fields);
    FUZZ_REQUIRE(fields == expected);
}

// The text in front of a token is used up as the tokens are found.
std::pair<bool, Fields> quoted_tokens(std::string text, char separator) {
    Fields tokens;
    for (;;) {
        std::size_t end = 0;
        while (end < text.size() && text[end] != '"' && text[end] != separator &&
               text[end] != ' ') {
            ++end;
        }
        if (end > 0) {
            tokens.push_back(text.substr(0, end));
        }
        if (end == text.size()) {
            return {true, tokens};
        }
        if (text[end] != '"') {
            text = without_leading_blanks(text.substr(end + 1));
            continue;
        }
        const std::size_t close = text.find('"', end + 1);
        if (close == std::string::npos) {
            return {false, tokens};
        }
        tokens.push_back(text.substr(end + 1, close - end - 1));
        text = without_leading_blanks(text.substr(close + 1));
    }
}

void check_quoted_tokens(const std::string& text, char separator) {
    Fields tokens{"before"};
    const bool closed = ns::tokenizeQuoted(text, tokens, separator);
    FUZZ_REQUIRE(tokens.front() == "before");
    tokens.erase(tokens.begin());
    FUZZ_REQUIRE((std::pair{closed, tokens} == quoted_tokens(text, separator)));
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
    check_words(text);
    check_keyed_values(text);
    check_split(text, separator);
    check_tokenize(text, delimiters);
    check_quoted_tokens(text, separator);
    check_comma_list(text);
    return 0;
}
