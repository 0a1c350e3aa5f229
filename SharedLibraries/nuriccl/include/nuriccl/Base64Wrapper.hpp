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

/// Base64 of whole vectors and strings. The top of Base64Wrapper.hpp tells what its functions
/// share.
class NURICCL_API Base64Wrapper {
public:
    /// Which two characters follow the letters and digits.
    enum EncodingVariant {
        standard = 0, ///< alphabet with '+' and '/'
        url_safe = 1  ///< alphabet with '-' and '_'
    };

    /// What the failures below have in common; never thrown by this class.
    class NURICCL_API exception : public std::exception {
    public:
        /// Keeps what `what()` tells.
        explicit exception(std::string message);
        /// Copies the message.
        exception(const exception&) = default;
        /// Takes a copy of the other's message.
        exception& operator=(const exception&) = default;
        ~exception() override;
        /// The message; it lives as long as the exception.
        const char* what() const noexcept override;

    private:
        std::string message_;
    };

    /// "encoding failure"; for callers that want to raise it.
    class NURICCL_API encode_failure : public exception {
    public:
        encode_failure();
        /// Copies the message.
        encode_failure(const encode_failure&) = default;
        /// Takes a copy of the other's message.
        encode_failure& operator=(const encode_failure&) = default;
        ~encode_failure() override;
    };

    /// "decoding failure"; for callers that want to raise it.
    class NURICCL_API decode_failure : public exception {
    public:
        decode_failure();
        /// Copies the message.
        decode_failure(const decode_failure&) = default;
        /// Takes a copy of the other's message.
        decode_failure& operator=(const decode_failure&) = default;
        ~decode_failure() override;
    };

    /// @name Encoding; `standard` unless told otherwise
    /// @return whether it succeeded
    /// @{

    /// Encodes in the alphabet `variant`. Clears `output` first.
    static bool encode(const std::vector<char>& input, std::vector<char>& output,
                       EncodingVariant variant) noexcept;
    /// Encodes in the standard alphabet. Clears `output` first.
    static bool encode(const std::vector<char>& input, std::vector<char>& output) noexcept;
    /// Encodes in the alphabet `variant`. `output` may be `input`.
    static bool encode(const std::string& input, std::string& output,
                       EncodingVariant variant) noexcept;
    /// Encodes in the standard alphabet. `output` may be `input`.
    static bool encode(const std::string& input, std::string& output) noexcept;
    /// @}

    /// @name Decoding of either alphabet, also mixed
    /// @return whether the input was Base64
    /// @{

    /// Decodes a vector; after false `output` may be empty or filled in part.
    static bool decode(const std::vector<char>& input, std::vector<char>& output) noexcept;
    /// Decodes a string; text that is no Base64 leaves `output` as it was.
    static bool decode(const std::string& input, std::string& output) noexcept;
    /// @}
};

} // namespace nuriccl
