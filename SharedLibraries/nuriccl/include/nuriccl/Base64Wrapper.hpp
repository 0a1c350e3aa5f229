#pragma once

/// @file
/// Base64 encoding and decoding of vectors and strings, in the standard and the URL-safe alphabet
/// (RFC 4648, sections 4 and 5).
///
/// Use it to put bytes where only text can stand. Encoding pads with '=' and breaks no lines, in
/// both alphabets; decoding takes either alphabet, and is as strict as the agent's codec.
///
/// Nothing is ever thrown: every failure, exhausted memory included, is the result false.
///
/// | after false | the output |
/// |---|---|
/// | of a vector form | may be empty or filled in part |
/// | of a string form | is as it was; only a codec that fails in writing leaves its part |
///
/// The output may be the input: a string is encoded in place and both are decoded in place, but the
/// vector form of `encode` clears its output first and so encodes nothing.
///
/// Thread safety: every function is re-entrant and keeps no state.
///
/// @code{.cpp}
/// std::string text, bytes;
/// assert(nuriccl::Base64Wrapper::encode("\xfb\xff", text) && text == "+/8=");
/// assert(nuriccl::Base64Wrapper::encode("\xfb\xff", text, nuriccl::Base64Wrapper::url_safe));
/// assert(text == "-_8=" && nuriccl::Base64Wrapper::decode(text, bytes) && bytes == "\xfb\xff");
/// @endcode

#include <nuriccl/export.hpp>

#include <exception>
#include <string>
#include <vector>

namespace nuriccl {

class NURICCL_API Base64Wrapper {
public:
    enum EncodingVariant {
        standard = 0, ///< alphabet with '+' and '/'
        url_safe = 1  ///< alphabet with '-' and '_'
    };

    /// What the failures below have in common; never thrown by this class.
    class NURICCL_API exception : public std::exception {
    public:
        explicit exception(std::string message);
        exception(const exception&) = default;
        exception& operator=(const exception&) = default;
        ~exception() override;
        const char* what() const noexcept override;

    private:
        std::string message_;
    };

    /// "encoding failure"; for callers that want to raise it.
    class NURICCL_API encode_failure : public exception {
    public:
        encode_failure();
        encode_failure(const encode_failure&) = default;
        encode_failure& operator=(const encode_failure&) = default;
        ~encode_failure() override;
    };

    /// "decoding failure"; for callers that want to raise it.
    class NURICCL_API decode_failure : public exception {
    public:
        decode_failure();
        decode_failure(const decode_failure&) = default;
        decode_failure& operator=(const decode_failure&) = default;
        ~decode_failure() override;
    };

    /// @name Encoding; `standard` unless told otherwise
    /// @return whether it succeeded
    /// @{
    static bool encode(const std::vector<char>& input, std::vector<char>& output,
                       EncodingVariant variant) noexcept;
    static bool encode(const std::vector<char>& input, std::vector<char>& output) noexcept;
    static bool encode(const std::string& input, std::string& output,
                       EncodingVariant variant) noexcept;
    static bool encode(const std::string& input, std::string& output) noexcept;
    /// @}

    /// @name Decoding of either alphabet, also mixed
    /// @return whether the input was Base64
    /// @{
    static bool decode(const std::vector<char>& input, std::vector<char>& output) noexcept;
    static bool decode(const std::string& input, std::string& output) noexcept;
    /// @}
};

} // namespace nuriccl
