#pragma once

/// @file
/// Conversion between wide text and the code pages that nearly all names are in.
///
/// Each function goes as far as it covers: to the first byte or character that has no counterpart,
/// or whose sequence is malformed or cut off, to the end of the text or of the room. What it does
/// cover is what iconv of the GNU C library makes of it. The rest of the room may hold anything
/// then.
///
/// Thread safety: thread-safe.

namespace kernels {

/// Where a conversion stopped.
template <class From, class To>
struct Progress {
    const From* from;
    To* to;
};

using Decode = Progress<char, wchar_t>(const char* from, const char* end, wchar_t* to,
                                       wchar_t* to_end) noexcept;
using Encode = Progress<wchar_t, char>(const wchar_t* from, const wchar_t* end, char* to,
                                       char* to_end) noexcept;

Decode decode_ascii;
Encode encode_ascii;

Decode decode_utf8; ///< the scalar values of Unicode (RFC 3629)
Encode encode_utf8;

Decode decode_windows_1252;
Encode encode_windows_1252;

} // namespace kernels
