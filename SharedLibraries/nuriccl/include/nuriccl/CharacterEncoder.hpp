#pragma once

/// @file
/// Names made safe for places that forbid certain characters, and back: a forbidden byte becomes an
/// escape character and two lower-case hexadecimal digits.
///
/// Use it for file names, virtual-machine names and fields of one line. It sees bytes: a character
/// of several bytes is escaped as several. To get a text back, let the escape character itself be
/// escaped: the forms that are given `esc` always do, `encode(const std::string&)` does when '%' is
/// in the set. "." and ".." are names, too, and pass as they are unless '.' is protected.
///
///     a:b   --encode-->  a%3ab   --decode-->  a:b
///
/// Thread safety: encoding and decoding leave an encoder as it is, so one may serve several threads
/// once all calls of `protect` are done. The static functions are re-entrant.
///
/// @code{.cpp}
/// using nuriccl::CharacterEncoder;
/// const CharacterEncoder encoder(CharacterEncoder::DEFAULT_CHARS_TO_ENCODE);
/// assert(encoder.encode("a:b") == "a%3ab" && encoder.decode("a%3ab") == "a:b");
/// std::string line = "two\nlines";
/// assert(CharacterEncoder::encode_unprintable(line, '%') && line == "two%0alines");
/// assert(CharacterEncoder::decode(line, '%') && line == "two\nlines");
/// @endcode

#include <nuriccl/export.hpp>

#include <string>

namespace nuriccl {

/// A set of forbidden bytes, and the escaping of texts by it. See the top of CharacterEncoder.hpp.
class NURICCL_API CharacterEncoder {
public:
    static const char* const HEX_CHARS; ///< "0123456789abcdef"

    /// What file names must not hold: `\ / : * ? < > | % "`
    static const char* const DEFAULT_CHARS_TO_ENCODE;

    /// What names of virtual machines must not hold: `\ / : ; * ? < > | % " ,`
    static const char* const VMNAME_CHARS_TO_ENCODE;

    /// The control characters from 1 to 31, and `" , - / # ^`
    static const char* const UNPRINTABLE_CHARS_TO_ENCODE;

    /// An encoder that escapes the bytes of `characters`, in any order.
    explicit CharacterEncoder(const std::string& characters) noexcept;

    /// Adds the bytes of `characters` to those that are escaped.
    void protect(const std::string& characters) noexcept;

    /// Adds one byte to those that are escaped.
    void protect(char character) noexcept;

    /// Size of the encoded text with its terminating NUL, INT_MAX at most.
    int encoded_size(const std::string& text) const noexcept;

    /// The same when `esc` is escaped, too.
    int encoded_size(const std::string& text, char esc) const noexcept;

    /// The text with every byte of the set escaped by '%'. The '%' itself is escaped only if it is
    /// in the set. The result keeps room for twice the text.
    /// @throws std::bad_alloc, std::length_error
    std::string encode(const std::string& text) const;

    /// Encodes the C string `src` to `dst`, with `esc` escaped, too.
    ///
    /// | `dst` | `len` | what is done | result |
    /// |---|---|---|---|
    /// | null (`src` is not) | any | nothing | minus the size, its terminating NUL included |
    /// | any | 0 | nothing | minus the size |
    /// | `src` | room in bytes | encodes in place; sets the last byte of the room to NUL | 1 |
    /// | `src` | less than the size | nothing | minus the size |
    /// | another place | not 0, ignored | encodes; requires `encoded_size(src, esc)` bytes | 1 |
    ///
    /// When there is nothing to escape the result is 0: in place nothing has changed, and another
    /// place has received the characters **without** a terminating NUL. A null `src` is the empty
    /// text. Never allocates; the places must be the same or not overlap.
    int encode(const char* src, char* dst, int len, char esc) const noexcept;

    /// Encodes in place, with `esc` escaped, too.
    /// @return whether anything was escaped
    /// @throws std::bad_alloc, std::length_error with `text` as it was
    bool encode(std::string& text, char esc) const;

    /// The text with its '%' sequences decoded, whatever the set.
    ///
    /// Digits are not validated: '0' to '9' have their value, upper-case letters (C library) their
    /// code - 55, all others their code - 87, and the low 8 bits of 16 x first + second are taken.
    /// A '%' at the very end is dropped; before a single last character its second digit is NUL.
    /// @throws std::bad_alloc
    std::string decode(const std::string& text) const;

    /// @name Decoding in place
    ///
    /// Every `esc` takes the two bytes that follow it as digits, whatever they are: other
    /// characters than hexadecimal digits of either case count as 0, and so does what lies behind
    /// the end. In a C string a decoded NUL hides what follows it.
    /// @return whether there was any `esc`
    /// @{
    static bool decode(char* buf, char esc) noexcept; ///< a C string; null is the empty one
    /// A string, which becomes shorter by two for each `esc`.
    static bool decode(std::string& text, char esc) noexcept;
    /// @}

    /// @name Text on one line
    /// Encoding with an encoder for `UNPRINTABLE_CHARS_TO_ENCODE`, and back. The string forms throw
    /// std::bad_alloc and std::length_error.
    /// @{

    /// See `encode(buf, buf, len, esc)`.
    static int encode_unprintable(char* buf, int len, char esc) noexcept;
    /// See `encode(text, esc)`.
    static bool encode_unprintable(std::string& text, char esc);
    /// A copy decoded as by `decode(text, esc)`.
    static std::string decode_unprintable(const std::string& text, char esc);
    /// @}

    /// @name Names of VMware vSphere virtual machines
    ///
    /// In these names just three characters are escaped: `%` is `%25`, `/` is `%2f`, `\` is `%5c`.
    /// Decoding takes the digits in either case and leaves every other sequence as it is, all three
    /// characters.
    /// @throws std::bad_alloc, std::length_error
    /// @{

    /// The name with its '%', '/' and backslashes escaped.
    static std::string encode_vSphereVM_name(const std::string& name);
    /// The name with those three characters back in their places.
    static std::string decode_vSphereVM_name(const std::string& name);
    /// @}

private:
    unsigned char set_[32] = {}; // a bit for each byte, the lowest one first
};

} // namespace nuriccl
