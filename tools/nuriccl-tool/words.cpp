#include "commands.hpp"

#include <map>
#include <nuriccl/string.hpp>

namespace nuriccl_tool {

namespace {

namespace string = nuriccl::string;

using Words = std::vector<std::string>;

int print_all(const Call& call, const Words& words) {
    for (const std::string& word : words) {
        call.print(word);
    }
    return YES;
}

int shell(const Call& call) {
    const std::string text = call.text();
    const char* cursor = text.c_str();
    for (std::string word; string::unixshellstring_get_word(&cursor, word);) {
        call.print(word);
    }
    return YES;
}

int keyed(const Call& call) {
    std::map<std::string, std::string> pairs;
    string::unixshellstring_get_keyed_values(call.text().c_str(), pairs);
    for (const auto& [key, value] : pairs) {
        call.print(std::string(key).append("=").append(value));
    }
    return YES;
}

int tokens(const Call& call) {
    Words words;
    string::tokenize(call.text(), words, call.option('s', string::WHITESPACE));
    return print_all(call, words);
}

int quoted(const Call& call) {
    Words words;
    const bool is_closed = string::tokenizeQuoted(call.text(), words, call.character('s', ','));
    print_all(call, words);
    return is_closed ? YES : throw BadInput("a quote is left open");
}

int commas(const Call& call) {
    Words words;
    string::tokenizeQuotedString(call.text(), words);
    return print_all(call, words);
}

int split(const Call& call) {
    Words words;
    string::split(call.text(), call.character('s', ','), words);
    return print_all(call, words);
}

} // namespace

const Command WORDS = {
    "words",
    "a text taken apart, in six ways",
    {{"shell", "[TEXT]", 0, 1, "words as in a shell; '=' is one", shell},
     {"keyed", "[TEXT]", 0, 1, "KEY = VALUE pairs of such words, by their keys", keyed},
     {"tokens", "[TEXT]", 0, 1, "what stands between runs of separators", tokens},
     {"quoted", "[TEXT]", 0, 1, "the same with blanks, and '\"' around what holds them", quoted},
     {"commas", "[TEXT]", 0, 1, "what stands between commas, without a pair of '\"'", commas},
     {"split", "[TEXT]", 0, 1, "all fields between separators, empty ones included", split}},
    {{'s', "separator", "CHARACTERS", "one for 'quoted' and 'split' (','), a set for 'tokens'"},
     ZERO},
    "Takes TEXT, or standard input without the line feed at its end, apart and prints the words,\n"
    "one a line. To 'shell' and 'keyed' a text ends at a NUL or at an empty word; of the pairs\n"
    "with one key the first counts.\n",
    "$ nuriccl-tool words shell \"copy 'my file' to=there\"\n"
    "copy\n"
    "my file\n"
    "to\n"
    "=\n"
    "there\n"
    "$ nuriccl-tool words keyed 'user = anna mode=\"read only\"'\n"
    "mode=read only\n"
    "user=anna\n"
    "$ nuriccl-tool words tokens --separator ' :' 'a::b c'\n"
    "a\n"
    "b\n"
    "c\n"
    "$ nuriccl-tool words quoted 'a, \"b, c\"'\n"
    "a\n"
    "b, c\n"
    "$ nuriccl-tool words split --separator : 'a::b'\n"
    "a\n"
    "\n"
    "b\n",
};

} // namespace nuriccl_tool
