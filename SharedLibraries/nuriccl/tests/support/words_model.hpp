#pragma once

/// @file
/// What the functions that take text apart have to find, one character at a time. Slow and simple;
/// the tests and the fuzz target hold the library against it.

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace words_model {

using Fields = std::vector<std::string>;
using Pairs = std::map<std::string, std::string>;

inline bool contains(const std::string& set, char c) { return set.find(c) != std::string::npos; }

/// Whether there was a word, the word, and where the cursor stands afterwards.
using ShellWord = std::tuple<bool, std::string, std::size_t>;

inline bool is_white(char c) { return contains(" \t\n\v\f\r", c); }

/// What each kind of character does in each state; of a text without NULs.
inline ShellWord word(const std::string& text, std::size_t position) {
    while (position < text.size() && is_white(text[position])) {
        ++position;
    }
    std::string word;
    bool escaped = false;
    char quote = 0;
    for (; position < text.size(); ++position) {
        const char c = text[position];
        if (is_white(c)) {
            if (!escaped && quote == 0) {
                break;
            }
            word += c;
            escaped = false;
        } else if (c == '\\') {
            if (escaped) {
                word += c;
            }
            escaped = !escaped;
        } else if (c == '"' || c == '\'') {
            if (escaped || (quote != 0 && quote != c)) {
                word += c;
                escaped = false;
            } else {
                quote = quote == 0 ? c : '\0';
            }
        } else if (c == '=') {
            if (!escaped && quote == 0) {
                if (word.empty()) {
                    word = "=";
                    ++position;
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
    return {!word.empty(), word, position};
}

/// How many pairs were read, and what the map holds then.
using Count = std::pair<int, Pairs>;

inline Count keyed_values(const std::string& text, Pairs pairs = {}) {
    int count = 0;
    std::string key;
    std::string previous;
    bool separated = false;
    std::size_t position = 0;
    for (std::size_t number = 1;; ++number) {
        const auto [found, read, end] = word(text, position);
        if (!found) {
            return {count, pairs};
        }
        if (number > 1 && separated) {
            pairs.insert({key, read});
            ++count;
            separated = false;
        } else if (number > 1 && read == "=") {
            key = previous;
            separated = true;
        }
        previous = read;
        position = end;
    }
}

inline Fields tokenize(const std::string& text, const std::string& delimiters) {
    Fields tokens;
    std::string token;
    for (const char c : text) {
        if (!contains(delimiters, c)) {
            token += c;
        } else if (!token.empty()) {
            tokens.push_back(token);
            token.clear();
        }
    }
    if (!token.empty()) {
        tokens.push_back(token);
    }
    return tokens;
}

/// Whether every quote was closed, and the tokens.
using Closed = std::pair<bool, Fields>;

/// The quote comes before the separator, should both be the same.
inline Closed quoted_tokens(const std::string& text, char separator) {
    Fields tokens;
    std::size_t start = 0;
    bool quoted = false;
    const auto add = [&](std::size_t end) { tokens.push_back(text.substr(start, end - start)); };
    const auto move_behind = [&](std::size_t end) {
        start = end + 1;
        while (start < text.size() && text[start] == ' ') {
            ++start;
        }
    };
    for (std::size_t i = 0; i < text.size();) {
        if (text[i] == '"' && !quoted) {
            if (i > start) {
                add(i);
            }
            quoted = true;
            start = ++i;
        } else if (text[i] == '"') {
            add(i);
            quoted = false;
            move_behind(i);
            i = start;
        } else if ((text[i] == separator || text[i] == ' ') && !quoted) {
            if (i > start) {
                add(i);
            }
            move_behind(i);
            i = start;
        } else {
            ++i;
        }
    }
    if (!quoted && start < text.size()) {
        add(text.size());
    }
    return {!quoted, tokens};
}

inline Fields list_fields(const std::string& text) {
    Fields fields;
    std::size_t position = 0;
    for (;;) {
        while (position < text.size() && (text[position] == ' ' || text[position] == ',')) {
            ++position;
        }
        if (position == text.size()) {
            return fields;
        }
        std::string field;
        for (; position < text.size() && text[position] != ','; ++position) {
            field += text[position];
        }
        if (std::count(field.begin(), field.end(), '"') >= 2) {
            field.erase(0, field.find('"') + 1);
            field.erase(field.rfind('"'));
        }
        fields.push_back(field);
    }
}

inline Fields split(const std::string& text, char separator) {
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

} // namespace words_model
