#pragma once

/// @file
/// Small function objects for algorithms over texts: to text, to lower case, equal to a pattern.
///
/// Use them with the standard algorithms. `nuriccl::to_str` offers more conversions,
/// `string::icompare` compares two texts at once.
///
/// Thread safety: the call operators change nothing, so one object may serve several threads.
///
/// @code{.cpp}
/// const std::vector<std::string> names = {"Makefile", "README", "main.cpp"};
/// const nuriccl::StringMatcher matcher("readme", true);
/// assert(std::find_if(names.begin(), names.end(), matcher) == names.begin() + 1);
/// assert(nuriccl::ToString()(-5) == "-5" && nuriccl::ToLower()('A') == 'a');
/// @endcode

#include <nuriccl/export.hpp>

#include <locale>
#include <string>
#include <utility>

namespace nuriccl {

/// Turns a value into text.
class NURICCL_API ToString {
public:
    std::string operator()(const std::string& text) const; ///< a copy
    std::string operator()(const char* text) const;        ///< a copy; "" of null
    std::string operator()(bool value) const;              ///< "true" or "false"
    std::string operator()(int value) const;               ///< in decimal
    std::string operator()(unsigned int value) const;      ///< in decimal
};

/// Lowers a character as the `std::ctype<char>` facet of a locale does.
class NURICCL_API ToLower {
public:
    /// Keeps a copy of the locale; the global one of now unless told otherwise.
    explicit ToLower(const std::locale& locale = std::locale())
        : locale_(locale), type_(&std::use_facet<std::ctype<char>>(locale_)) {}

    /// The character in lower case; itself when it has none.
    char operator()(char character) const;

private:
    std::locale locale_;
    const std::ctype<char>* type_; // lives as long as the locale
};

/// Tells whether a text is equal to a pattern, exactly or regardless of case. There are no
/// wildcards.
class NURICCL_API StringMatcher {
public:
    /// @param pattern      the text to be equal to; the empty one is equal to every text
    /// @param ignore_case  whether texts are lowered before they are compared, and the pattern now
    /// @param locale       what lowers
    explicit StringMatcher(std::string pattern, bool ignore_case = false,
                           const std::locale& locale = std::locale())
        : pattern_(std::move(pattern)), ignore_case_(ignore_case), lower_(locale) {
        if (ignore_case_) {
            for (char& character : pattern_) {
                character = lower_(character);
            }
        }
    }

    /// Whether the text matches. Never allocates.
    bool operator()(const std::string& candidate) const;

private:
    std::string pattern_;
    bool ignore_case_;
    ToLower lower_;
};

} // namespace nuriccl
