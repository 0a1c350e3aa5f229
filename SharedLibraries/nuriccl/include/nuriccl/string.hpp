#pragma once

/// @file
/// Text utilities on strings of bytes: trimming, search, case-insensitive comparison, bounded C
/// strings, tokenizers, printf-style formatting, XML escaping and hex dumps.
///
/// Use them for options, names, log and dump text. They look at single bytes (`char`) and know no
/// multibyte encoding: upper case is the C library's, byte by byte.
///
/// Thread safety: every function is re-entrant and keeps no state. Some read the process's locale,
/// as told at each, and must not race with a change of it.
///
/// @code{.cpp}
/// std::string line = "  Host: backup-7 \r\n";
/// nuriccl::string::crop_both(line, nuriccl::string::WHITESPACE);
/// assert(line == "Host: backup-7");
/// assert(nuriccl::string::ifind(line, "HOST") == 0);
/// assert(nuriccl::string::format_string("%s: %d files", "done", 3) == "done: 3 files");
/// @endcode
///
/// An argument that aliases the output (a set that is the text, a `title` inside `out`) is read as
/// it was at the call; `sprintfSafe`, which empties its output first, and `strlcpy` and `strlcat`
/// are the exceptions. A null `const char*` is the empty text. Functions that can allocate throw
/// std::bad_alloc, or std::length_error for a text beyond the limit of std::string, and leave their
/// output as it was unless told otherwise.

#include <nuriccl/export.hpp>

#include <cstdarg>
#include <map>
#include <string>
#include <vector>

/// Functions on short texts. See the top of string.hpp.
namespace nuriccl::string {

/// @name Shared characters
/// @{
extern NURICCL_API const char END_OF_STRING_CHAR; ///< NUL
extern NURICCL_API const char FORWARD_SLASH;      ///< '/'
extern NURICCL_API const char NEW_LINE;           ///< line feed
extern NURICCL_API const char OPTION_END;   ///< '"', the same on both sides of an option value
extern NURICCL_API const char OPTION_BEGIN; ///< '"', the same on both sides of an option value
extern NURICCL_API const char QUOTE_MARK;   ///< '"'
extern NURICCL_API const char KEY_VALUE_SEPARATOR; ///< '='
extern NURICCL_API const char LIST_SEPARATOR;      ///< ','
extern NURICCL_API const char WHITE_SPACE;         ///< one blank; the set is `WHITESPACE`
/// @}

/// The set " \t\r\n" for the crop and trim functions. Built before any caller can run.
extern NURICCL_API const std::string WHITESPACE;

/// @name Cropping and trimming
///
/// `set` is a set of characters in any order. The whole run of its members at an end is removed.
/// The crop functions work in place and never allocate; the trim functions return a cropped copy.
/// @{

/// Removes the run at the start.
NURICCL_API void crop_left(std::string& text, const std::string& set);
/// Removes the run at the end.
NURICCL_API void crop_right(std::string& text, const std::string& set);
/// Removes the runs at both ends.
NURICCL_API void crop_both(std::string& text, const std::string& set);
/// The text without the run at its start.
NURICCL_API std::string trim_left(const std::string& text, const std::string& set);
/// The text without the run at its end.
NURICCL_API std::string trim_right(const std::string& text, const std::string& set);
/// The text without the runs at its ends.
NURICCL_API std::string trim_both(const std::string& text, const std::string& set);
/// @}

/// Replaces every occurrence of `from` in `text` by `to`, left to right, without overlaps and
/// without searching what was inserted. Linear in the lengths of the old and the new text.
///
/// Requires a non-empty `from` (asserted in debug builds; otherwise nothing is replaced).
///
/// @return false when `from` does not occur; `text` is untouched then.
NURICCL_API bool replace(std::string& text, const std::string& from, const std::string& to);

/// Keeps the leading run of characters that belong to `set` and removes the rest, in place. An
/// empty set empties the text.
NURICCL_API void SpanIncluding(std::string& text, std::string set);

/// Finds `needle` in `haystack` regardless of case, as the `ctype<char>` facet of the global
/// std::locale folds it. Its cost is at worst the product of the lengths.
///
/// @return the zero-based position in bytes of the first occurrence; -1 when there is none and when
///         either text is empty.
NURICCL_API int ifind(const std::string& haystack, const std::string& needle);

/// @name Comparison regardless of case
///
/// Compares byte by byte after the C library's `toupper` (current C locale); a proper prefix is
/// less. Never allocates.
/// @return a negative number, 0 or a positive number; the magnitude carries no meaning.
/// @{

/// Two strings, NULs in them included.
NURICCL_API int icompare(const std::string& a, const std::string& b);
/// A C string with a string.
NURICCL_API int icompare(const char* a, const std::string& b);
/// A string with a C string.
NURICCL_API int icompare(const std::string& a, const char* b);
/// Two C strings.
NURICCL_API int icompare(const char* a, const char* b);
/// @}

/// Orders names regardless of case: the comparison of case-insensitive maps.
struct NURICCL_API CaseInsensitiveCompare {
    /// Whether `icompare(a, b)` is negative.
    bool operator()(const std::string& a, const std::string& b) const;
};

/// Stores `source` in upper case (C library, byte by byte) in `destination`. Names that are equal
/// under `icompare` normalise to the same text.
NURICCL_API void NormalizeNameCaseInsensitive(const std::string& source, std::string& destination);

/// The same in place.
NURICCL_API void NormalizeNameCaseInsensitive(std::string& text) noexcept;

/// Appends `src` to the C string `dst` in a space of `size` bytes, cut so that with its NUL it
/// fits. When `dst` has no NUL within `size` bytes nothing is touched.
///
/// @return `dst` (not a length, unlike the BSD function of this name)
NURICCL_API char* strlcat(char* dst, const char* src, unsigned int size);

/// Copies `src` to `dst`, a space of `size` bytes, cut so that with its NUL it fits. `dst` is ended
/// at its first byte before `src` is read.
///
/// @return `dst` (not a length, unlike the BSD function of this name); null when `size` is 0
NURICCL_API char* strlcpy(char* dst, const char* src, unsigned int size);

/// @name Taking text apart
///
/// Six ways with six sets of rules; the table tells them apart.
///
/// | function | separators | quotes | empty fields | output |
/// |---|---|---|---|---|
/// | `unixshellstring_get_word` | white space, '=' | both, and \ escapes | end reading | cleared |
/// | `unixshellstring_get_keyed_values` | the same | the same | end reading | added to |
/// | `tokenize` | runs of any of a set | none | dropped | cleared |
/// | `tokenizeQuoted` | one character, and blanks | '"' around tokens | kept if quoted | added to |
/// | `tokenizeQuotedString` | ',' | a pair of '"' is dropped | dropped | cleared |
/// | `split` | one character | none | kept | added to |
///
/// Malformed text is read by these rules and is no error. All are linear in the length of the text
/// and may be given an element of their output as the text. When memory runs out the output holds
/// the fields so far, and a cursor has not moved.
/// @{

/// Reads the next word of a C string as a shell does.
///
/// White space (C library) ends a word, quotes of either kind keep it together, and a backslash
/// takes what follows for an ordinary character, also inside quotes. An unquoted '=' ends a word
/// and is a word of its own. What is open at the end is closed there; a backslash there is dropped.
///
/// @param cursor  in: where to read; out: where reading stopped. Null, and the address of a null
///                pointer, are the empty text. The text must not lie in `word`.
/// @param word    receives the word
/// @return whether the word is not empty: an empty pair of quotes gives false like the end of the
///         text, although the cursor has moved
NURICCL_API bool unixshellstring_get_word(const char** cursor, std::string& word);

/// Reads key = value pairs from a C string, each part as `unixshellstring_get_word` reads words. A
/// value may be the key of the next pair: "a = b = c" has the pairs a, b and b, c. Reading stops at
/// the first empty word.
///
/// @param text   null is the empty text
/// @param pairs  receives the pairs whose keys it does not have yet
/// @return the number of pairs read, those included whose key was there
NURICCL_API int unixshellstring_get_keyed_values(const char* text,
                                                 std::map<std::string, std::string>& pairs);

/// Stores the runs of characters that are not in `delimiters`.
NURICCL_API void tokenize(const std::string& text, std::vector<std::string>& tokens,
                          const std::string& delimiters);

/// Adds the tokens between separators, blanks and double quotes. Inside quotes the separator and
/// the blank are ordinary; a quote inside a word splits it. Blanks are skipped, tabs are not.
///
/// @return false when a quote is left open; what stands behind it is not added
NURICCL_API bool tokenizeQuoted(const std::string& text, std::vector<std::string>& tokens,
                                char separator);

/// Stores the fields between commas, without the blanks in front of them. Of a field with two
/// double quotes or more, what stands between the first and the last one is kept. A comma inside
/// quotes separates, too.
NURICCL_API void tokenizeQuotedString(const std::string& text, std::vector<std::string>& fields);

/// Adds the fields between separators, one more than there are separators. An empty text has one
/// empty field.
NURICCL_API void split(const std::string& text, char separator, std::vector<std::string>& fields);
/// @}

/// Formats as `vsnprintf` does into `out`, which is emptied first. The text may have any length; it
/// ends before the first NUL that the format produces (a `%c` of 0). The caller's list is not
/// consumed.
///
/// @return what `vsnprintf` returns: the number of characters formatted; negative, with `out`
///         empty, when the format cannot be rendered.
/// @throws std::bad_alloc with `out` empty
NURICCL_API int sprintfSafe(std::string& out, const char* format, va_list& arguments)
    __attribute__((format(printf, 2, 0)));

/// The same for arguments in place.
///
/// On 32-bit x86 `va_list` is `char*`, so a call with a single argument that is a `char*` variable
/// picks the form above and reads the characters as an argument list:
///
///     char* name = ...;
///     sprintfSafe(out, "%s", name);                           // wrong in 32 bit
///     sprintfSafe(out, "%s", static_cast<const char*>(name)); // right
///     out = format_string("%s", name);                        // right
NURICCL_API int sprintfSafe(std::string& out, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// Formats as `sprintfSafe` does and returns the text, which is empty when the format cannot be
/// rendered.
NURICCL_API std::string format_string(const char* format, ...)
    __attribute__((format(printf, 1, 2)));

/// @name XML escaping, in place
///
/// Replaces '&', '<' and '>' by "&amp;", "&lt;" and "&gt;", and back. Quotes and every other entity
/// stay as they are. Unescaping undoes one level: "&amp;lt;" becomes "&lt;". Linear; only
/// `xml_escape` allocates, once at most.
/// @{

/// Escapes a text of bytes.
NURICCL_API void xml_escape(std::string& text);
/// Escapes a wide text.
NURICCL_API void xml_escape(std::wstring& text);
/// Takes back one level of escaping.
NURICCL_API void xml_unescape(std::string& text);
/// Takes back one level of escaping of a wide text.
NURICCL_API void xml_unescape(std::wstring& text);
/// @}

/// Replaces each byte from 0x01 to 0x1F and from 0x7F to 0x9F by a character reference such as
/// "&#x09;", in place. Bytes from 0x80 to 0x9F count as C1 control characters even inside a UTF-8
/// sequence; NUL and bytes from 0xA0 on stay. Linear, with one allocation at most.
NURICCL_API void utf8_to_xml(std::string& text);

/// The same on a copy.
NURICCL_API std::string utf8_to_xml(const std::string& text);

/// Dumps `length` bytes in lines of sixteen, each of the form
///
///     0000  41007a                           ** A.z              **
///
/// with the offset, the bytes in hexadecimal and the characters; what is neither alphanumeric nor
/// punctuation in the current C locale nor a blank is shown as '.'.
///
/// @param out     receives the dump; what it held is dropped
/// @param data    the bytes; null dumps nothing
/// @param length  the number of bytes; below 1 dumps nothing
/// @param title   first line of the dump; null for none
/// @param prefix  stands with a blank in front of each line of bytes; null for none
/// @return true
NURICCL_API bool hex_dump(std::string& out, const char* data, int length, const char* title,
                          const char* prefix);

} // namespace nuriccl::string
