#pragma once

/// @file
/// Code pages, and conversions between wide text and multibyte text in a code page.
///
/// Use it for text that comes from, or goes to, a system with another character set. Wide text is
/// UTF-32 in `wchar_t` (32 bits), in the machine's byte order. For file names `FilenameHelper` has
/// shorter forms.
///
///     code page            converted by
///     CP_DEFAULT           the C library, in the character set of the current LC_CTYPE locale
///     CP_LOCALE            the same
///     every other one      iconv, which knows code pages by name ("UTF-8", "WINDOWS-1252" ...)
///
/// Conversions report success by `bool`. A character that cannot be converted ends the conversion,
/// or is replaced or skipped when the caller asks for it; the result is false in any case. What
/// iconv converts without complaint counts as converted: the names of some code pages ask it for
/// approximations ("US-ASCII//TRANSLIT"), and glibc drops tag characters (U+E0000 to U+E007F) that
/// a code page does not have.
///
/// Surprises that existing agents rely on: a text that starts with NUL converts to nothing, with
/// success, whatever follows (so does UTF-16 text in big-endian order that starts with a Latin
/// letter); and see `toWideChar` for the default code pages.
///
/// Thread safety: every function is re-entrant and keeps no state, but reads the process's locale
/// and must not race with a change of it. The variables are set before threads start that use them.
///
/// @code{.cpp}
/// namespace Encoding = nuriccl::Encoding;
/// std::string bytes;
/// assert(Encoding::toMultibyte(L"caf\u00e9", 4, bytes, Encoding::CP_WIN1252));
/// assert(bytes == "caf\xe9");
/// assert(!Encoding::toMultibyte(L"caf\u00e9", 4, bytes, Encoding::CP_USASCII, "?"));
/// assert(bytes == "caf?");
/// std::wstring wide;
/// assert(Encoding::toWideChar("caf\xc3\xa9", 5, wide, Encoding::CP_UTF8) && wide == L"caf\u00e9");
/// @endcode

#include <nuriccl/export.hpp>

#include <iosfwd>
#include <locale>
#include <string>

namespace nuriccl {

/// Code pages and conversions. See the top of encoding.hpp.
namespace Encoding {
class CodePage;
}

/// Writes the name that iconv knows the code page by.
NURICCL_API std::ostream& operator<<(std::ostream& stream, const Encoding::CodePage& codePage);

namespace Encoding {

using nuriccl::operator<<; // found by argument-dependent lookup

/// Code pages that need no name.
enum CodePages_e : int {
    CP_DEFAULT = 0, ///< that of the current LC_CTYPE locale
    CP_ANSI = 1,    ///< "MS-ANSI"
    CP_LOCALE = 2,  ///< that of the current LC_CTYPE locale
    CP_UTF8 = 3,    ///< "UTF-8"
    CP_UTF16 = 4,   ///< "UTF-16"
    CP_UTF32 = 5,   ///< "UTF-32"
    CP_WIN1252 = 6, ///< "WINDOWS-1252"
    CP_USASCII = 7, ///< "US-ASCII"
    CP_CUSTOM = 8   ///< one that is told by name or number
};

/// Describes a code page: one of `CodePages_e`, or one by the name that iconv knows it by.
class NURICCL_API CodePage {
public:
    /// A description as `init` makes it. Not explicit: a `CodePages_e` stands for its code page.
    /// @throws std::bad_alloc
    CodePage(CodePages_e codePage);

    /// Describes `codePage`, whatever the object described before. The name is the one given beside
    /// the enumerator; "UTF-8" for `CP_DEFAULT`, none for `CP_CUSTOM`, and the name of the current
    /// LC_CTYPE locale for `CP_LOCALE` and for values without an enumerator.
    ///
    /// @throws std::bad_alloc with the object as it was, as in the other forms
    void init(CodePages_e codePage);

    /// Sets the number. An object of `CP_DEFAULT` becomes `CP_CUSTOM` without a name, which iconv
    /// takes for the locale's character set: give it one with `init(name)`. Every other one stays
    /// the code page it is.
    void init(unsigned int number);

    /// Sets the name that iconv is asked for; null is the empty name. An object of `CP_DEFAULT`
    /// becomes `CP_CUSTOM` with the number 0; every other one keeps its enumerator and number.
    void init(const char* name);

    /// `init(name)`, and the number.
    void init(unsigned int number, const char* name);

    /// Whether the C library converts it: for `CP_DEFAULT` and `CP_LOCALE`, and when the name is
    /// that of the current LC_CTYPE locale.
    bool isDefault() const noexcept;

    /// Whether both are the same object, have the same enumerator below `CP_CUSTOM`, or are
    /// `CP_CUSTOM` with equal numbers and names. Values without an enumerator are equal to no other
    /// object.
    bool operator==(const CodePage& other) const noexcept;
    /// The opposite of `==`.
    bool operator!=(const CodePage& other) const noexcept { return !(*this == other); }

    CodePages_e m_codePage = CP_DEFAULT; ///< the enumerator
    unsigned int m_number = 0;           ///< an identifier such as 1252; 0 when none was given
    std::string m_locale; ///< name of the LC_ALL locale when the object was initialised
    std::string m_name;   ///< what iconv is asked for
};

/// The process's default code page, UTF-8.
/// @throws std::bad_alloc
NURICCL_API CodePage getDefaultCodePage();

/// "UTF8", "UTF16", "UTF32", "WIN1252" or "USASCII"; "ANSI" for every other code page.
NURICCL_API const char* codePageToString(const CodePage& codePage) noexcept;

/// @name Settings of the case conversion of narrow strings
/// @{
extern NURICCL_API CodePage s_toCodePage;      ///< code page of the strings; UTF-8 at start
extern NURICCL_API const char* s_defaultChars; ///< replacement text as for `toMultibyte`; null
extern NURICCL_API bool s_bestFitChars;        ///< passed to `toMultibyte`; false
extern NURICCL_API bool s_ignoreBadChars;      ///< used by nothing here; false
/// @}

/// Converts wide text to multibyte text.
///
/// @param src           the text; null is the empty text
/// @param len           its number of characters
/// @param out           receives the bytes
/// @param cp            the code page to convert to
/// @param defaultChars  stands, byte for byte, in place of each character that the code page does
///                      not have; null ends the conversion there. In UTF-16 and UTF-32 give it
///                      whole characters.
/// @param bestFitChars  ignored
/// @return whether every character was converted. After false `out` holds the whole text with its
///         replacements or, with null `defaultChars`, what was converted before the first bad
///         character; nothing when iconv does not know the code page, or has no memory for it.
/// @throws std::bad_alloc
NURICCL_API bool toMultibyte(const wchar_t* src, unsigned int len, std::string& out,
                             const CodePage& cp, const char* defaultChars = nullptr,
                             bool bestFitChars = false);

/// Converts multibyte text to wide text.
///
/// In the default code pages (`CodePage::isDefault`) the position in the text moves past bad bytes
/// only: a valid text of n bytes whose first character takes k of them becomes that one character,
/// n/k times, rounded up. Use `CP_UTF8` for UTF-8.
///
/// @param src             the text; null is the empty text
/// @param len             its number of bytes
/// @param out             receives the characters
/// @param cp              the code page to convert from
/// @param ignoreBadChars  whether to skip bytes that are no character; otherwise one of them ends
///                        the conversion
/// @return whether every byte was converted. After false `out` holds all characters that were found
///         or, without `ignoreBadChars`, what was converted before the first bad byte; nothing when
///         iconv does not know the code page, or has no memory for it.
/// @throws std::bad_alloc
NURICCL_API bool toWideChar(const char* src, unsigned int len, std::wstring& out,
                            const CodePage& cp, bool ignoreBadChars = false);

/// Maps a character to upper case as the locale's `std::ctype<wchar_t>` does.
class NURICCL_API ToUpperCase {
public:
    /// Keeps a copy of the locale.
    explicit ToUpperCase(const std::locale& locale);
    /// The character in upper case; itself when it has none.
    wchar_t operator()(wchar_t character) const { return type_->toupper(character); }

private:
    std::locale locale_;
    const std::ctype<wchar_t>* type_; // lives as long as the locale
};

/// Maps a character to lower case as the locale's `std::ctype<wchar_t>` does.
class NURICCL_API ToLowerCase {
public:
    /// Keeps a copy of the locale.
    explicit ToLowerCase(const std::locale& locale);
    /// The character in lower case; itself when it has none.
    wchar_t operator()(wchar_t character) const { return type_->tolower(character); }

private:
    std::locale locale_;
    const std::ctype<wchar_t>* type_;
};

/// @name Case conversion in the environment's locale
///
/// The narrow forms store the converted text in `out`, which may be `in`; the code page of both is
/// `s_toCodePage`. The wide forms append to `out`; when that is `in`, its text is there twice.
///
/// @return false, with `out` untouched, when the environment names a locale that is not installed,
///         and when `in` is not valid in the code page; false when a character cannot be converted
///         back, with `out` as `toMultibyte` leaves it
/// @throws std::bad_alloc. The GNU C++ library does not check what the C library allocates for a
///         locale: when that is what memory runs out for, the process may crash in `std::locale`.
/// @{

/// Stores the text in upper case.
NURICCL_API bool toUpperCase(const std::string& in, std::string& out);
/// Appends the text in upper case.
NURICCL_API bool toUpperCase(const std::wstring& in, std::wstring& out);
/// Stores the text in lower case.
NURICCL_API bool toLowerCase(const std::string& in, std::string& out);
/// Appends the text in lower case.
NURICCL_API bool toLowerCase(const std::wstring& in, std::wstring& out);
/// @}

} // namespace Encoding

/// @name Case conversion by a functor
///
/// What `Encoding::toUpperCase` and `toLowerCase` do, in any locale. `Functor` is
/// `Encoding::ToUpperCase` or `Encoding::ToLowerCase`.
/// @{

/// Stores the converted text; its code page is `Encoding::s_toCodePage`.
template <class Functor>
NURICCL_API bool transformString(const std::string& in, std::string& out, const Functor& functor);
/// Appends the converted text.
template <class Functor>
NURICCL_API bool transformString(const std::wstring& in, std::wstring& out, const Functor& functor);
/// @}

/// @cond instantiations
extern template bool transformString(const std::string&, std::string&,
                                     const Encoding::ToUpperCase&);
extern template bool transformString(const std::string&, std::string&,
                                     const Encoding::ToLowerCase&);
extern template bool transformString(const std::wstring&, std::wstring&,
                                     const Encoding::ToUpperCase&);
extern template bool transformString(const std::wstring&, std::wstring&,
                                     const Encoding::ToLowerCase&);
/// @endcond

} // namespace nuriccl
