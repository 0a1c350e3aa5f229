#pragma once

/// @file
/// Conversions between values and text: numbers, booleans and ISO 8601 time stamps.
///
/// Use `to_str` to build text, `fromStr` to read one value and learn whether it was one. `fromStr`
/// keeps rules that existing agents rely on and that surprise: signed targets take every number of
/// the unsigned type of their width, and what follows the number is not looked at. Where input must
/// be checked strictly, check it first.
///
/// Thread safety: every function is re-entrant and keeps no state. Numbers are read under the
/// global std::locale, and `to_str(double)` uses the decimal point of the current C locale.
///
/// @code{.cpp}
/// assert(nuriccl::to_str(255, std::hex) == "ff");
/// unsigned int port = 0;
/// assert(nuriccl::fromStr(port, "8080", std::dec) && port == 8080);
/// const isotime time = nuriccl::to_isotime("2021-03-04T05:06:07+01:00");
/// assert(nuriccl::to_str(time) == "2021-03-04T05:06:07.00+01:00");
/// @endcode

#include <nuriagent/isotime.hpp>
#include <nuriccl/export.hpp>

#include <ios>
#include <string>

namespace nuriccl {

/// A missing time, "0000-00-00T00:00:00.00+00:00": what an invalid `isotime` prints as.
extern NURICCL_API const char BAD_TIME[29];

/// A missing time without hundredths, "0000-00-00T00:00:00+00:00".
extern NURICCL_API const char BAD_TIME_SHORT[26];

/// The type of `std::dec`, `std::hex` and `std::oct`. Pass the functions themselves: they are
/// recognised by their address. A null manipulator stands for `std::dec`.
///
/// The address is one for all modules that let the dynamic linker share the inline functions of the
/// standard library, which is the rule. A caller that is built with `-fvisibility-inlines-hidden`
/// or `-Bsymbolic-functions`, and a plugin that is opened with RTLD_LOCAL by a host which neither
/// uses the manipulators nor links this library, pass functions of their own, which count as any
/// other manipulator.
using Manipulator = std::ios_base& (*)(std::ios_base&);

/// @name Value to text
/// @throws std::bad_alloc
/// @{

/// A copy of the text.
NURICCL_API std::string to_str(const std::string& text);

/// The text; "[null]" for a null pointer.
NURICCL_API std::string to_str(const char* text);

/// The value with two decimals ("%.2f"): 1.5 gives "1.50".
NURICCL_API std::string to_str(double value);

/// "true" or "false".
NURICCL_API std::string to_str(bool value);

/// The canonical form "YYYY-MM-DDThh:mm:ss.cc+zz:zz" of ISO 8601, 28 characters, "-" for zones west
/// of UTC, never "Z"; `BAD_TIME` when the record is not valid.
NURICCL_API std::string to_str(const isotime& time);

/// The same; the manipulator is ignored.
NURICCL_API std::string to_str(const isotime& time, Manipulator manipulator);

/// The number in octal for `std::oct`, in lower-case hexadecimal for `std::hex`, both without a
/// prefix and of the two's-complement bits when the value is negative; in decimal for any other
/// manipulator.
NURICCL_API std::string to_str(int value, Manipulator manipulator = std::dec);
/// The same for `unsigned int`.
NURICCL_API std::string to_str(unsigned int value, Manipulator manipulator = std::dec);
/// The same for `long`.
NURICCL_API std::string to_str(long value, Manipulator manipulator = std::dec);
/// The same for `unsigned long`.
NURICCL_API std::string to_str(unsigned long value, Manipulator manipulator = std::dec);
/// The same for `long long`.
NURICCL_API std::string to_str(long long value, Manipulator manipulator = std::dec);
/// The same for `unsigned long long`.
NURICCL_API std::string to_str(unsigned long long value, Manipulator manipulator = std::dec);
/// @}

/// @name Text to value
///
/// Both forms read one value from `text` into `out` and return whether that succeeded; bad input
/// never throws.
///
/// | target | form | rule |
/// |---|---|---|
/// | `char`, `unsigned char` | without | the first character, 0 of no text; always true |
/// | `char`, `unsigned char` | with manipulator | low 8 bits of a number read as `unsigned int` |
/// | `bool` | both | "true" and "false" only; otherwise false with `out` untouched |
/// | `isotime` | both | `to_isotime(text)` is stored in any case; true when the record is valid |
/// | `unsigned short`, `unsigned int`, `unsigned long long` | both | a number, see below |
/// | `short`, `int`, `long long` | both | a number of the unsigned type; its bits are stored |
///
/// Other targets do not compile.
///
/// A number is read as `std::istream >> value` reads it, in the radix of the manipulator: leading
/// white space is skipped, characters after the number are not examined, a "-" negates modulo 2^n,
/// and a value beyond the unsigned type fails and stores its maximum. A text without a number fails
/// and stores 0; the empty text stores 0 and succeeds. So `fromStr<int>` takes "3000000000" as
/// -1294967296. The character targets take the low 8 bits of what is stored, failure or not.
/// @throws std::bad_alloc
/// @{
template <class T>
bool fromStr(T& out, const std::string& text, Manipulator manipulator) = delete;

/// For a target that the table gives no rule of its own, the manipulator is `std::dec`.
template <class T>
bool fromStr(T& out, const std::string& text) {
    return fromStr(out, text, std::dec);
}

/// The first character.
template <>
NURICCL_API bool fromStr<char>(char& out, const std::string& text);
/// The low 8 bits of a number.
template <>
NURICCL_API bool fromStr<char>(char& out, const std::string& text, Manipulator manipulator);
/// The first character.
template <>
NURICCL_API bool fromStr<unsigned char>(unsigned char& out, const std::string& text);
/// The low 8 bits of a number.
template <>
NURICCL_API bool fromStr<unsigned char>(unsigned char& out, const std::string& text,
                                        Manipulator manipulator);
/// "true" or "false".
template <>
NURICCL_API bool fromStr<bool>(bool& out, const std::string& text);
/// The same; the manipulator is ignored.
template <>
NURICCL_API bool fromStr<bool>(bool& out, const std::string& text, Manipulator manipulator);
/// A record and whether it is valid.
template <>
NURICCL_API bool fromStr<isotime>(isotime& out, const std::string& text);
/// The same; the manipulator is ignored.
template <>
NURICCL_API bool fromStr<isotime>(isotime& out, const std::string& text, Manipulator manipulator);
/// A number of 16 bits.
template <>
NURICCL_API bool fromStr<unsigned short>(unsigned short& out, const std::string& text,
                                         Manipulator manipulator);
/// A number of 32 bits.
template <>
NURICCL_API bool fromStr<unsigned int>(unsigned int& out, const std::string& text,
                                       Manipulator manipulator);
/// A number of 64 bits.
template <>
NURICCL_API bool fromStr<unsigned long long>(unsigned long long& out, const std::string& text,
                                             Manipulator manipulator);
/// The bits of an `unsigned short`.
template <>
NURICCL_API bool fromStr<short>(short& out, const std::string& text, Manipulator manipulator);
/// The bits of an `unsigned int`.
template <>
NURICCL_API bool fromStr<int>(int& out, const std::string& text, Manipulator manipulator);
/// The bits of an `unsigned long long`.
template <>
NURICCL_API bool fromStr<long long>(long long& out, const std::string& text,
                                    Manipulator manipulator);
/// @}

/// Reads the canonical form of `to_str(const isotime&)` (28 characters) or the form without
/// hundredths (25 characters) by position. The separators are not looked at, and the ranges are not
/// checked: ask `fromStr<isotime>` whether the result is valid. Numbers are read with
/// `safe::StringToInt32` and cut to the width of their field, the zone to 12 bits; a zone of 0
/// after that counts as not recorded.
///
/// @return the record; all zero for a text of another length, `BAD_TIME` and `BAD_TIME_SHORT`.
/// @throws std::bad_alloc
NURICCL_API isotime to_isotime(const std::string& text);

} // namespace nuriccl
