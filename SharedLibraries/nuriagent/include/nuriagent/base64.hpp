#pragma once

/// @file
/// The Base64 codec (RFC 4648, section 4: alphabet with '+' and '/', padded, no line breaks).
///
/// Use it where the sizes are in the caller's hands; `nuriccl::Base64Wrapper` works on containers
/// and knows the URL-safe alphabet, too. Decoding is strict: it accepts what encoding could have
/// written and nothing else, but for the unused bits in front of the padding, which may be
/// anything.
///
/// Thread safety: every function is re-entrant; the one instance has no state.
///
/// @code{.cpp}
/// base64::Results results;
/// char text[8];
/// const unsigned long long size =
///     base64::Base64::GetInstance().Encode("tapes", 5, text, sizeof text, &results);
/// assert(results.status == base64::Results::DONE && size == 8);
/// assert(std::memcmp(text, "dGFwZXM=", 8) == 0);
/// @endcode

#include <nuriagent/export.hpp>

/// The Base64 codec. See the top of base64.hpp.
namespace base64 {

/// How a call ended.
struct Results {
    static constexpr int DONE = 0;          ///< the result was written
    static constexpr int SIZE_REPORTED = 1; ///< nothing was written: the place is null or too small
    static constexpr int MALFORMED = 2;     ///< nothing was written: the text is no Base64

    int status; ///< one of the three
};

/// The codec.
class NURIAGENT_API Base64 {
public:
    Base64(const Base64&) = delete;
    Base64& operator=(const Base64&) = delete;

    /// The one instance.
    static Base64& GetInstance() noexcept;

    /// Encodes `length` bytes.
    ///
    /// @param source       the bytes; null is none
    /// @param length       their number
    /// @param destination  receives the characters, without a NUL; must not overlap the source
    /// @param size         room there
    /// @param results      receives the status; null when it is not wanted
    /// @return the number of characters: needed when the size is reported, otherwise written
    unsigned long long Encode(const void* source, unsigned long long length, char* destination,
                              unsigned long long size, Results* results) const noexcept;

    /// Decodes `length` characters. The text is checked as a whole before anything is written, also
    /// when only the size is asked for.
    ///
    /// @return the number of bytes: needed when the size is reported, otherwise written; 0 when the
    ///         text is malformed
    unsigned long long Decode(const char* source, unsigned long long length, void* destination,
                              unsigned long long size, Results* results) const noexcept;

private:
    Base64() = default;
};

} // namespace base64
